#pragma once
// The tap's SUB socket.

#include <string>
#include <vector>

#include "tap/MessageView.h"

namespace tap {

class Subscriber {
 public:
  Subscriber();
  ~Subscriber();
  Subscriber(const Subscriber&) = delete;
  Subscriber& operator=(const Subscriber&) = delete;

  // Connects and subscribes to each topic (all when `topics` is empty).
  bool Connect(const std::string& endpoint, const std::vector<std::string>& topics, std::string& error);

  // Waits up to `timeoutMs` (-1: no limit) for a message. False on time-out
  // or interruption; `message.time` is the wall-clock time of arrival.
  bool Receive(Message& message, int timeoutMs);

 private:
  void* mContext;
  void* mSocket;
};


}  // namespace tap
