#include "MqSubHandler.h"

#include <czmq.h>

#include <cstring>

#include "MqAttach.h"
#include "MqEndpoints.h"

namespace {

// An entry holds a topic only when its terminator lies inside the entry, i.e.
// the topic has at most 127 characters.
bool IsTerminated(const char (&entry)[mq::kTopicLen]) {
  return std::memchr(entry, '\0', sizeof(entry)) != nullptr;
}

// Subscribes `target` (null: a failed connect) to every usable entry of the
// table and returns it; `subscribed` counts the subscriptions made.
zsock_t* Subscribe(zsock_t* target, char (*topics)[mq::kTopicLen], int count, int& subscribed) {
  if (target != nullptr && topics != nullptr) {
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
  return Subscribe(mq::AttachSocket(sock, ZMQ_SUB, false, mq::kIpcFormat, mq::kIpcDir, name),
                   topics, count, miSubscribed);
}

zsock_t* MqSubHandler::AddMqOverTcp(const char* address, unsigned int port,
                                    char (*topics)[128], int count, zsock_t* sock) {
  if (address == nullptr || port == 0) return nullptr;
  return Subscribe(mq::AttachSocket(sock, ZMQ_SUB, false, mq::kTcpFormat, address, port), topics,
                   count, miSubscribed);
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
