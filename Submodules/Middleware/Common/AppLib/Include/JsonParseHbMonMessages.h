#pragma once
// Parsers for the process monitor's JSON messages: the system status
// ("HbSysStatusEvent", and the first "HbProcsStatus") and the per-process
// status table. Main thread only, except for the decoder flag below.

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include <rapidjson/document.h>

class Logger;

class cJsonParseSysStatus {
 public:
  // Resets both status flags and fetches the logger.
  cJsonParseSysStatus();
  virtual ~cJsonParseSysStatus() = default;

  // Reads {"SystemStatus":"Okay...","DolbyDecoder":{"State":"Processing..."}}.
  // True when "SystemStatus" was found in a valid object. With checkDolby the
  // decoder flag follows "DolbyDecoder"."State" (only while the system is
  // Okay); *changed (optional) reports a change of that flag. A message that
  // cannot be used sets mbSysStatus to defaultStatus and returns false.
  static bool ParseSysStatus(const char* json, bool checkDolby, bool defaultStatus,
                             bool* changed);

  // Shared with the decoder reader thread: plain flags, relaxed accesses.
  static std::atomic<bool> mbSysStatus;
  static std::atomic<bool> mbDolbyDecoderDetected;
  static bool mbTsaDetected;  // nothing sets it yet

  static Logger* mpLogger;
  static int32_t mLogLevel;
};

// One process's entry in the monitor's process-status message.
class cHBMonObj {
 public:
  // Copies "MissedHb", "Version" and "LogLevel"/"State" where they have the
  // right type; false only when `obj` is not an object.
  bool ParseHBMonObj(const rapidjson::Value& obj);

  std::string mKey;  // not filled by any message
  int32_t mMissedHb = 0;
  std::string mState;  // "LogLevel", overwritten by "State"
  std::string mVersion;
  std::string mName;
};

class cJsonParseHbStatus {
 public:
  // Reads the "FpMeters" and "FpMenu" entries; the result is that of the last
  // entry parsed (false when there is none or the text is not valid JSON).
  bool ParseHbStatus(const char* json);
  // Replaces the entry `name` with one read from `obj`; cHBMonObj's result,
  // false also when memory runs out.
  bool ParseHBMonObj(std::string name, const rapidjson::Value& obj);

  // The entry `name` (shared with this table), or null.
  std::shared_ptr<cHBMonObj> GetHBObj(std::string name);
  // The entry's state text, or null; valid until the entry is replaced.
  const char* GetAppState(std::string name) const;

 private:
  std::map<std::string, std::shared_ptr<cHBMonObj>> mHbObjs;
};
