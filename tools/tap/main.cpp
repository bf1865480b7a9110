// plovrest-tap: shows what plovrestd publishes.

#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>

#include "Catalogue.h"
#include "Record/DolbyMetadataRecord.h"
#include "common/ExitStatus.h"
#include "record/Capture.h"
#include "tap/DocCheck.h"
#include "tap/EventHub.h"
#include "tap/HttpView.h"
#include "tap/MessageView.h"
#include "tap/RecordDecode.h"
#include "tap/Subscriber.h"
#include "tap/TapOptions.h"
#include "tap/TopicStats.h"
#include "tap/WebEvent.h"

namespace {

constexpr const char* kVersion = "plovrest-tap 0.1.0";
constexpr std::size_t kWebMaxBrowsers = 16;
constexpr std::size_t kWebMaxTopics = 64;
constexpr double kWebRatesInterval = 1.0;  // seconds between rate events to the browsers
constexpr const char* kWebRatesKey = "\x01rates";  // hub key of the rate events (no topic starts with \x01)

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

// Closes the capture file on every way out of Live.
struct CaptureFile {
  std::FILE* file = nullptr;
  ~CaptureFile() {
    if (file != nullptr) std::fclose(file);
  }
};

int Live(const tap::TapOptions& options) {
  tap::Subscriber subscriber;
  std::string error;
  CaptureFile capture;  // checked before subscribing
  if (!options.captureFile.empty()) {
    const tools::CaptureStatus status = tools::OpenCaptureForAppend(options.captureFile, capture.file, error);
    if (status != tools::CaptureStatus::Ok) {
      std::fprintf(stderr, "plovrest-tap: --capture %s\n", error.c_str());
      return status == tools::CaptureStatus::BadFile ? tools::kExitBadFile : tools::kExitFailure;
    }
  }
  const std::string endpoint = options.endpoint.empty() ? tap::DaemonEndpoint() : options.endpoint;
  if (!subscriber.Connect(endpoint, options.topics, error)) {
    std::fprintf(stderr, "plovrest-tap: %s\n", error.c_str());
    return tools::kExitFailure;
  }
  std::signal(SIGINT, OnSignal);
  std::signal(SIGTERM, OnSignal);
  if (!options.jsonl) {
    std::fprintf(stderr, "plovrest-tap: listening on %s\n", endpoint.c_str());
  }
  // The web view: every message on the wanted topics goes to the browsers,
  // --changes and --count apply to the terminal only.
  tap::EventHub hub(kWebMaxBrowsers, kWebMaxTopics);
  tap::TopicStats webStats;
  std::unique_ptr<tap::HttpView> web;
  if (options.httpPort >= 0) {
    web = std::make_unique<tap::HttpView>(hub);
    if (!web->Start(options.httpHost, options.httpPort, error)) {
      std::fprintf(stderr, "plovrest-tap: %s\n", error.c_str());
      return tools::kExitFailure;
    }
    std::fprintf(stderr, "plovrest-tap: browser view on %s\n", web->Url().c_str());
  }
  double nextRates = 0;

  const Clock::time_point start = Clock::now();
  tap::TopicStats stats;
  std::map<std::string, std::string> previous;  // topic -> payload without "TS"
  double nextReport = options.interval;
  long shown = 0;
  long invalid = 0;
  while (!gStop) {
    const double now = Since(start);
    if (options.timeout > 0 && now >= options.timeout) break;
    if (options.count > 0 && shown >= options.count) break;
    double wait = 0.2;
    if (options.timeout > 0) wait = std::min(wait, options.timeout - now);
    if (options.stats) wait = std::min(wait, std::max(0.0, nextReport - now));
    tap::Message message;
    const bool got = subscriber.Receive(message, static_cast<int>(wait * 1000) + 1);
    if (options.stats && Since(start) >= nextReport) {
      std::fputs(stats.Report(Since(start)).c_str(), stdout);
      std::fputs("\n", stdout);
      std::fflush(stdout);
      nextReport += options.interval;
    }
    if (web && Since(start) >= nextRates) {
      hub.Publish(kWebRatesKey, tap::RatesEvent(webStats, Since(start)));
      nextRates = Since(start) + kWebRatesInterval;
    }
    if (!got || !Wanted(options, message.topic)) continue;
    if (web) {
      webStats.Add(message, Since(start));
      hub.Publish(message.topic, tap::DocEvent(message, tap::CheckDocument(message.topic, message.payload)));
    }
    if (capture.file != nullptr && message.payload.size() == kRecordSize && message.payload[0] != '{' &&
        !tools::AppendCaptured(capture.file, message.time, message.payload)) {
      std::fprintf(stderr, "plovrest-tap: --capture: cannot write %s\n", options.captureFile.c_str());
      return tools::kExitFailure;
    }
    if (options.changes) {
      std::string key = tap::WithoutTimestamp(message.payload);
      auto& last = previous[message.topic];
      if (key == last) continue;
      last = std::move(key);
    }
    ++shown;
    const tap::DocCheck check = options.validate ? tap::CheckDocument(message.topic, message.payload) : tap::DocCheck();
    const bool bad = check.kind == tap::DocCheck::Kind::Schema || check.kind == tap::DocCheck::Kind::Invalid;
    if (bad) ++invalid;
    if (options.stats) {
      stats.Add(message, Since(start));
      if (options.validate) stats.AddVerdict(message.topic, bad, check.kind == tap::DocCheck::Kind::Cut);
    } else if (options.jsonl) {
      std::printf("%s\n", (options.validate ? tap::JsonLineWithCheck(message, check) : tap::JsonLine(message)).c_str());
    } else {
      std::fputs(tap::FormatMessage(message, options.view).c_str(), stdout);
      if (check.kind != tap::DocCheck::Kind::Ok)
        std::printf("  ^ %s\n", tap::DescribeCheck(check).c_str());
    }
    std::fflush(stdout);
  }
  if (options.stats) std::fputs(stats.Report(Since(start)).c_str(), stdout);
  if (options.count > 0 && shown < options.count && !gStop) {
    std::fprintf(stderr, "plovrest-tap: --timeout: %ld of %ld messages received\n", shown, options.count);
    return tools::kExitTimedOut;
  }
  return invalid > 0 ? tools::kExitInvalid : tools::kExitDone;
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
