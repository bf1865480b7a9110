#include "HwmEd2JsonMessageParser.h"

#include <exception>

#include <rapidjson/document.h>

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
  if (json == nullptr) return false;
  try {
    rapidjson::Document doc;
    doc.Parse<rapidjson::kParseIterativeFlag>(json);
    if (doc.HasParseError() || !doc.IsObject()) return false;

    // Every valid member is kept, even when another one is missing.
    bool all = true;
    auto read = [&doc, &all](const char* key, uint32_t& field) {
      auto it = doc.FindMember(key);
      if (it != doc.MemberEnd() && it->value.IsUint()) {
        field = it->value.GetUint();
      } else {
        all = false;
      }
    };
    read("Ed2MAFactor", mEd2MAFactor);
    read("VidLnZP", mVidLnZP);
    read("VidLnNextToZP", mVidLnNextToZP);
    return all;
  } catch (const std::exception&) {
    return false;
  }
}
