// plovrest-exporter: serves what plovrestd publishes as Prometheus metrics.

#include <chrono>
#include <csignal>
#include <cstdio>

#include "common/ExitStatus.h"
#include "common/JsonText.h"
#include "exporter/ExporterOptions.h"
#include "exporter/MetricsServer.h"
#include "tap/Endpoints.h"
#include "tap/Subscriber.h"

namespace {

constexpr const char* kVersion = "0.1.0";

volatile std::sig_atomic_t gStop = 0;
void OnSignal(int) { gStop = 1; }

double SteadyNow() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

int main(int argc, char** argv) {
  exporter::ExporterOptions options;
  std::string error;
  if (!exporter::ParseExporterOptions(argc, argv, options, error)) {
    std::fprintf(stderr, "plovrest-exporter: %s\nTry 'plovrest-exporter --help'.\n", error.c_str());
    return tools::kExitBadArguments;
  }
  if (options.help) {
    std::fputs(exporter::ExporterUsage(), stdout);
    return tools::kExitDone;
  }
  if (options.version) {
    std::printf("plovrest-exporter %s\n", kVersion);
    return tools::kExitDone;
  }
  if (!exporter::Catalogue().Error().empty()) {
    std::fprintf(stderr, "plovrest-exporter: %s\n", exporter::Catalogue().Error().c_str());
    return tools::kExitFailure;
  }
  if (options.metricsDoc) {
    std::fputs(exporter::Catalogue().Markdown().c_str(), stdout);
    return tools::kExitDone;
  }
  std::string settings, slot;
  if (!tools::ReadFile(options.settingsFile, settings, error)) settings.clear();  // no file: slot 0
  if (!exporter::SlotFromSettings(settings, slot, error)) {
    std::fprintf(stderr, "plovrest-exporter: %s: %s\n", options.settingsFile.c_str(), error.c_str());
    return tools::kExitBadFile;
  }
  exporter::ExporterState state(slot, kVersion);
  tap::Subscriber subscriber;
  const std::string endpoint = options.endpoint.empty() ? tap::DaemonEndpoint() : options.endpoint;
  if (!subscriber.Connect(endpoint, exporter::ExporterState::Topics(), error)) {
    std::fprintf(stderr, "plovrest-exporter: %s\n", error.c_str());
    return tools::kExitFailure;
  }
  exporter::MetricsServer server(state, SteadyNow);
  if (!server.Start(options.httpHost, options.httpPort, error)) {
    std::fprintf(stderr, "plovrest-exporter: %s\n", error.c_str());
    return tools::kExitFailure;
  }
  std::signal(SIGINT, OnSignal);
  std::signal(SIGTERM, OnSignal);
  std::fprintf(stderr, "plovrest-exporter: slot %s, listening on %s, metrics on %smetrics\n", slot.c_str(),
               endpoint.c_str(), server.Url().c_str());
  while (!gStop) {
    tap::Message message;
    if (!subscriber.Receive(message, 200)) continue;
    state.Take(message, tap::CheckDocument(message.topic, message.payload), SteadyNow());
  }
  server.Stop();
  return tools::kExitDone;
}
