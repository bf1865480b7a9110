// plovrest-tap: shows what plovrestd publishes.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <vector>

#include "Catalogue.h"
#include "common/ExitStatus.h"
#include "tap/LiveSinks.h"
#include "tap/RecordDecode.h"
#include "tap/Endpoints.h"
#include "tap/Subscriber.h"
#include "tap/TapOptions.h"

namespace {

constexpr const char* kVersion = "plovrest-tap 0.1.0";

volatile std::sig_atomic_t gStop = 0;
void OnSignal(int) { gStop = 1; }

using Clock = std::chrono::steady_clock;

double Since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

bool Wanted(const tap::TapOptions& options, const std::string& topic) {
  if (options.topics.empty()) return true;
  for (const auto& t : options.topics)
    if (t == topic) return true;
  return false;
}

// Receives until a signal, --timeout or --count, handing each wanted message
// to the sinks: the capture file, the browsers (all messages) and the
// terminal (--changes and --count apply there only).
int Live(const tap::TapOptions& options) {
  std::string error;
  std::vector<tap::Sink*> sinks;
  tap::CaptureSink capture;  // opened before subscribing
  if (!options.captureFile.empty()) {
    if (!capture.Open(options.captureFile, error)) {
      std::fprintf(stderr, "plovrest-tap: --capture %s\n", error.c_str());
      return capture.failure;
    }
    sinks.push_back(&capture);
  }
  tap::Subscriber subscriber;
  const std::string endpoint = options.endpoint.empty() ? tap::DaemonEndpoint() : options.endpoint;
  if (!subscriber.Connect(endpoint, options.topics, error)) {
    std::fprintf(stderr, "plovrest-tap: %s\n", error.c_str());
    return tools::kExitFailure;
  }
  std::signal(SIGINT, OnSignal);
  std::signal(SIGTERM, OnSignal);
  if (!options.jsonl) std::fprintf(stderr, "plovrest-tap: listening on %s\n", endpoint.c_str());
  tap::WebSink web;
  if (options.httpPort >= 0) {
    std::string url;
    if (!web.Start(options.httpHost, options.httpPort, error, url)) {
      std::fprintf(stderr, "plovrest-tap: %s\n", error.c_str());
      return tools::kExitFailure;
    }
    std::fprintf(stderr, "plovrest-tap: browser view on %s\n", url.c_str());
    sinks.push_back(&web);
  }
  tap::TerminalSink terminal(options);
  sinks.push_back(&terminal);
  // The browsers always show the check; the terminal with --validate.
  const bool check = options.validate || options.httpPort >= 0;

  const Clock::time_point start = Clock::now();
  while (!gStop) {
    const double now = Since(start);
    if (options.timeout > 0 && now >= options.timeout) break;
    if (options.count > 0 && terminal.shown() >= options.count) break;
    double wait = 0.2;
    if (options.timeout > 0) wait = std::min(wait, options.timeout - now);
    wait = std::min(wait, terminal.UntilReport(now));
    tap::Message message;
    const bool got = subscriber.Receive(message, static_cast<int>(wait * 1000) + 1);
    for (tap::Sink* sink : sinks) sink->Tick(Since(start));
    if (!got || !Wanted(options, message.topic)) continue;
    const tap::DocCheck verdict = check ? tap::CheckDocument(message.topic, message.payload) : tap::DocCheck();
    const tap::Received received{message, verdict, Since(start)};
    for (tap::Sink* sink : sinks) {
      if (!sink->Take(received)) return sink->failure;
    }
  }
  terminal.Finish(Since(start));
  if (options.count > 0 && terminal.shown() < options.count && !gStop) {
    std::fprintf(stderr, "plovrest-tap: --timeout: %ld of %ld messages received\n", terminal.shown(), options.count);
    return tools::kExitTimedOut;
  }
  return terminal.invalid() > 0 ? tools::kExitInvalid : tools::kExitDone;
}

}  // namespace

int main(int argc, char** argv) {
  tap::TapOptions options;
  std::string error;
  if (!tap::ParseTapOptions(argc, argv, options, error)) {
    std::fprintf(stderr, "plovrest-tap: %s\nTry 'plovrest-tap --help'.\n", error.c_str());
    return tools::kExitBadArguments;
  }
  if (options.help) {
    std::fputs(tap::TapUsage(), stdout);
    return 0;
  }
  if (options.version) {
    std::printf("%s\n", kVersion);
    return 0;
  }
  if (options.catalogue) {
    std::fputs(catalogue::CatalogueJson().c_str(), stdout);
    return 0;
  }
  if (!options.decodeFile.empty()) return tap::DecodeRecordFile(options);
  return Live(options);
}
