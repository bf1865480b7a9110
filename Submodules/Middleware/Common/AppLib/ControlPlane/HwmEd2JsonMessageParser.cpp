#include "HwmEd2JsonMessageParser.h"

#include "JsonRead.h"
#include "Logger.h"
#include "Singleton.h"

HwmEd2JsonMessageParser* HwmEd2JsonMessageParser::mpHwmEd2JsonMessageParser = nullptr;
Logger* HwmEd2JsonMessageParser::mpLogger = nullptr;
int32_t HwmEd2JsonMessageParser::mLogLevel = MSG_LEVEL_INFO;

HwmEd2JsonMessageParser* HwmEd2JsonMessageParser::GetInstance() {
  return SingleInstance(
      mpHwmEd2JsonMessageParser, DeleteInstance, [] { return new HwmEd2JsonMessageParser(); },
      [] { mpLogger = Logger::GetInstance(); });
}

void HwmEd2JsonMessageParser::DeleteInstance() {
  delete mpHwmEd2JsonMessageParser;
  mpHwmEd2JsonMessageParser = nullptr;
}

bool HwmEd2JsonMessageParser::ParseJsonStr(const char* json) {
  return json::ReadObject(json, false, [this](const rapidjson::Value& doc) {
    // Every valid member is kept, even when another one is missing.
    bool all = true;
    auto read = [&doc, &all](const char* key, uint32_t& field) {
      const rapidjson::Value* v = json::Member(doc, key);
      if (v != nullptr && v->IsUint()) {
        field = v->GetUint();
      } else {
        all = false;
      }
    };
    read("Ed2MAFactor", mEd2MAFactor);
    read("VidLnZP", mVidLnZP);
    read("VidLnNextToZP", mVidLnNextToZP);
    return all;
  });
}
