#include "sim/Peers.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <zmq.h>

#include "MqEndpoints.h"

namespace sim {
namespace {

std::string Tcp(const char* address, unsigned port) {
  char buf[64];
  std::snprintf(buf, sizeof buf, mq::kTcpFormat, address, port);
  return buf;
}

std::string Ipc(const char* name) {
  char buf[256];
  std::snprintf(buf, sizeof buf, mq::kIpcFormat, mq::kIpcDir, name);
  return buf;
}

bool BindSocket(void* socket, const std::string& name, const std::string& endpoint,
                std::string& error) {
  if (socket == nullptr) {
    error = name + ": cannot create a socket: " + zmq_strerror(zmq_errno());
    return false;
  }
  if (zmq_bind(socket, endpoint.c_str()) != 0) {
    const int err = zmq_errno();
    error = name + ": cannot bind " + endpoint + ": " + zmq_strerror(err);
    if (err == EADDRNOTAVAIL || err == ENOENT)
      error += " (the device's addresses and " + std::string(mq::kIpcDir) +
               " exist on the device or inside scripts/netns-run.sh; --endpoint binds elsewhere)";
    return false;
  }
  return true;
}

void SetLinger(void* socket) {
  const int linger = 500;  // ms: lets the last messages leave at exit
  zmq_setsockopt(socket, ZMQ_LINGER, &linger, sizeof linger);
}

}  // namespace

std::string DefaultEndpoint(const std::string& peer) {
  if (peer == "decoder") return Tcp(mq::kSlot1Addr, mq::kDecoderPubPort);
  if (peer == "hwm") return Tcp(mq::kSlot1Addr, mq::kHwmPubPort);
  if (peer == "hbmon") return Ipc(mq::kHbMonPubIpc);
  if (peer == "appserver") return Ipc(mq::kAppServerIpc);
  if (peer == "logsink") return Tcp(mq::kMainBoardAddr, mq::kLogSinkPort);
  if (peer == "heartbeat") return Tcp(mq::kMainBoardAddr, mq::kHeartBeatPort);
  return std::string();
}

Publisher::Publisher(void* context, std::string name)
    : mSocket(zmq_socket(context, ZMQ_XPUB)), mName(std::move(name)) {
  if (mSocket != nullptr) {
    SetLinger(mSocket);
    const int verbose = 1;  // every subscriber's subscriptions, not only the first
    zmq_setsockopt(mSocket, ZMQ_XPUB_VERBOSE, &verbose, sizeof verbose);
  }
}

Publisher::~Publisher() {
  if (mSocket != nullptr) zmq_close(mSocket);
}

bool Publisher::Bind(const std::string& endpoint, std::string& error) {
  mEndpoint = endpoint;
  return BindSocket(mSocket, mName, endpoint, error);
}

bool Publisher::Send(const std::string& topic, const void* data, std::size_t size) {
  if (mSocket == nullptr) return false;
  if (zmq_send(mSocket, topic.data(), topic.size(), ZMQ_SNDMORE) < 0) return false;
  return zmq_send(mSocket, data, size, 0) >= 0;
}

void Publisher::Latch(const std::string& key, const std::string& topic, const std::string& payload) {
  for (auto& l : mLatched) {
    if (l.key == key) {
      l.topic = topic;
      l.payload = payload;
      return;
    }
  }
  mLatched.push_back({key, topic, payload});
}

int Publisher::ResendLatched() {
  int sent = 0;
  for (const auto& l : mLatched)
    if (Send(l.topic, l.payload)) ++sent;
  return sent;
}

std::vector<std::string> Publisher::ReadSubscriptions(int& unsubscribed) {
  std::vector<std::string> topics;
  unsubscribed = 0;
  if (mSocket == nullptr) return topics;
  for (;;) {
    zmq_msg_t msg;
    zmq_msg_init(&msg);
    if (zmq_msg_recv(&msg, mSocket, ZMQ_DONTWAIT) < 0) {
      zmq_msg_close(&msg);
      break;
    }
    const auto* data = static_cast<const char*>(zmq_msg_data(&msg));
    const std::size_t size = zmq_msg_size(&msg);
    if (size >= 1 && data[0] == 1) {
      topics.emplace_back(data + 1, size - 1);
    } else if (size >= 1 && data[0] == 0) {
      ++unsubscribed;
    }
    zmq_msg_close(&msg);
  }
  return topics;
}

Sink::Sink(void* context, std::string name)
    : mSocket(zmq_socket(context, ZMQ_PULL)), mName(std::move(name)) {
  if (mSocket != nullptr) SetLinger(mSocket);
}

Sink::~Sink() {
  if (mSocket != nullptr) zmq_close(mSocket);
}

bool Sink::Bind(const std::string& endpoint, std::string& error) {
  mEndpoint = endpoint;
  return BindSocket(mSocket, mName, endpoint, error);
}

bool Sink::Receive(std::vector<std::string>& frames) {
  frames.clear();
  if (mSocket == nullptr) return false;
  int more = 1;
  while (more) {
    zmq_msg_t msg;
    zmq_msg_init(&msg);
    if (zmq_msg_recv(&msg, mSocket, frames.empty() ? ZMQ_DONTWAIT : 0) < 0) {
      zmq_msg_close(&msg);
      return !frames.empty();
    }
    frames.emplace_back(static_cast<const char*>(zmq_msg_data(&msg)), zmq_msg_size(&msg));
    more = zmq_msg_more(&msg);
    zmq_msg_close(&msg);
  }
  return true;
}

}  // namespace sim
