#pragma once
// Parser of the hardware monitor's ED2 zoom video-line message
// ("HwmDlbZoomVideoLines"). Keeps the last values read. Main thread only.

#include <cstdint>

class Logger;

class HwmEd2JsonMessageParser {
 public:
  // Made on first use (null when memory runs out); freed at exit.
  static HwmEd2JsonMessageParser* GetInstance();
  static void DeleteInstance();

  // Reads "Ed2MAFactor", "VidLnZP" and "VidLnNextToZP" (unsigned integers).
  // Each valid member is stored; true only when all three were.
  bool ParseJsonStr(const char* json);

  uint32_t mVidLnZP = 0;        // video line of the zoom pair
  uint32_t mVidLnNextToZP = 0;  // the line next to it
  uint32_t mEd2MAFactor = 0;

  static HwmEd2JsonMessageParser* mpHwmEd2JsonMessageParser;
  static Logger* mpLogger;
  static int32_t mLogLevel;

 private:
  HwmEd2JsonMessageParser() = default;
  HwmEd2JsonMessageParser(const HwmEd2JsonMessageParser&) = delete;
  HwmEd2JsonMessageParser& operator=(const HwmEd2JsonMessageParser&) = delete;
};
