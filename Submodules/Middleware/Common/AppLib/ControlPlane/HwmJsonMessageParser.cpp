#include "HwmJsonMessageParser.h"

#include <cstdlib>
#include <cstring>
#include "JsonRead.h"
#include "Logger.h"
#include "Singleton.h"

HwmJsonMessageParser* HwmJsonMessageParser::mpHwmJsonMessageParser = nullptr;
Logger* HwmJsonMessageParser::mpLogger = nullptr;
int32_t HwmJsonMessageParser::mLogLevel = MSG_LEVEL_INFO;

namespace {
using Object = rapidjson::Value;
using json::Member;

void ReadUint(const Object& obj, const char* key, uint32_t& field) {
  const rapidjson::Value* v = Member(obj, key);
  if (v != nullptr && v->IsUint()) field = v->GetUint();
}

// Stores an integer member only when it lies in [lo, hi]; returns whether it did.
template <typename T>
bool ReadRange(const Object& obj, const char* key, int64_t lo, int64_t hi, T& field) {
  const rapidjson::Value* v = Member(obj, key);
  if (v == nullptr || !v->IsInt64()) return false;
  const int64_t n = v->GetInt64();
  if (n < lo || n > hi) return false;
  field = static_cast<T>(n);
  return true;
}

template <size_t N>
void ReadString(const Object& obj, const char* key, char (&field)[N]) {
  const rapidjson::Value* v = Member(obj, key);
  if (v == nullptr || !v->IsString()) return;
  size_t len = v->GetStringLength();
  if (len > N - 1) len = N - 1;
  memcpy(field, v->GetString(), len);
  field[len] = '\0';
}
}  // namespace

HwmJsonMessageParser* HwmJsonMessageParser::GetInstance() {
  return SingleInstance(
      mpHwmJsonMessageParser, DeleteInstance, [] { return new HwmJsonMessageParser(); },
      [] { mpLogger = Logger::GetInstance(); });
}

void HwmJsonMessageParser::DeleteInstance() {
  delete mpHwmJsonMessageParser;
  mpHwmJsonMessageParser = nullptr;
}

void HwmJsonMessageParser::Reset() {
  mSlot = 0;
  mPresetCount = -1;
  mEncodedStatus = 0;
  mPaStatus = 0;
  mZoomableDolbyChannels = 0;
  mDolbyChannels = 0;
  mClkSrcLockStatus = 0;
  mPresetInputLockStatus = 0;
  mIsVideoEnabled = 0;
  mHdrType = 0;
  mbDolbyAutoMute = false;
  mType = 0;
  mStatus = 0;
  mRequest = 0;
  memset(mSignalStatusStr, 0, sizeof(mSignalStatusStr));
  memset(mVidSignalStatusStr, 0, sizeof(mVidSignalStatusStr));
}

bool HwmJsonMessageParser::ParseJsonStr(const char* json, int slot) {
  return json::ReadObject(json, false, [this, slot](const Object& doc) {

    // A message for another card, or without a usable slot, leaves the record.
    const rapidjson::Value* msgSlot = Member(doc, "Slot");
    if (msgSlot == nullptr || !msgSlot->IsInt() || msgSlot->GetInt() == -1) return false;
    if (slot != -1 && msgSlot->GetInt() != slot) return false;

    Reset();
    mSlot = msgSlot->GetInt();

    const rapidjson::Value* v = Member(doc, "PresetCount");
    if (v != nullptr && v->IsInt()) mPresetCount = v->GetInt();
    ReadUint(doc, "EncodedStatus", mEncodedStatus);
    ReadUint(doc, "PaStatus", mPaStatus);
    ReadUint(doc, "ZoomableDolbyChannels", mZoomableDolbyChannels);
    ReadUint(doc, "DolbyChannels", mDolbyChannels);
    ReadUint(doc, "ClkSrcLockStatus", mClkSrcLockStatus);
    ReadUint(doc, "PresetInputLockStatus", mPresetInputLockStatus);
    v = Member(doc, "IsVideoEnabled");
    if (v != nullptr && v->IsBool()) {
      mIsVideoEnabled = v->GetBool() ? 1 : 0;
    } else {
      ReadUint(doc, "IsVideoEnabled", mIsVideoEnabled);
    }
    ReadRange(doc, "HdrType", 1, 4, mHdrType);
    v = Member(doc, "DolbyAutoMute");
    if (v != nullptr && v->IsBool()) mbDolbyAutoMute = v->GetBool();
    const bool typeOk = ReadRange(doc, "Type", 1, 3, mType);
    const bool statusStored = ReadRange(doc, "Status", 1, 8, mStatus);
    const bool requestStored = ReadRange(doc, "Request", 1, 5, mRequest);
    ReadString(doc, "SignalStatusStr", mSignalStatusStr);
    ReadString(doc, "VidSignalStatusStr", mVidSignalStatusStr);

    return typeOk && (statusStored || requestStored);
  });
}
