#include "HeartBeater.h"

#include <czmq.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <exception>
#include <new>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "JsonRead.h"
#include "Logger.h"
#include "MqEndpoints.h"
#include "MqEndpointText.h"
#include "MqPush.h"
#include "Singleton.h"

cHeartBeater* cHeartBeater::mpHeartBeater = nullptr;
Logger* cHeartBeater::mpLogger = nullptr;
int32_t cHeartBeater::mLogLevel = MSG_LEVEL_WARN;

namespace {
constexpr const char* kHbTopic = "HbProc";
constexpr const char* kRepubTopic = "HbReqRepubSysStatus";
constexpr const char* kAppCmdTopic = "HbFwdAppCmd";
constexpr const char* kUnknownVersion = "Unknown";

// Sends topic and message as one two-part message; `what` names the message
// in the error line of the part that failed.
bool SendWithTopic(zsock_t* sock, const char* topic, const char* message, const char* what) {
  if (zstr_sendm(sock, topic) != 0) {
    LOG_AT(cHeartBeater, Error, MSG_LEVEL_ERROR, "\"Failed to send %s Topic.\"", what);
    return false;
  }
  if (zstr_send(sock, message) != 0) {
    LOG_AT(cHeartBeater, Error, MSG_LEVEL_ERROR, "\"Failed to send %s message.\"", what);
    return false;
  }
  return true;
}
}  // namespace

cHeartBeater* cHeartBeater::GetInstance() {
  return SingleInstance(mpHeartBeater, DeleteInstance, [] { return new cHeartBeater(); },
                        [] { mpLogger = Logger::GetInstance(); });
}

void cHeartBeater::DeleteInstance() {
  if (mpHeartBeater == nullptr) return;
  mpHeartBeater->CloseMq();
  delete mpHeartBeater;
  mpHeartBeater = nullptr;
}

cHeartBeater::~cHeartBeater() { CloseMq(); }

bool cHeartBeater::SetHeartBeatJson(const char* procName, const char* version,
                                    ProcessStatus_e state) {
  mbVersionSet = false;
  if (procName == nullptr) return false;
  try {
    rapidjson::Document doc;
    doc.SetObject();
    auto& alloc = doc.GetAllocator();
    doc.AddMember("HbKey", rapidjson::Value(procName, alloc), alloc);
    if (version == nullptr) {
      LOG_AT(cHeartBeater, Warn, MSG_LEVEL_WARN, "\"HB Version not set by this process.!\"");
      version = kUnknownVersion;
    }
    doc.AddMember("Version", rapidjson::Value(version, alloc), alloc);
    doc.AddMember("State", static_cast<int>(state), alloc);

    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    doc.Accept(writer);

    memset(mHbJson, 0, sizeof(mHbJson));
    snprintf(mHbJson, sizeof(mHbJson) - 1, "%s", buffer.GetString());
  } catch (const std::exception&) {
    return false;
  }
  mbVersionSet = true;
  return true;
}

bool cHeartBeater::ConnectMqOverTcp() {
  return ConnectPush(mq::detail::TcpEndpoint(mq::kMainBoardAddr, mq::kHeartBeatPort));
}

bool cHeartBeater::ConnectMqOverIpc() {
  return ConnectPush(mq::detail::IpcEndpoint(mq::kHeartBeatIpc));
}

bool cHeartBeater::ConnectPush(const std::string& endpoint) {
  return mq::ConnectPush(&mpPushSock, endpoint.c_str(), 0,
                         [](MsgLevel_e level, const char* text, const char* where) {
                           if (mLogLevel > level || mpLogger == nullptr) return;
                           mpLogger->Write(level, "%s|%u|\"%s %s\"", LogFileName(__FILE__),
                                           unsigned(__LINE__), text, where);
                         });
}

void cHeartBeater::CloseMq() {
  if (mpPushSock != nullptr) zsock_destroy(&mpPushSock);
  mpPushSock = nullptr;
}

bool cHeartBeater::SendBeat() {
  if (mpPushSock == nullptr || !mbVersionSet) return false;
  return SendWithTopic(mpPushSock, kHbTopic, mHbJson, "HB");
}

void cHeartBeater::RequestRepub() {
  if (mpPushSock == nullptr || !mbVersionSet) return;
  if (zstr_send(mpPushSock, kRepubTopic) != 0) {
    LOG_AT(cHeartBeater, Error, MSG_LEVEL_ERROR, "\"Failed to send HB Topic.\"");
  }
}

bool cHeartBeater::SendRebootCommand() { return SendAppCommand(kAppCmdReboot); }

bool cHeartBeater::SendSwUpgradeCommand() { return SendAppCommand(kAppCmdSwUpgrade); }

bool cHeartBeater::SendAppCommand(int command) {
  if (mpPushSock == nullptr) return false;
  rapidjson::StringBuffer buffer;
  try {
    rapidjson::Document doc;
    doc.SetObject();
    doc.AddMember("Command", command, doc.GetAllocator());
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    doc.Accept(writer);
  } catch (const std::exception&) {
    buffer.Clear();
  }
  const char* text = buffer.GetSize() > 0 ? buffer.GetString() : nullptr;
  if (text == nullptr) {
    LOG_AT(cHeartBeater, Error, MSG_LEVEL_ERROR, "\"Failed to prepare app cmd toipic.\"");
    return false;
  }
  return SendWithTopic(mpPushSock, kAppCmdTopic, text, "App cmd");
}

int cHeartBeater::ParseAppCommand(const char* json) {
  return json::ReadObject(json, -1, [](const rapidjson::Value& doc) {
    const rapidjson::Value* command = json::Member(doc, "Command");
    return command != nullptr && command->IsInt() ? command->GetInt() : -1;
  });
}
