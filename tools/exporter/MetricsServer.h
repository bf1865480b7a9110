#pragma once
// The exporter's HTTP server (cpp-httplib): /metrics and /changes from an
// ExporterState, on its own threads.

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "exporter/ExporterState.h"

namespace httplib {
class Server;
}

namespace exporter {

class MetricsServer {
 public:
  // Serves `state`, which must outlive the server; `now` gives the steady
  // clock in seconds that the state's times use.
  MetricsServer(const ExporterState& state, std::function<double()> now);
  ~MetricsServer();  // Stop()
  MetricsServer(const MetricsServer&) = delete;
  MetricsServer& operator=(const MetricsServer&) = delete;

  // Listens on `host`:`port` (0: any free port) and starts serving. False
  // with `error` set when the address cannot be bound.
  bool Start(const std::string& host, int port, std::string& error);
  // "http://HOST:PORT/" once started.
  const std::string& Url() const { return mUrl; }
  void Stop();

 private:
  const ExporterState& mState;
  std::function<double()> mNow;
  std::unique_ptr<httplib::Server> mServer;
  std::thread mThread;
  std::string mUrl;
};

}  // namespace exporter
