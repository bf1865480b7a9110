#pragma once
// The sockets of the simulated peers. Every publisher is an XPUB, so the
// simulator sees who subscribes: it reports new subscribers and sends the
// monitors' current states to them (see Publisher::Latch).

#include <string>
#include <utility>
#include <vector>

namespace sim {

class Publisher {
 public:
  Publisher(void* context, std::string name);
  ~Publisher();
  Publisher(const Publisher&) = delete;
  Publisher& operator=(const Publisher&) = delete;

  bool Bind(const std::string& endpoint, std::string& error);
  bool Send(const std::string& topic, const void* data, std::size_t size);
  bool Send(const std::string& topic, const std::string& payload) {
    return Send(topic, payload.data(), payload.size());
  }

  // Keeps (topic, payload) as the current state under `key`, replacing the
  // previous one of that key; ResendLatched() sends them all in that order.
  void Latch(const std::string& key, const std::string& topic, const std::string& payload);
  int ResendLatched();

  // Reads the subscription messages waiting on the socket. Returns the topics
  // newly subscribed ("" subscribes to everything); `unsubscribed` counts the rest.
  std::vector<std::string> ReadSubscriptions(int& unsubscribed);

  void* Socket() const { return mSocket; }
  const std::string& Name() const { return mName; }
  const std::string& Endpoint() const { return mEndpoint; }

 private:
  void* mSocket;
  std::string mName;
  std::string mEndpoint;
  struct Latched {
    std::string key, topic, payload;
  };
  std::vector<Latched> mLatched;
};

// A PULL socket standing in for the log sink or the heartbeat collector.
class Sink {
 public:
  Sink(void* context, std::string name);
  ~Sink();
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;

  bool Bind(const std::string& endpoint, std::string& error);
  // Reads one waiting message (all its frames); false when none is waiting.
  bool Receive(std::vector<std::string>& frames);

  void* Socket() const { return mSocket; }
  const std::string& Name() const { return mName; }
  const std::string& Endpoint() const { return mEndpoint; }

 private:
  void* mSocket;
  std::string mName;
  std::string mEndpoint;
};

// The daemon's fixed endpoint of each simulated peer (decoder, hwm, hbmon,
// appserver, logsink, heartbeat).
std::string DefaultEndpoint(const std::string& peer);

}  // namespace sim
