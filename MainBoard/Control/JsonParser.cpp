#include "Control/JsonParser.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "HeartBeater.h"
#include "HwmEd2JsonMessageParser.h"
#include "HwmJsonMessageParser.h"
#include "Logger.h"
#include "Control/DlbSubHandler.h"
#include "Shared/TopicTable.h"
#include "MqEndpoints.h"
#include "Shared/ReaderSwitches.h"
#include "Singleton.h"

cJsonParser* cJsonParser::mpJsonParser = nullptr;
Logger* cJsonParser::mpLogger = nullptr;
int cJsonParser::mLogLevel = 20;
cDlbSubHandler* cJsonParser::mpDlbSubHandler = nullptr;
HwmJsonMessageParser* cJsonParser::mpHwmJsonMsgParser = nullptr;
HwmEd2JsonMessageParser* cJsonParser::mpHwmEd2JsonMsgParser = nullptr;

cJsonParser* cJsonParser::GetInstance() {
  return SingleInstance(mpJsonParser, DeleteInstance, [] { return new cJsonParser(); }, [] {
    cJsonParseSysStatus::mbSysStatus.store(false, std::memory_order_relaxed);
    cJsonParseSysStatus::mbDolbyDecoderDetected.store(false, std::memory_order_relaxed);
    cJsonParseSysStatus::mpLogger = Logger::GetInstance();
    mpLogger = Logger::GetInstance();
    mpHwmJsonMsgParser = HwmJsonMessageParser::GetInstance();
    mpHwmEd2JsonMsgParser = HwmEd2JsonMessageParser::GetInstance();
    mpDlbSubHandler = cDlbSubHandler::GetInstance();
  });
}

void cJsonParser::DeleteInstance() {
  delete mpJsonParser;
  mpJsonParser = nullptr;
}

namespace {

constexpr std::memory_order kRelaxed = std::memory_order_relaxed;

// Set once the process monitor's status topic could be unsubscribed; the empty
// topic keeps delivering it, so later messages are skipped here.
bool skip_status_topic = false;

void SetDecoding(bool enabled, int source) {
  cDlbStatusSwitches::mbDolbyZoomStatus.store(enabled, kRelaxed);
  cDlbStatusSwitches::miDecodingSource.store(source, kRelaxed);
}

int OnAppPreset(const char*) {
  SetDecoding(false, 0);
  return 0;
}

int OnAppCommand(const char* message) {
  const int command = cHeartBeater::ParseAppCommand(message);
  if (command == -1) {
    LOG_AT(cJsonParser, Error, 40, "\"Failed to parse application.\"");
    return 0;
  }
  if (command == cHeartBeater::kAppCmdSwUpgrade || command == cHeartBeater::kAppCmdReboot) {
    LOG_AT(cJsonParser, Warn, 30, "\"Got app command %d. Exiting ...\"", command);
    return -1;
  }
  return 0;
}

int OnProcsStatus(const char* message) {
  if (skip_status_topic) return 0;
  if (!cJsonParser::mpJsonParser->ParseSysStatus(message, false, false, nullptr)) return 0;
  cDlbSubHandler* subs = cJsonParser::mpDlbSubHandler;
  static auto statusTopic = topic::MakeTable(topic::kHbProcsStatus);
  if (subs != nullptr && subs->IsConnected() &&
      subs->UnsubscribeTopics(subs->mpSock, statusTopic.entries, statusTopic.kCount)) {
    skip_status_topic = true;
  } else {
    LOG_AT(cJsonParser, Error, 40, "\"Failed to unsbuscribe HB Proc Topic\"");
  }
  return 0;
}

int OnSysStatus(const char* message) {
  cJsonParser::mpJsonParser->ParseSysStatus(message, true, false, nullptr);
  return 0;
}

int OnVideoLines(const char* message) {
  HwmEd2JsonMessageParser* ed2 = cJsonParser::mpHwmEd2JsonMsgParser;
  if (ed2 == nullptr || !ed2->ParseJsonStr(message)) return 0;
  printf("\nHwmEd2Factor");
  printf("\n\t VidLnNoForZP: %u", ed2->mVidLnZP);
  printf("\n\t VidLnNoForNextToZP: %u", ed2->mVidLnNextToZP);
  printf("\n\t Ed2MAFactor: %u", ed2->mEd2MAFactor);
  printf("\n");
  fflush(stdout);
  cDlbStatusSwitches::miVidLnNoForZP.store(static_cast<int>(ed2->mVidLnZP), kRelaxed);
  cDlbStatusSwitches::miVidLnNoForNextToZP.store(static_cast<int>(ed2->mVidLnNextToZP), kRelaxed);
  cDlbStatusSwitches::mlEd2MAFactor.store(static_cast<std::int64_t>(ed2->mEd2MAFactor), kRelaxed);
  return 0;
}

int Ignore(const char*) { return 0; }

int OnDlbZoom(const char*) {
  SetDecoding(true, cDlbStatusSwitches::kSourceDolbyZoom);
  return 0;
}

int OnDolbyPreset(const char*) {
  SetDecoding(true, cDlbStatusSwitches::kSourceDolbyPreset);
  return 0;
}

int OnDecodeStop(const char*) {
  cDlbStatusSwitches::mbDolbyZoomStatus.store(false, kRelaxed);
  return 0;
}

int OnSignalStatus(const char* message) {
  if (cJsonParser::mpHwmJsonMsgParser != nullptr) {
    cJsonParser::mpHwmJsonMsgParser->ParseJsonStr(message, -1);
  }
  return 0;
}

struct TopicAction {
  const char* topic;
  int (*act)(const char* message);
};

// First match wins; any other topic is ignored.
const TopicAction kActions[] = {
    {topic::kAppPresetConfiguration, OnAppPreset},
    {topic::kHbAppCmd, OnAppCommand},
    {topic::kHbProcsStatus, OnProcsStatus},
    {topic::kHbSysStatusEvent, OnSysStatus},
    {topic::kHwmDlbZoomVideoLines, OnVideoLines},
    {topic::kDolbyZoomPair, Ignore},
    {topic::kHwmDlbZoom, OnDlbZoom},
    {topic::kHwmDolbyPreset, OnDolbyPreset},
    {topic::kHwmDolbyDecodeStop, OnDecodeStop},
    {topic::kHwmSignalStatus, OnSignalStatus},
};

}  // namespace

int cJsonParser::ParseMessage(const char* topic, const char* message) {
  if (topic == nullptr || mpJsonParser == nullptr) return -1;
  for (const TopicAction& action : kActions) {
    if (strncmp(topic, action.topic, mq::kTopicLen) == 0) return action.act(message);
  }
  return 0;
}
