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

#include "Logger.h"
#include "Singleton.h"
#include "MqEndpointText.h"
#include "MqEndpoints.h"

cHeartBeater* cHeartBeater::mpHeartBeater = nullptr;
Logger* cHeartBeater::mpLogger = nullptr;
int32_t cHeartBeater::mLogLevel = MSG_LEVEL_WARN;

namespace {
constexpr const char* kHbTopic = "HbProc";
constexpr const char* kRepubTopic = "HbReqRepubSysStatus";
constexpr const char* kAppCmdTopic = "HbFwdAppCmd";
constexpr const char* kUnknownVersion = "Unknown";
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

bool cHeartBeater::ConnectMqOverIpc() { return ConnectPush(mq::detail::IpcEndpoint(mq::kHeartBeatIpc)); }

bool cHeartBeater::ConnectPush(const std::string& endpoint) {
  const char* text = endpoint.c_str();
  try {
    if (mpPushSock != nullptr) {
      LOG_AT(cHeartBeater, Error, MSG_LEVEL_ERROR, "\"Seems this instance already connected to %s\"",
             text);
      return false;
    }
    zsock_t* sock = zsock_new(ZMQ_PUSH);
    if (sock == nullptr) return false;
    LOG_AT(cHeartBeater, Debug, MSG_LEVEL_DEBUG, "\"Tryig to connect %s\"", text);
    if (zsock_connect(sock, "%s", text) != 0) {
      zsock_destroy(&sock);
      LOG_AT(cHeartBeater, Error, MSG_LEVEL_ERROR, "\"Failed to connect to %s\"", text);
      return false;
    }
    mpPushSock = sock;
    LOG_AT(cHeartBeater, Info, MSG_LEVEL_INFO, "\"Connected to %s\"", text);
    return true;
  } catch (const std::bad_alloc& e) {
    LOG_AT(cHeartBeater, Critical, MSG_LEVEL_CRITICAL, "\"Exception Bad alloc %s\"", e.what());
  } catch (const std::exception& e) {
    LOG_AT(cHeartBeater, Critical, MSG_LEVEL_CRITICAL, "\"Exception %s\"", e.what());
  }
  return false;
}

void cHeartBeater::CloseMq() {
  if (mpPushSock != nullptr) zsock_destroy(&mpPushSock);
  mpPushSock = nullptr;
}

bool cHeartBeater::SendBeat() {
  if (mpPushSock == nullptr || !mbVersionSet) return false;
  if (zstr_sendm(mpPushSock, kHbTopic) != 0) {
    LOG_AT(cHeartBeater, Error, MSG_LEVEL_ERROR, "\"Failed to send HB Topic.\"");
    return false;
  }
  if (zstr_send(mpPushSock, mHbJson) != 0) {
    LOG_AT(cHeartBeater, Error, MSG_LEVEL_ERROR, "\"Failed to send HB message.\"");
    return false;
  }
  return true;
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
  if (zstr_sendm(mpPushSock, kAppCmdTopic) != 0) {
    LOG_AT(cHeartBeater, Error, MSG_LEVEL_ERROR, "\"Failed to send App cmd Topic.\"");
    return false;
  }
  if (zstr_send(mpPushSock, text) != 0) {
    LOG_AT(cHeartBeater, Error, MSG_LEVEL_ERROR, "\"Failed to send App cmd message.\"");
    return false;
  }
  return true;
}

int cHeartBeater::ParseAppCommand(const char* json) {
  if (json == nullptr) return -1;
  try {
    rapidjson::Document doc;
    doc.Parse<rapidjson::kParseIterativeFlag>(json);
    if (doc.HasParseError() || !doc.IsObject()) return -1;
    auto it = doc.FindMember("Command");
    if (it == doc.MemberEnd() || !it->value.IsInt()) return -1;
    return it->value.GetInt();
  } catch (const std::exception&) {
    return -1;
  }
}
