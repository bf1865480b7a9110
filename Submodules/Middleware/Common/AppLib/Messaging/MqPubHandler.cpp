#include "MqPubHandler.h"

#include <czmq.h>

#include "MqAttach.h"
#include "MqEndpoints.h"

zsock_t* MqPubHandler::BindMqOverIpc(const char* name, zsock_t* sock) {
  if (name == nullptr) return nullptr;
  mAddress.clear();
  return mq::AttachSocket(sock, ZMQ_PUB, true, mq::kIpcFormat, mq::kIpcDir, name);
}

zsock_t* MqPubHandler::BindMqOverTcp(const char* address, unsigned int port, zsock_t* sock) {
  if (address == nullptr || port == 0) return nullptr;
  mAddress.clear();
  return mq::AttachSocket(sock, ZMQ_PUB, true, mq::kTcpFormat, address, port);
}

zsock_t* MqPubHandler::BindMqOverUdp(const char*, unsigned int, zsock_t*) {
  return nullptr;  // not supported
}

void MqPubHandler::DestroyMq(zsock_t** sock) {
  if (sock == nullptr) return;
  if (*sock != nullptr) zsock_destroy(sock);
  *sock = nullptr;
}

bool MqPubHandler::SendJson(zsock_t* sock, const char* topic, const char* json) {
  if (sock == nullptr || topic == nullptr || json == nullptr) return false;
  if (zstr_sendm(sock, topic) != 0) return false;
  return zstr_send(sock, json) == 0;
}

bool MqPubHandler::SendUint32(zsock_t* sock, const char* topic, unsigned int value) {
  if (sock == nullptr || topic == nullptr) return false;
  return zsock_send(sock, "s4", topic, static_cast<uint32_t>(value)) == 0;
}

bool MqPubHandler::SendS44(zsock_t* sock, const char* topic, unsigned int a, unsigned int b) {
  if (sock == nullptr || topic == nullptr) return false;
  return zsock_send(sock, "s44", topic, static_cast<uint32_t>(a), static_cast<uint32_t>(b)) == 0;
}
