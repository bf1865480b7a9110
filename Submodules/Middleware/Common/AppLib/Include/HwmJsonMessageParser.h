#pragma once
// Parser of the hardware monitor's signal-status message ("HwmSignalStatus").
// Keeps the last accepted record. Main thread only; failures are the result.

#include <cstdint>

class Logger;

class HwmJsonMessageParser {
 public:
  // Made on first use (null when memory runs out); freed at exit.
  static HwmJsonMessageParser* GetInstance();
  static void DeleteInstance();

  // slot -1 accepts any "Slot". A message for another slot, or without a
  // usable "Slot", returns false and keeps the previous record; otherwise the
  // record is replaced whole and the result says whether "Type" and one of
  // "Status"/"Request" were valid.
  bool ParseJsonStr(const char* json, int slot);

  int32_t mSlot = 0;
  int32_t mPresetCount = -1;
  uint32_t mEncodedStatus = 0;
  uint32_t mPaStatus = 0;
  uint32_t mZoomableDolbyChannels = 0;
  uint32_t mDolbyChannels = 0;
  uint32_t mClkSrcLockStatus = 0;
  uint32_t mPresetInputLockStatus = 0;
  uint32_t mIsVideoEnabled = 0;
  uint32_t mHdrType = 0;  // 1 to 4, else 0
  bool mbDolbyAutoMute = false;
  int32_t mType = 0;     // 1 to 3, else 0
  int32_t mStatus = 0;   // 1 to 8, else 0
  int32_t mRequest = 0;  // 1 to 5, else 0
  char mSignalStatusStr[64] = {};
  char mVidSignalStatusStr[64] = {};

  static HwmJsonMessageParser* mpHwmJsonMessageParser;
  static Logger* mpLogger;
  static int32_t mLogLevel;

 private:
  HwmJsonMessageParser() = default;
  HwmJsonMessageParser(const HwmJsonMessageParser&) = delete;
  HwmJsonMessageParser& operator=(const HwmJsonMessageParser&) = delete;

  void Reset();
};
