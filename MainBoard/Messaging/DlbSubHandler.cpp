#include "Messaging/DlbSubHandler.h"

#include <czmq.h>


#include "Logger.h"
#include "Messaging/JsonParser.h"
#include "MqEndpoints.h"
#include "Singleton.h"

cDlbSubHandler* cDlbSubHandler::mpSub = nullptr;
Logger* cDlbSubHandler::mpLogger = nullptr;
int cDlbSubHandler::mLogLevel = 10;

namespace {

// The empty topic makes the socket accept every topic from all three
// publishers; the dispatcher ignores what it does not know.
char gAppServerTopics[][mq::kTopicLen] = {"AppPresetConfiguration", ""};
char gHwmTopics[][mq::kTopicLen] = {"HwmDlbZoomVideoLines", "HwmSignalStatus", "HwmDlbZoom",
                                     "HwmDolbyPreset", "HwmDolbyDecodeStop"};
char gHbMonTopics[][mq::kTopicLen] = {"HbSysStatusEvent", "HbProcsStatus", "HbAppCmd"};

template <std::size_t N>
constexpr int Count(char (&)[N][mq::kTopicLen]) {
  return static_cast<int>(N);
}

}  // namespace

cDlbSubHandler* cDlbSubHandler::GetInstance() {
  return SingleInstance(mpSub, DeleteInstance, [] { return new cDlbSubHandler(); },
                        [] { mpLogger = Logger::GetInstance(); });
}

void cDlbSubHandler::DeleteInstance() {
  if (mpSub == nullptr) return;
  mpSub->mReconnect.Stop();
  mpSub->DestroyMq(&mpSub->mpSock);
  delete mpSub;
  mpSub = nullptr;
}

void cDlbSubHandler::Init() {
  if (mbConnectedOverIpc || mbConnectedOverTcp || mpSock != nullptr) {
    mReconnect.Stop();
    DestroyMq(&mpSock);
    mbConnectedOverIpc = false;
    mbConnectedOverTcp = false;
  }
  mpSock = zsock_new(ZMQ_SUB);
  if (mpSock == nullptr) return;
  zsock_set_maxmsgsize(mpSock, static_cast<int>(mq::kMaxControlMessageBytes));
  mReconnect.Watch(mpSock, "control");
}

int mqReader(const char* topic, const char* message) {
  return cJsonParser::ParseMessage(topic, message);
}

namespace {

void addAppserverMq(cDlbSubHandler& subs) {
  if (!subs.AddMqOverIpc(mq::kAppServerIpc, gAppServerTopics, Count(gAppServerTopics))) {
    LOG_AT(cDlbSubHandler, Error, 40, "\"Failed to add MQ\"");
  }
}

void addHwmAtSlot(cDlbSubHandler& subs) {
  if (subs.miSlot == 1) return;
  if (!subs.AddMqOverTcp(mq::kSlot1Addr, mq::kHwmPubPort, gHwmTopics, Count(gHwmTopics))) {
    LOG_AT(cDlbSubHandler, Error, 40, "\"Failed to add MQ\"");
  }
}

void addHbMonMq(cDlbSubHandler& subs) {
  if (cJsonParser::GetInstance() == nullptr) return;
  subs.AddMqOverIpc(mq::kHbMonPubIpc, gHbMonTopics, Count(gHbMonTopics));
}

}  // namespace

int addSubs(int slot) {
  cDlbSubHandler* subs = cDlbSubHandler::GetInstance();
  if (subs == nullptr) return 0;
  subs->Init();
  subs->mpCallback = mqReader;
  subs->miSlot = slot;
  addAppserverMq(*subs);
  addHwmAtSlot(*subs);
  addHbMonMq(*subs);
  return 1;
}
