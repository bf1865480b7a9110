#pragma once
// Command line of plovrest-exporter, and the card's slot from the daemon's
// settings file.

#include <string>
#include <vector>

#include "common/ArgParser.h"

namespace exporter {

// Where the exporter listens by default: all addresses (the facility's
// Prometheus scrapes from the network), port 8639.
constexpr const char* kDefaultHttpHost = "0.0.0.0";
constexpr int kDefaultHttpPort = 8639;
// The daemon's settings file, which names the card's slot (PLOVREST_SLOT).
constexpr const char* kDefaultSettingsFile = "/etc/default/plovrestd";

struct ExporterOptions {
  std::string endpoint;  // default: the daemon's publishing endpoint
  std::string httpHost = kDefaultHttpHost;
  int httpPort = kDefaultHttpPort;
  std::string settingsFile = kDefaultSettingsFile;
  bool metricsDoc = false;  // write docs/reference/metrics.md to stdout and exit
  bool help = false;
  bool version = false;
};

// False with `error` set ("--http: ...") on a bad command line.
bool ParseExporterOptions(int argc, char** argv, ExporterOptions& out, std::string& error);
const char* ExporterUsage();
// The options the parser takes (each is described in the usage text).
const std::vector<tools::OptionSpec>& ExporterOptionSpecs();

// The value of PLOVREST_SLOT in the shell-style settings `text` ("0" when it
// is not set; quotes around the value are removed). False with `error` set
// when the value is not a slot 0 to 3.
bool SlotFromSettings(const std::string& text, std::string& slot, std::string& error);

}  // namespace exporter
