#pragma once
// The consumers of plovrest-tap's live messages. The receive loop (main.cpp)
// checks each message's document once, when any sink needs it, and hands the
// message to every sink; each sink does one job.

#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "exporter/ChangeLog.h"

#include "tap/DocCheck.h"
#include "tap/EventHub.h"
#include "tap/HttpView.h"
#include "tap/Subscriber.h"
#include "tap/TapOptions.h"
#include "tap/TopicStats.h"

namespace tap {

// One received message, its document's check (Kind::Ok when no sink asked
// for one) and the seconds since the tap started.
struct Received {
  const Message& message;
  const DocCheck& check;
  double at;
};

class Sink {
 public:
  virtual ~Sink() = default;
  // Takes one message; false stops the tap with exit status `failure`.
  virtual bool Take(const Received& received) = 0;
  // Called at least every 0.2 s with the seconds since the start.
  virtual void Tick(double /*now*/) {}
  int failure = 0;
};

// --capture FILE: appends each decoder record (a binary payload of the
// record's size) with its receive time. Owns the file.
class CaptureSink : public Sink {
 public:
  // Opens FILE for appending; false with `error` and `failure` set.
  bool Open(const std::string& path, std::string& error);
  ~CaptureSink() override;
  bool Take(const Received& received) override;

 private:
  std::string mPath;
  std::FILE* mFile = nullptr;
};

// --http: every message to the browsers as a document event, and the topic
// rates once a second. Owns the HTTP view and its hub.
class WebSink : public Sink {
 public:
  WebSink();
  ~WebSink() override;
  // Serves on host:port; false with `error` set. url is the page's address.
  bool Start(const std::string& host, int port, std::string& error, std::string& url);
  bool Take(const Received& received) override;
  void Tick(double now) override;

 private:
  EventHub mHub;
  TopicStats mStats;
  std::mutex mChangesMutex;
  exporter::ChangeLog mChanges;  // the history the page shows, as the exporter keeps it
  std::unique_ptr<HttpView> mView;
  double mNextRates = 0;
};

// The terminal: --changes, --count, --validate and one of the views
// (summary, table, pretty, raw, json), --jsonl or --stats.
class TerminalSink : public Sink {
 public:
  explicit TerminalSink(const TapOptions& options) : mOptions(options), mNextReport(options.interval) {}
  bool Take(const Received& received) override;
  void Tick(double now) override;
  // Seconds until the next --stats report is due (a large number without --stats).
  double UntilReport(double now) const;
  // The final --stats report; the messages shown and the invalid ones.
  void Finish(double now);
  long shown() const { return mShown; }
  long invalid() const { return mInvalid; }

 private:
  const TapOptions& mOptions;
  TopicStats mStats;
  std::map<std::string, std::string> mPrevious;  // topic -> payload without "TS"
  double mNextReport;
  long mShown = 0;
  long mInvalid = 0;
};

}  // namespace tap
