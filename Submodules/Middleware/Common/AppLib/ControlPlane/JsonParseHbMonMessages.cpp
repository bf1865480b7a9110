#include "JsonParseHbMonMessages.h"

#include <cstring>
#include <exception>
#include <utility>

#include "JsonRead.h"
#include "Logger.h"

std::atomic<bool> cJsonParseSysStatus::mbSysStatus{false};
std::atomic<bool> cJsonParseSysStatus::mbDolbyDecoderDetected{false};
bool cJsonParseSysStatus::mbTsaDetected = false;
Logger* cJsonParseSysStatus::mpLogger = nullptr;
int32_t cJsonParseSysStatus::mLogLevel = MSG_LEVEL_WARN;

namespace {
constexpr const char* kSysStatusOk = "Okay";
constexpr size_t kSysStatusOkLen = 4;
constexpr const char* kDecoderProcessing = "Processing";
constexpr size_t kDecoderProcessingLen = 10;

// The decoder counts as detected when "DolbyDecoder"."State" starts with
// "Processing"; anything missing or of another type means not detected.
bool DecoderProcessing(const rapidjson::Value& root) {
  const rapidjson::Value* dec = json::Member(root, "DolbyDecoder");
  if (dec == nullptr || !dec->IsObject()) return false;
  const rapidjson::Value* state = json::Member(*dec, "State");
  if (state == nullptr || !state->IsString()) return false;
  return strncmp(state->GetString(), kDecoderProcessing, kDecoderProcessingLen) == 0;
}

// Copies the string member `key` of `obj` into `field`; other types leave it.
void ReadText(const rapidjson::Value& obj, const char* key, std::string& field) {
  const rapidjson::Value* v = json::Member(obj, key);
  if (v != nullptr && v->IsString()) field.assign(v->GetString(), v->GetStringLength());
}
}  // namespace

cJsonParseSysStatus::cJsonParseSysStatus() {
  mbSysStatus.store(false, std::memory_order_relaxed);
  mbDolbyDecoderDetected.store(false, std::memory_order_relaxed);
  mpLogger = Logger::GetInstance();
}

bool cJsonParseSysStatus::ParseSysStatus(const char* json, bool checkDolby, bool defaultStatus,
                                         bool* changed) {
  if (changed != nullptr) *changed = false;
  if (json != nullptr) {
    try {
      rapidjson::Document doc;
      doc.Parse<rapidjson::kParseIterativeFlag>(json);
      if (doc.HasParseError()) {
        LOG_AT(cJsonParseSysStatus, Error, MSG_LEVEL_ERROR, "\"Not a valid json string %s.\"",
               json);
      } else if (doc.IsObject()) {
        auto sys = doc.FindMember("SystemStatus");
        if (sys != doc.MemberEnd()) {
          if (!sys->value.IsString()) return true;
          const char* status = sys->value.GetString();
          if (strncmp(status, kSysStatusOk, kSysStatusOkLen) == 0) {
            mbSysStatus.store(true, std::memory_order_relaxed);
            LOG_AT(cJsonParseSysStatus, Warn, MSG_LEVEL_WARN, "\"Got System status %s %d.\"",
                   status, 1);
            if (checkDolby) {
              const bool detectedNow = DecoderProcessing(doc);
              if (detectedNow != mbDolbyDecoderDetected.load(std::memory_order_relaxed)) {
                mbDolbyDecoderDetected.store(detectedNow, std::memory_order_relaxed);
                if (changed != nullptr) *changed = true;
                // Logged as the expression text itself, not one of the two sentences: keep it so.
                LOG_AT(cJsonParseSysStatus, Warn, MSG_LEVEL_WARN,
                       "detected_now ? \"Dolby decoder detected.\" : \"Dolby decoder no longer "
                       "processing.\"");
              }
            }
          } else {
            mbSysStatus.store(false, std::memory_order_relaxed);
            LOG_AT(cJsonParseSysStatus, Warn, MSG_LEVEL_WARN, "\"Got System status %s %d.\"",
                   status, 0);
          }
          return true;
        }
      }
    } catch (const std::exception&) {
      // Falls through to the default status below.
    }
  }
  LOG_AT(cJsonParseSysStatus, Error, MSG_LEVEL_ERROR,
         "\"Failed to parse message setting default to %lu\"",
         static_cast<unsigned long>(defaultStatus));
  mbSysStatus.store(defaultStatus, std::memory_order_relaxed);
  return false;
}

bool cHBMonObj::ParseHBMonObj(const rapidjson::Value& obj) {
  if (!obj.IsObject()) return false;
  const rapidjson::Value* missed = json::Member(obj, "MissedHb");
  if (missed != nullptr && missed->IsInt()) mMissedHb = missed->GetInt();
  ReadText(obj, "Version", mVersion);
  // "LogLevel" and "State" share mState; "State" wins when both are present.
  ReadText(obj, "LogLevel", mState);
  ReadText(obj, "State", mState);
  return true;
}

bool cJsonParseHbStatus::ParseHbStatus(const char* json) {
  return json::ReadObject(json, false, [this](const rapidjson::Value& doc) {
    bool result = false;
    for (const char* name : {"FpMeters", "FpMenu"}) {
      const rapidjson::Value* entry = json::Member(doc, name);
      if (entry != nullptr) result = ParseHBMonObj(name, *entry);
    }
    return result;
  });
}

bool cJsonParseHbStatus::ParseHBMonObj(std::string name, const rapidjson::Value& obj) {
  try {
    auto rec = std::make_shared<cHBMonObj>();
    rec->mName = name;
    const bool parsed = rec->ParseHBMonObj(obj);
    mHbObjs[std::move(name)] = std::move(rec);
    return parsed;
  } catch (const std::exception&) {
    return false;
  }
}

std::shared_ptr<cHBMonObj> cJsonParseHbStatus::GetHBObj(std::string name) {
  if (name.empty()) return nullptr;
  auto it = mHbObjs.find(name);
  return it == mHbObjs.end() ? nullptr : it->second;
}

const char* cJsonParseHbStatus::GetAppState(std::string name) const {
  auto it = mHbObjs.find(name);
  if (it == mHbObjs.end() || !it->second) return nullptr;
  return it->second->mState.c_str();
}
