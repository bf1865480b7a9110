#pragma once
// Fixture for end-to-end tests: plovrestd on slot 2 with every peer bound, and
// helpers to steer it the way the monitors and the decoder do.

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <regex>
#include <string>

#include "DaemonHarness.h"
#include "Shared/Topics.h"
#include "Record/DolbyMetadataRecord.h"
#include "RecordFactory.h"
#include "scenario/Scenario.h"
#include "schema/DocSchemas.h"
#include "tap/DocCheck.h"

namespace e2e {

using harness::Message;
using harness::Ms;

// What the daemon publishes, named as the user interface subscribes: written
// out here, not taken from Topics.h, so that a wrong name there shows.
namespace wire {
constexpr const char* kDolbyProcStatus = "DolbyProcStatus";
constexpr const char* kDolbyMetadataGrp = "DolbyMetadataGrp";
constexpr const char* kDolbyMetadataGrpRepub = "DolbyMetadataGrpRepub";
constexpr const char* kDolbyPAData = "DolbyPAData>>";
}  // namespace wire

inline bool IsState(const Message& m, const std::string& status, const std::string& event) {
  return m.topic == wire::kDolbyProcStatus && m.payload == harness::StateText(status, event);
}

// A document with its "TS" member (the render time, in seconds) cut out.
inline std::string WithoutTs(const std::string& doc) {
  static const std::regex ts("^\\{\"TS\":[0-9]+,?");
  return std::regex_replace(doc, ts, "{");
}

// The record of a golden case (tests/golden/<name>.json) and its expected
// status and (ED2) presentation documents, without "TS" or final newline.
struct Golden {
  kv_dolby_metadata_t rec{};
  std::string status, presentation;
};
inline Golden LoadGolden(const std::string& name) {
  Golden golden;
  tools::Scenario scenario;
  std::string error;
  const std::string stem = std::string(GOLDEN_DIR) + "/" + name;
  EXPECT_TRUE(tools::LoadScenarioFile(stem + ".json", scenario, error)) << error;
  if (!scenario.steps.empty()) golden.rec = scenario.steps[0].record;
  for (auto [suffix, doc] : {std::pair{".status.json", &golden.status}, {".presentation.json", &golden.presentation}}) {
    std::ifstream in(stem + suffix);
    std::getline(in, *doc);
    *doc = WithoutTs(*doc);
  }
  return golden;
}

class LiveDaemon : public testing::Test {
 protected:
  void SetUp() override {
    // Every document the daemon publishes must satisfy its JSON Schema; a
    // document cut where a non-finite number stands is the designed form.
    harness::SetReceiveCheck([](const Message& m) {
      if (tools::SchemaForTopic(m.topic) == nullptr) return;
      const tap::DocCheck check = tap::CheckDocument(m.topic, m.payload);
      EXPECT_TRUE(check.kind != tap::DocCheck::Kind::Schema && check.kind != tap::DocCheck::Kind::Invalid)
          << m.topic << ": " << tap::DescribeCheck(check) << "\n" << m.payload.substr(0, 400);
    });
    peers = std::make_unique<harness::Peers>();
    daemon = std::make_unique<harness::DaemonProcess>(
        std::vector<std::string>{"-s", "2", "-i", "lo"});
  }

  void TearDown() override {
    if (daemon && daemon->Running()) {
      daemon->Signal(SIGTERM);
      EXPECT_EQ(daemon->WaitExit(Ms(3000)), 0) << "daemon did not stop cleanly";
    }
  }

  void SendHwm(const char* name, const std::string& payload = "{}") {
    harness::Send(peers->hwm, name, payload);
  }

  void SendRecord(const kv_dolby_metadata_t& rec, const char* name = topic::kDolbyMetadataEvent) {
    harness::SendBytes(peers->decoder, name, &rec, sizeof rec);
  }

  // Switches record decoding on through the hardware monitor and waits for
  // the daemon's "Decoding" state with the matching event text.
  void ZoomOn(const char* name = topic::kHwmDlbZoom, const std::string& event = "Dolby Zoom") {
    auto state = harness::SendUntil([&] { SendHwm(name); }, peers->out, Ms(8000),
                                    [&](const Message& m) { return IsState(m, "Decoding", event); });
    ASSERT_TRUE(state.has_value()) << "no \"Decoding\" state after " << name;
  }

  // Messages on `name` that arrive within `window`. A designed interval is
  // checked as a count with wide bounds: a busy machine delays messages, and
  // can bunch at most a few of them into the window.
  int CountFor(const char* name, Ms window) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + window;
    int count = 0;
    for (Clock::time_point now = Clock::now(); now < end; now = Clock::now()) {
      auto m = harness::Receive(peers->out, std::chrono::duration_cast<Ms>(end - now));
      if (m && m->topic == name) ++count;
    }
    return count;
  }

  // Sends the record until its status document comes back on the given topic.
  std::optional<Message> PublishUntilDocument(const kv_dolby_metadata_t& rec,
                                              const char* name = wire::kDolbyMetadataGrp) {
    return harness::SendUntil([&] { SendRecord(rec); }, peers->out, Ms(8000),
                              [&](const Message& m) { return m.topic == name; });
  }

  std::optional<Message> Next(const char* name, Ms timeout = Ms(5000)) {
    return harness::ReceiveUntil(peers->out, timeout,
                                 [&](const Message& m) { return m.topic == name; });
  }

  // Drains what is queued on the daemon's endpoint for a short while.
  void Drain(Ms quiet = Ms(100)) {
    while (harness::Receive(peers->out, quiet)) {
    }
  }

  std::unique_ptr<harness::Peers> peers;
  std::unique_ptr<harness::DaemonProcess> daemon;
};

}  // namespace e2e
