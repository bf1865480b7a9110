#include "tap/Subscriber.h"

#include <chrono>
#include <cstdio>

#include <zmq.h>

namespace tap {

Subscriber::Subscriber() : mContext(zmq_ctx_new()), mSocket(nullptr) {
  if (mContext != nullptr) mSocket = zmq_socket(mContext, ZMQ_SUB);
  if (mSocket != nullptr) {
    const int linger = 0;
    zmq_setsockopt(mSocket, ZMQ_LINGER, &linger, sizeof linger);
  }
}

Subscriber::~Subscriber() {
  if (mSocket != nullptr) zmq_close(mSocket);
  if (mContext != nullptr) zmq_ctx_term(mContext);
}

bool Subscriber::Connect(const std::string& endpoint, const std::vector<std::string>& topics,
                         std::string& error) {
  if (mSocket == nullptr) {
    error = "cannot create a socket: " + std::string(zmq_strerror(zmq_errno()));
    return false;
  }
  if (topics.empty()) {
    zmq_setsockopt(mSocket, ZMQ_SUBSCRIBE, "", 0);
  } else {
    for (const auto& t : topics) zmq_setsockopt(mSocket, ZMQ_SUBSCRIBE, t.data(), t.size());
  }
  if (zmq_connect(mSocket, endpoint.c_str()) != 0) {
    error = "cannot connect to " + endpoint + ": " + zmq_strerror(zmq_errno());
    return false;
  }
  return true;
}

bool Subscriber::Receive(Message& message, int timeoutMs) {
  zmq_pollitem_t item = {mSocket, 0, ZMQ_POLLIN, 0};
  if (zmq_poll(&item, 1, timeoutMs) <= 0 || !(item.revents & ZMQ_POLLIN)) return false;
  message = Message();
  message.frames = 0;
  int more = 1;
  while (more) {
    zmq_msg_t msg;
    zmq_msg_init(&msg);
    if (zmq_msg_recv(&msg, mSocket, 0) < 0) {
      zmq_msg_close(&msg);
      return false;
    }
    std::string frame(static_cast<const char*>(zmq_msg_data(&msg)), zmq_msg_size(&msg));
    if (message.frames == 0) {
      message.topic = std::move(frame);
    } else if (message.frames == 1) {
      message.payload = std::move(frame);
    } else {
      message.payload += frame;
    }
    ++message.frames;
    more = zmq_msg_more(&msg);
    zmq_msg_close(&msg);
  }
  message.time = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  return true;
}

}  // namespace tap
