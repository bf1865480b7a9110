#include "exporter/ExporterOptions.h"

#include <sstream>

#include "common/ArgParser.h"

namespace exporter {

const char* ExporterUsage() {
  return "Usage: plovrest-exporter [OPTIONS]\n"
         "Serves what plovrestd publishes as Prometheus metrics: the decoder state, the\n"
         "stream and its key metadata, document counts, and the changes between\n"
         "successive documents.\n"
         "\n"
         "  --http [ADDR:]PORT   listen on PORT (default 0.0.0.0:8639; ADDR default\n"
         "                       0.0.0.0, PORT 0: any free port). Paths: /metrics (the\n"
         "                       text format, OpenMetrics when the scraper asks for it),\n"
         "                       /changes (the last 1,000 changes as JSON lines)\n"
         "  --endpoint URL       subscribe to URL instead of the daemon's endpoint\n"
         "  --settings FILE      the daemon's settings file, read for the card's slot\n"
         "                       (PLOVREST_SLOT; default /etc/default/plovrestd; a\n"
         "                       missing file means slot 0)\n"
         "  --metrics-doc        write the metric reference (Markdown) and exit\n"
         "  -h, --help           this text\n"
         "  --version            the version\n"
         "\n"
         "Exit status: 0 done (SIGINT or SIGTERM), 1 runtime failure (listen, connect),\n"
         "2 bad arguments, 5 a settings file whose slot is not 0 to 3.\n";
}

const std::vector<tools::OptionSpec>& ExporterOptionSpecs() {
  static const std::vector<tools::OptionSpec> kOptions = {{"http", 0, true},         {"endpoint", 0, true},
                                                        {"settings", 0, true},     {"metrics-doc", 0, false},
                                                        {"help", 'h', false},      {"version", 0, false}};
  return kOptions;
}

bool ParseExporterOptions(int argc, char** argv, ExporterOptions& out, std::string& error) {
  tools::ArgParser args(argc, argv, ExporterOptionSpecs());
  std::string name, value;
  while (args.Next(name, value)) {
    if (name == "http") {
      if (!tools::ParseHostPort("http", value, out.httpHost, out.httpPort, error)) return false;
    } else if (name == "endpoint") {
      if (!tools::ParseEndpoint(name, value, out.endpoint, error)) return false;
    } else if (name == "settings") {
      if (!tools::ParseFileName(name, value, out.settingsFile, error)) return false;
    } else if (name == "metrics-doc") {
      out.metricsDoc = true;
    } else if (name == "help") {
      out.help = true;
    } else if (name == "version") {
      out.version = true;
    }
  }
  if (args.Failed()) {
    error = args.Error();
    return false;
  }
  return true;
}

bool SlotFromSettings(const std::string& text, std::string& slot, std::string& error) {
  slot = "0";
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    const std::size_t start = line.find_first_not_of(" \t");
    if (start == std::string::npos || line.compare(start, 14, "PLOVREST_SLOT=") != 0) continue;
    std::string value = line.substr(start + 14);
    value.erase(value.find_last_not_of(" \t\r") + 1);
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
      value = value.substr(1, value.size() - 2);
    slot = value;
  }
  if (slot.size() != 1 || slot[0] < '0' || slot[0] > '3') {
    error = "PLOVREST_SLOT '" + slot + "' is not a slot 0 to 3";
    return false;
  }
  return true;
}

}  // namespace exporter
