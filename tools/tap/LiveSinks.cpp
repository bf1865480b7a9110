#include "tap/LiveSinks.h"

#include <algorithm>

#include "Record/DolbyMetadataRecord.h"
#include "common/ExitStatus.h"
#include "common/JsonText.h"
#include "record/Capture.h"
#include "tap/MessageView.h"
#include "tap/WebEvent.h"

namespace tap {

namespace {

constexpr std::size_t kWebMaxBrowsers = 16;
constexpr std::size_t kWebMaxTopics = 64;
constexpr double kWebRatesInterval = 1.0;          // seconds between rate events to the browsers
constexpr const char* kWebRatesKey = "\x01rates";  // hub key of the rate events (no topic starts with \x01)

bool IsBad(const DocCheck& check) {
  return check.kind == DocCheck::Kind::Schema || check.kind == DocCheck::Kind::Invalid;
}

}  // namespace

bool CaptureSink::Open(const std::string& path, std::string& error) {
  mPath = path;
  const tools::CaptureStatus status = tools::OpenCaptureForAppend(path, mFile, error);
  if (status == tools::CaptureStatus::Ok) return true;
  failure = status == tools::CaptureStatus::BadFile ? tools::kExitBadFile : tools::kExitFailure;
  return false;
}

CaptureSink::~CaptureSink() {
  if (mFile != nullptr) std::fclose(mFile);
}

bool CaptureSink::Take(const Received& r) {
  const std::string& payload = r.message.payload;
  if (payload.size() != kRecordSize || payload[0] == '{') return true;
  if (tools::AppendCaptured(mFile, r.message.time, payload)) return true;
  std::fprintf(stderr, "plovrest-tap: --capture: cannot write %s\n", mPath.c_str());
  failure = tools::kExitFailure;
  return false;
}

WebSink::WebSink() : mHub(kWebMaxBrowsers, kWebMaxTopics) {}

WebSink::~WebSink() = default;

bool WebSink::Start(const std::string& host, int port, std::string& error, std::string& url) {
  mView = std::make_unique<HttpView>(mHub);
  mView->SetChanges([this] {
    std::lock_guard<std::mutex> lock(mChangesMutex);
    return mChanges.JsonLines();
  });
  if (!mView->Start(host, port, error)) return false;
  url = mView->Url();
  return true;
}

bool WebSink::Take(const Received& r) {
  mStats.Add(r.message, r.at);
  mHub.Publish(r.message.topic, DocEvent(r.message, r.check));
  rapidjson::Document doc;
  std::string error;
  if (r.check.kind != DocCheck::Kind::Cut && tools::ParseJsonText(r.message.payload, doc, error) && doc.IsObject()) {
    std::lock_guard<std::mutex> lock(mChangesMutex);
    mChanges.Compare(r.message.topic, doc, r.message.time);
  }
  return true;
}

void WebSink::Tick(double now) {
  if (now < mNextRates) return;
  mHub.Publish(kWebRatesKey, RatesEvent(mStats, now));
  mNextRates = now + kWebRatesInterval;
}

bool TerminalSink::Take(const Received& r) {
  static const DocCheck kUnchecked;
  const DocCheck& check = mOptions.validate ? r.check : kUnchecked;
  if (mOptions.changes) {
    std::string key = WithoutTimestamp(r.message.payload);
    std::string& last = mPrevious[r.message.topic];
    if (key == last) return true;
    last = std::move(key);
  }
  ++mShown;
  if (IsBad(check)) ++mInvalid;
  if (mOptions.stats) {
    mStats.Add(r.message, r.at);
    if (mOptions.validate) mStats.AddVerdict(r.message.topic, IsBad(check), check.kind == DocCheck::Kind::Cut);
  } else if (mOptions.jsonl) {
    std::printf("%s\n", (mOptions.validate ? JsonLineWithCheck(r.message, check) : JsonLine(r.message)).c_str());
  } else {
    std::fputs(FormatMessage(r.message, mOptions.view).c_str(), stdout);
    if (check.kind != DocCheck::Kind::Ok) std::printf("  ^ %s\n", DescribeCheck(check).c_str());
  }
  std::fflush(stdout);
  return true;
}

double TerminalSink::UntilReport(double now) const {
  return mOptions.stats ? std::max(0.0, mNextReport - now) : 1e9;
}

void TerminalSink::Tick(double now) {
  if (!mOptions.stats || now < mNextReport) return;
  std::fputs(mStats.Report(now).c_str(), stdout);
  std::fputs("\n", stdout);
  std::fflush(stdout);
  mNextReport += mOptions.interval;
}

void TerminalSink::Finish(double now) {
  if (mOptions.stats) std::fputs(mStats.Report(now).c_str(), stdout);
}

}  // namespace tap
