#include "tap/HttpView.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <vector>

#include <httplib.h>

#include "Catalogue.h"
#include "tap/WebFiles.h"

namespace tap {
namespace {

constexpr int kMaxBrowsers = 16;
constexpr auto kKeepAlive = std::chrono::seconds(5);  // comment line sent when nothing happens

const char* ContentType(const std::string& name) {
  const auto dot = name.rfind('.');
  const std::string ext = dot == std::string::npos ? "" : name.substr(dot);
  if (ext == ".html") return "text/html; charset=utf-8";
  if (ext == ".css") return "text/css; charset=utf-8";
  if (ext == ".js") return "text/javascript; charset=utf-8";
  if (ext == ".json") return "application/json";
  if (ext == ".svg") return "image/svg+xml";
  return "text/plain; charset=utf-8";
}

}  // namespace

const char* FindWebFile(const std::string& name) {
  for (unsigned i = 0; i < tools::kTapWebFileCount; ++i)
    if (name == tools::kTapWebFiles[i].name) return tools::kTapWebFiles[i].text;
  return nullptr;
}

HttpView::HttpView(EventHub& hub) : mHub(hub) {}

HttpView::~HttpView() { Stop(); }

bool HttpView::Start(const std::string& host, int port, std::string& error) {
  mServer = std::make_unique<httplib::Server>();
  httplib::Server& server = *mServer;
  // One thread per event stream, a few more for the page's files.
  server.new_task_queue = [] { return new httplib::ThreadPool(kMaxBrowsers + 4); };
  server.set_keep_alive_timeout(2);

  server.Get("/events", [this](const httplib::Request&, httplib::Response& res) {
    const long id = mHub.Join();
    if (id < 0) {
      res.status = 503;
      res.set_content("too many browsers on this tap\n", "text/plain");
      return;
    }
    res.set_header("Cache-Control", "no-cache");
    auto sent = std::make_shared<bool>(false);
    res.set_chunked_content_provider(
        "text/event-stream",
        [this, id, sent](std::size_t, httplib::DataSink& sink) {
          if (!*sent) {
            *sent = true;
            static const char kRetry[] = "retry: 1000\n\n";  // the browser reconnects after 1 s
            return sink.write(kRetry, sizeof kRetry - 1);
          }
          std::vector<EventHub::Text> events;
          if (!mHub.Take(id, events, kKeepAlive)) {
            sink.done();
            return true;
          }
          if (events.empty()) {
            static const char kComment[] = ": keep-alive\n\n";
            return sink.write(kComment, sizeof kComment - 1);
          }
          for (const auto& e : events)
            if (!sink.write(e->data(), e->size())) return false;
          return true;
        },
        [this, id](bool) { mHub.Leave(id); });
  });

  // The catalogue of keys, titles and code tables the page reads its texts from.
  server.Get("/catalogue.json", [](const httplib::Request&, httplib::Response& res) {
    static const std::string kCatalogue = catalogue::CatalogueJson();
    res.set_header("Cache-Control", "no-cache");
    res.set_content(kCatalogue, ContentType("catalogue.json"));
  });

  // The change history (the exporter's /changes), which the page polls.
  server.Get("/changes", [this](const httplib::Request&, httplib::Response& res) {
    res.set_header("Cache-Control", "no-cache");
    res.set_content(mChanges ? mChanges() : std::string(), "application/x-ndjson; charset=utf-8");
  });

  server.Get(R"(/([a-z0-9.-]*))", [](const httplib::Request& req, httplib::Response& res) {
    std::string name = req.matches[1];
    if (name.empty()) name = "index.html";
    const char* text = FindWebFile(name);
    if (text == nullptr) {
      res.status = 404;
      res.set_content("not found\n", "text/plain");
      return;
    }
    res.set_header("Cache-Control", "no-cache");
    res.set_content(text, std::strlen(text), ContentType(name));
  });

  const int bound = port == 0 ? server.bind_to_any_port(host) : (server.bind_to_port(host, port) ? port : -1);
  if (bound <= 0) {
    const int err = errno;
    error = "--http: cannot listen on " + host + ":" + std::to_string(port) + ": " +
            (err != 0 ? std::strerror(err) : "address not available");
    mServer.reset();
    return false;
  }
  const bool v6 = host.find(':') != std::string::npos;
  mUrl = "http://" + (v6 ? "[" + host + "]" : host) + ":" + std::to_string(bound) + "/";
  mThread = std::thread([&server] { server.listen_after_bind(); });
  // stop() is ignored until the server runs: wait for that (it takes microseconds).
  for (int i = 0; i < 2000 && !server.is_running(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return true;
}

void HttpView::Stop() {
  mHub.Close();
  if (mServer) mServer->stop();
  if (mThread.joinable()) mThread.join();
  mServer.reset();
}

}  // namespace tap
