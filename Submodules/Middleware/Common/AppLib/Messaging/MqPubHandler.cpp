#include "MqPubHandler.h"

#include <czmq.h>

#include <exception>
#include <string>

#include "MqEndpointText.h"

namespace {

// Binds `sock` (or a PUB socket created here when it is null) to `endpoint`.
// A socket created here is destroyed again when the bind fails; one passed in
// stays with the caller.
zsock_t* BindPub(const std::string& endpoint, zsock_t* sock) {
  if (endpoint.empty()) return nullptr;
  zsock_t* target = sock;
  if (target == nullptr) {
    target = zsock_new(ZMQ_PUB);
    if (target == nullptr) return nullptr;
  }
  if (zsock_bind(target, "%s", endpoint.c_str()) == -1) {
    if (target != sock) zsock_destroy(&target);
    return nullptr;
  }
  return target;
}

}  // namespace

zsock_t* MqPubHandler::BindMqOverIpc(const char* name, zsock_t* sock) {
  if (name == nullptr) return nullptr;
  try {
    mAddress.clear();
    return BindPub(mq::detail::IpcEndpoint(name), sock);
  } catch (const std::exception&) {
    return nullptr;
  }
}

zsock_t* MqPubHandler::BindMqOverTcp(const char* address, unsigned int port, zsock_t* sock) {
  if (address == nullptr || port == 0) return nullptr;
  try {
    mAddress.clear();
    return BindPub(mq::detail::TcpEndpoint(address, port), sock);
  } catch (const std::exception&) {
    return nullptr;
  }
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
