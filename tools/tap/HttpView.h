#pragma once
// plovrest-tap --http: an HTTP server that serves the web page compiled into
// the tap (tools/tap/web/) and streams the EventHub's events to each browser
// as Server-Sent Events on /events. It runs on its own threads (one per
// connection); the tap's receive loop only publishes into the hub.

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "tap/EventHub.h"

namespace httplib {
class Server;
}

namespace tap {

class HttpView {
 public:
  // Browsers share `hub`, which must outlive the view.
  explicit HttpView(EventHub& hub);
  ~HttpView();  // Stop()
  HttpView(const HttpView&) = delete;
  HttpView& operator=(const HttpView&) = delete;

  // What /changes serves (JSON lines); called on the server's threads, so it
  // must be thread-safe. Set before Start; without it /changes is empty.
  void SetChanges(std::function<std::string()> changes) { mChanges = std::move(changes); }

  // Listens on `host`:`port` (port 0: any free port) and starts serving.
  // False with `error` set when the address cannot be bound.
  bool Start(const std::string& host, int port, std::string& error);

  // "http://HOST:PORT/" once started.
  std::string Url() const { return mUrl; }

  // Closes the hub, ends every connection and joins the server thread.
  void Stop();

 private:
  EventHub& mHub;
  std::function<std::string()> mChanges;
  std::unique_ptr<httplib::Server> mServer;
  std::thread mThread;
  std::string mUrl;
};

}  // namespace tap
