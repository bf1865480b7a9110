#pragma once
// Dispatcher of the main thread's messages: hands each topic to its parser or
// sets the reader thread's switches directly.

#include "JsonParseHbMonMessages.h"

class Logger;
class cDlbSubHandler;
class HwmJsonMessageParser;
class HwmEd2JsonMessageParser;

class cJsonParser : public cJsonParseSysStatus {
 public:
  // Made on first use (null when memory runs out): clears the status flags
  // and fetches the logger, both hardware-monitor parsers and the
  // subscription handler (none owned). Freed at exit.
  static cJsonParser* GetInstance();
  static void DeleteInstance();

  // -1 asks the process to stop (an exit command, no topic, or no
  // dispatcher instance); 0 otherwise. Topic and message stay the caller's.
  static int ParseMessage(const char* topic, const char* message);

  static cJsonParser* mpJsonParser;
  static Logger* mpLogger;
  static int mLogLevel;
  static cDlbSubHandler* mpDlbSubHandler;
  static HwmJsonMessageParser* mpHwmJsonMsgParser;
  static HwmEd2JsonMessageParser* mpHwmEd2JsonMsgParser;

 private:
  cJsonParser() = default;
};
