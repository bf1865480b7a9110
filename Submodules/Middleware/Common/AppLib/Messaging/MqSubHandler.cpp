#include "MqSubHandler.h"

#include <czmq.h>

#include <cstring>
#include <exception>
#include <string>

#include "MqEndpointText.h"

namespace {

// An entry holds a topic only when its terminator lies inside the entry, i.e.
// the topic has at most 127 characters.
bool IsTerminated(const char (&entry)[mq::kTopicLen]) {
  return std::memchr(entry, '\0', sizeof(entry)) != nullptr;
}

// Connects `sock` (or a SUB socket created here when it is null) to `endpoint`
// and subscribes every usable entry of the table. A socket created here is
// destroyed again when the connect fails; one passed in stays with the caller.
// `subscribed` counts the subscriptions made.
zsock_t* ConnectSub(const std::string& endpoint, char (*topics)[mq::kTopicLen], int count,
                    zsock_t* sock, int& subscribed) {
  if (endpoint.empty()) return nullptr;
  zsock_t* target = sock;
  if (target == nullptr) {
    target = zsock_new(ZMQ_SUB);
    if (target == nullptr) return nullptr;
  }
  if (zsock_connect(target, "%s", endpoint.c_str()) == -1) {
    if (target != sock) zsock_destroy(&target);
    return nullptr;
  }
  if (topics != nullptr) {
    for (int i = 0; i < count; ++i) {
      if (!IsTerminated(topics[i])) continue;  // longer than 127 characters
      zsock_set_subscribe(target, topics[i]);
      ++subscribed;
    }
  }
  return target;
}

// Takes over the socket that an add returned on behalf of a SubHandler.
bool Adopt(SubHandler& handler, zsock_t* sock, bool& connected) {
  if (sock == nullptr) return false;
  if (sock != handler.mpSock) {
    handler.DestroyMq(&handler.mpSock);
    handler.mpSock = sock;
  }
  connected = true;
  return true;
}

}  // namespace

zsock_t* MqSubHandler::AddMqOverIpc(const char* name, char (*topics)[128], int count,
                                    zsock_t* sock) {
  if (name == nullptr) return nullptr;
  try {
    return ConnectSub(mq::detail::IpcEndpoint(name), topics, count, sock, miSubscribed);
  } catch (const std::exception&) {
    return nullptr;
  }
}

zsock_t* MqSubHandler::AddMqOverTcp(const char* address, unsigned int port,
                                    char (*topics)[128], int count, zsock_t* sock) {
  if (address == nullptr || port == 0) return nullptr;
  try {
    return ConnectSub(mq::detail::TcpEndpoint(address, port), topics, count, sock, miSubscribed);
  } catch (const std::exception&) {
    return nullptr;
  }
}

zsock_t* MqSubHandler::AddMqOverUdp(const char*, unsigned int, char (*)[128], int, zsock_t*) {
  return nullptr;  // not supported
}

bool MqSubHandler::UnsubscribeTopics(zsock_t* sock, char (*topics)[128], int count) {
  if (sock == nullptr || topics == nullptr || count <= 0) return false;
  for (int i = 0; i < count; ++i) {
    // An unterminated entry was never subscribed; reading it as a string
    // would run past the entry.
    if (IsTerminated(topics[i])) zsock_set_unsubscribe(sock, topics[i]);
  }
  return true;
}

void MqSubHandler::DestroyMq(zsock_t** sock) {
  if (sock == nullptr) return;
  if (*sock != nullptr) zsock_destroy(sock);
  *sock = nullptr;
}

int MqSubHandler::MessageReader(zsock_t* sock) {
  if (mpCallback == nullptr || sock == nullptr) return 0;

  zmsg_t* msg = zmsg_recv_nowait(sock);
  if (msg == nullptr) return 0;

  char* topic = zmsg_popstr(msg);
  char* message = zmsg_popstr(msg);
  const int result = (topic == nullptr) ? 1 : mpCallback(topic, message);

  zstr_free(&topic);
  zstr_free(&message);
  zmsg_destroy(&msg);
  return result;
}

SubHandler::~SubHandler() { DestroyMq(&mpSock); }

bool SubHandler::AddMqOverIpc(const char* name, char (*topics)[128], int count) {
  if (name == nullptr || mpSock == nullptr) return false;
  return Adopt(*this, MqSubHandler::AddMqOverIpc(name, topics, count, mpSock), mbConnectedOverIpc);
}

bool SubHandler::AddMqOverTcp(const char* address, unsigned int port, char (*topics)[128],
                              int count) {
  if (address == nullptr || mpSock == nullptr) return false;
  return Adopt(*this, MqSubHandler::AddMqOverTcp(address, port, topics, count, mpSock),
               mbConnectedOverTcp);
}
