#include "HwmEd2JsonMessageParser.h"

#include <cstdlib>
#include <exception>
#include <new>

#include <rapidjson/document.h>

#include "Logger.h"

HwmEd2JsonMessageParser* HwmEd2JsonMessageParser::mpHwmEd2JsonMessageParser = nullptr;
Logger* HwmEd2JsonMessageParser::mpLogger = nullptr;
int32_t HwmEd2JsonMessageParser::mLogLevel = MSG_LEVEL_INFO;

HwmEd2JsonMessageParser* HwmEd2JsonMessageParser::GetInstance() {
  if (mpHwmEd2JsonMessageParser == nullptr) {
    mpHwmEd2JsonMessageParser = new (std::nothrow) HwmEd2JsonMessageParser();
    if (mpHwmEd2JsonMessageParser == nullptr) return nullptr;
    mpLogger = Logger::GetInstance();
    atexit(DeleteInstance);
  }
  return mpHwmEd2JsonMessageParser;
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
