#include "exporter/MetricsServer.h"

#include <cerrno>
#include <cstring>

#include <httplib.h>

namespace exporter {

MetricsServer::MetricsServer(const ExporterState& state, std::function<double()> now)
    : mState(state), mNow(std::move(now)) {}

MetricsServer::~MetricsServer() { Stop(); }

bool MetricsServer::Start(const std::string& host, int port, std::string& error) {
  mServer = std::make_unique<httplib::Server>();
  httplib::Server& server = *mServer;
  server.new_task_queue = [] { return new httplib::ThreadPool(4); };
  server.Get("/metrics", [this](const httplib::Request& req, httplib::Response& res) {
    const bool openMetrics = WantsOpenMetrics(req.get_header_value("Accept"));
    res.set_content(mState.Metrics(openMetrics, mNow()), ContentType(openMetrics));
  });
  server.Get("/changes", [this](const httplib::Request&, httplib::Response& res) {
    res.set_content(mState.Changes(), "application/x-ndjson; charset=utf-8");
  });
  server.Get("/", [](const httplib::Request&, httplib::Response& res) {
    res.set_content("<html><body><h1>plovrest-exporter</h1><p><a href=\"/metrics\">Metrics</a> "
                    "<a href=\"/changes\">Changes</a></p></body></html>\n",
                    "text/html; charset=utf-8");
  });
  const int bound = port == 0 ? server.bind_to_any_port(host) : (server.bind_to_port(host, port) ? port : -1);
  if (bound < 0) {
    error = "--http: cannot listen on " + host + ":" + std::to_string(port) + ": " + std::strerror(errno);
    mServer.reset();
    return false;
  }
  mUrl = "http://" + (host.find(':') != std::string::npos ? "[" + host + "]" : host) + ":" + std::to_string(bound) + "/";
  mThread = std::thread([&server] { server.listen_after_bind(); });
  return true;
}

void MetricsServer::Stop() {
  if (mServer) mServer->stop();
  if (mThread.joinable()) mThread.join();
  mServer.reset();
}

}  // namespace exporter
