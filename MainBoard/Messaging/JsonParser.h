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
  static cJsonParser* GetInstance();
  static void DeleteInstance();

  // -1 asks the process to stop (an exit command, or no topic); 0 otherwise.
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
