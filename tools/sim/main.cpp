// plovrest-sim: plays the decoder and the monitors that plovrestd talks to.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>

#include <zmq.h>

#include "Record/DolbyMetadataRecord.h"
#include "common/ExitStatus.h"
#include "common/FileError.h"
#include "common/JsonText.h"
#include "record/Capture.h"
#include "record/RecordReadBack.h"
#include "scenario/BuiltinScenarios.h"
#include "scenario/Scenario.h"
#include "sim/Peers.h"
#include "sim/Player.h"
#include "sim/SimOptions.h"

namespace {

constexpr const char* kVersion = "plovrest-sim 0.1.0";

volatile std::sig_atomic_t gStop = 0;
void OnSignal(int) { gStop = 1; }

int BadInput(const std::string& message, int status = tools::kExitBadArguments) {
  std::fprintf(stderr, "plovrest-sim: %s\n", message.c_str());
  return status;
}

// A capture as a scenario: one step per record, each held until the next
// record's receive time (the last for no time).
int LoadReplay(const std::string& path, tools::Scenario& out) {
  std::vector<tools::CapturedRecord> records;
  std::string error, warning;
  const tools::CaptureStatus status = tools::ReadCapture(path, records, error, warning);
  if (status != tools::CaptureStatus::Ok)
    return BadInput("--replay " + error,
                    status == tools::CaptureStatus::NoFile ? tools::kExitNoFile : tools::kExitBadFile);
  if (!warning.empty()) std::fprintf(stderr, "plovrest-sim: warning: --replay %s\n", warning.c_str());
  if (records.empty()) return BadInput("--replay " + path + ": a capture without records", tools::kExitBadFile);
  out.name = path;
  out.description = "replay of " + std::to_string(records.size()) + " captured record(s)";
  for (std::size_t i = 0; i < records.size(); ++i) {
    tools::ScenarioStep step;
    step.record = records[i].record;
    step.hold = i + 1 < records.size() ? std::max(0.0, records[i + 1].time - records[i].time) : 0.0;
    out.steps.push_back(step);
  }
  return tools::kExitDone;
}

int ListScenarios() {
  for (const auto& name : tools::BuiltinScenarioNames()) {
    tools::Scenario s;
    std::string error;
    const bool ok = tools::LoadBuiltinScenario(name, s, error);
    std::printf("  %-10s %s\n", name.c_str(), ok ? s.description.c_str() : error.c_str());
  }
  return 0;
}

int WriteOrShowRecord(const sim::SimOptions& options, const tools::Scenario& scenario) {
  const auto& record = scenario.steps[static_cast<std::size_t>(options.step - 1)].record;
  if (options.showRecord) {
    const std::string description = "step " + std::to_string(options.step) + " of scenario '" + scenario.name + "'";
    std::fputs(tools::RecordScenarioText(record, description).c_str(), stdout);
  }
  if (!options.writeRecord.empty()) {
    std::FILE* out = std::fopen(options.writeRecord.c_str(), "wb");
    const bool written = out != nullptr && std::fwrite(&record, 1, sizeof record, out) == sizeof record;
    const int cause = errno;
    if (out == nullptr || std::fclose(out) != 0 || !written) {
      std::fprintf(stderr, "plovrest-sim: --write-record: cannot write %s\n",
                   tools::FileError(options.writeRecord, written ? errno : cause).c_str());
      return tools::kExitFailure;
    }
    if (options.verbosity > 0 && !options.showRecord)
      std::printf("wrote %s: %zu bytes, step %ld of %zu of scenario '%s' (typeId %d, mdType %u)\n",
                  options.writeRecord.c_str(), sizeof record, options.step, scenario.steps.size(),
                  scenario.name.c_str(), record.typeId, static_cast<unsigned>(record.mdType));
  }
  return 0;
}

std::string EndpointFor(const sim::SimOptions& options, const std::string& peer) {
  const auto it = options.endpoints.find(peer);
  return it != options.endpoints.end() ? it->second : sim::DefaultEndpoint(peer);
}

// The bound sockets and the player's view of them.
struct Peers {
  std::vector<std::unique_ptr<sim::Publisher>> publishers;
  std::vector<std::unique_ptr<sim::Sink>> sinks;
  sim::PeerSet set;
};

bool BindPeers(const sim::SimOptions& options, void* context, Peers& peers, std::string& error) {
  auto bindPublisher = [&](const std::string& peer) -> sim::Publisher* {
    peers.publishers.push_back(std::make_unique<sim::Publisher>(context, peer));
    return peers.publishers.back()->Bind(EndpointFor(options, peer), error) ? peers.publishers.back().get()
                                                                            : nullptr;
  };
  if (options.decoder && (peers.set.decoder = bindPublisher("decoder")) == nullptr) return false;
  if (options.monitors) {
    if ((peers.set.hwm = bindPublisher("hwm")) == nullptr) return false;
    if ((peers.set.hbmon = bindPublisher("hbmon")) == nullptr) return false;
    if ((peers.set.appserver = bindPublisher("appserver")) == nullptr) return false;
  }
  if (options.sinks) {
    for (const char* peer : {"logsink", "heartbeat"}) {
      peers.sinks.push_back(std::make_unique<sim::Sink>(context, peer));
      if (!peers.sinks.back()->Bind(EndpointFor(options, peer), error)) return false;
      peers.set.sinks.push_back(peers.sinks.back().get());
    }
  }
  return true;
}

void PrintStart(const sim::SimOptions& options, const tools::Scenario& scenario, const Peers& peers) {
  std::printf("plovrest-sim: scenario '%s' (%zu step%s): %s\n", scenario.name.c_str(), scenario.steps.size(),
              scenario.steps.size() == 1 ? "" : "s", scenario.description.c_str());
  for (const auto& p : peers.publishers) {
    if (p.get() == peers.set.decoder)
      std::printf("  %-10s %s, %g records/s\n", p->Name().c_str(), p->Endpoint().c_str(), options.rate);
    else
      std::printf("  %-10s %s\n", p->Name().c_str(), p->Endpoint().c_str());
  }
  for (const auto& s : peers.sinks) std::printf("  %-10s %s (receiving)\n", s->Name().c_str(), s->Endpoint().c_str());
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  sim::SimOptions options;
  std::string error;
  if (!sim::ParseSimOptions(argc, argv, options, error)) {
    std::fprintf(stderr, "plovrest-sim: %s\nTry 'plovrest-sim --help'.\n", error.c_str());
    return tools::kExitBadArguments;
  }
  if (options.help) {
    std::fputs(sim::SimUsage().c_str(), stdout);
    return 0;
  }
  if (options.version) {
    std::printf("%s\n", kVersion);
    return 0;
  }
  if (options.list) return ListScenarios();

  tools::Scenario scenario;
  if (!options.replayFile.empty()) {
    if (const int status = LoadReplay(options.replayFile, scenario)) return status;
  } else if (!options.scenarioFile.empty()) {
    std::string text;
    if (!tools::ReadFile(options.scenarioFile, text, error))
      return BadInput("--scenario-file " + error, tools::kExitNoFile);
    if (!tools::LoadScenarioFile(options.scenarioFile, scenario, error))
      return BadInput("--scenario-file " + error, tools::kExitBadFile);
  } else if (!tools::LoadBuiltinScenario(options.scenarioName.empty() ? "ddp" : options.scenarioName,
                                         scenario, error)) {
    return BadInput("--scenario: " + error);
  }
  if (options.step > static_cast<long>(scenario.steps.size()))
    return BadInput("--step: " + std::to_string(options.step) + " is past the last step of '" +
                    scenario.name + "' (" + std::to_string(scenario.steps.size()) + ")");
  if (!options.writeRecord.empty() || options.showRecord) return WriteOrShowRecord(options, scenario);

  for (const auto& e : options.events) {
    tools::TimedEvent timed;
    timed.at = e.at;
    timed.text = e.text;
    tools::ParseMonitorEvent(e.text, timed.message, error);  // checked by the option parser
    scenario.events.push_back(timed);
  }
  std::stable_sort(scenario.events.begin(), scenario.events.end(),
                   [](const tools::TimedEvent& a, const tools::TimedEvent& b) { return a.at < b.at; });

  std::unique_ptr<void, int (*)(void*)> context(zmq_ctx_new(), zmq_ctx_term);
  {
    Peers peers;
    if (!BindPeers(options, context.get(), peers, error)) {
      std::fprintf(stderr, "plovrest-sim: %s\n", error.c_str());
      return tools::kExitFailure;
    }
    std::signal(SIGINT, OnSignal);
    std::signal(SIGTERM, OnSignal);
    if (options.verbosity > 0) PrintStart(options, scenario, peers);
    sim::Player player(scenario, options, peers.set);
    player.Run(gStop);
    if (options.verbosity > 0) {
      std::printf("plovrest-sim: sent %ld record%s and %ld monitor message%s in %.1f s", player.RecordsSent(),
                  player.RecordsSent() == 1 ? "" : "s", player.MonitorMessagesSent(),
                  player.MonitorMessagesSent() == 1 ? "" : "s", player.Seconds());
      if (options.sinks) std::printf("; received %ld on the sinks", player.SinkMessages());
      std::printf("\n");
    }
  }  // sockets close before the context terminates
  return 0;
}
