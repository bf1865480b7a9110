#include "Control/DlbSubHandler.h"

#include <czmq.h>


#include "Logger.h"
#include "Control/JsonParser.h"
#include "MqEndpoints.h"
#include "Shared/TopicTable.h"
#include "Singleton.h"

cDlbSubHandler* cDlbSubHandler::mpSub = nullptr;
Logger* cDlbSubHandler::mpLogger = nullptr;
int cDlbSubHandler::mLogLevel = 10;

namespace {

// The empty topic makes the socket accept every topic from all three
// publishers; the dispatcher ignores what it does not know.
auto gAppServerTopics = topic::MakeTable(topic::kAppPresetConfiguration, topic::kEverything);
auto gHwmTopics = topic::MakeTable(topic::kHwmDlbZoomVideoLines, topic::kHwmSignalStatus, topic::kHwmDlbZoom,
                                   topic::kHwmDolbyPreset, topic::kHwmDolbyDecodeStop);
auto gHbMonTopics = topic::MakeTable(topic::kHbSysStatusEvent, topic::kHbProcsStatus, topic::kHbAppCmd);

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
  if (!subs.AddMqOverIpc(mq::kAppServerIpc, gAppServerTopics.entries, gAppServerTopics.kCount)) {
    LOG_AT(cDlbSubHandler, Error, 40, "\"Failed to add MQ\"");
  }
}

void addHwmAtSlot(cDlbSubHandler& subs) {
  if (subs.miSlot == 1) return;
  if (!subs.AddMqOverTcp(mq::kSlot1Addr, mq::kHwmPubPort, gHwmTopics.entries, gHwmTopics.kCount)) {
    LOG_AT(cDlbSubHandler, Error, 40, "\"Failed to add MQ\"");
  }
}

void addHbMonMq(cDlbSubHandler& subs) {
  if (cJsonParser::GetInstance() == nullptr) return;
  subs.AddMqOverIpc(mq::kHbMonPubIpc, gHbMonTopics.entries, gHbMonTopics.kCount);
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
