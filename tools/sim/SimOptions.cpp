#include "sim/SimOptions.h"

#include "common/ArgParser.h"
#include "scenario/MonitorEvent.h"

namespace sim {
namespace {

bool AddEvent(SimOptions& out, double at, const std::string& text, const std::string& option,
              std::string& error) {
  tools::MonitorMessage message;
  std::string why;
  if (!tools::ParseMonitorEvent(text, message, why)) {
    error = "--" + option + ": " + why;
    return false;
  }
  out.events.push_back({at, text, option});
  return true;
}

}  // namespace

const std::vector<std::string>& SimPeerNames() {
  static const std::vector<std::string> names = {"decoder", "hwm", "hbmon", "appserver", "logsink",
                                                 "heartbeat"};
  return names;
}

std::string SimUsage() {
  std::string text =
      "Usage: plovrest-sim [OPTIONS]\n"
         "Plays the peers of plovrestd: the decoder publishing its status record on\n"
         "\"DolbyMetadataEvent\", the hardware monitor, the process monitor and the\n"
         "application server. Run it where the daemon's fixed endpoints exist (on the\n"
         "device, or inside scripts/netns-run.sh next to the daemon).\n"
         "\n"
         "What the decoder sends:\n"
         "  --scenario NAME        built-in scenario (default ddp); see --list\n"
         "  --scenario-file FILE   scenario file (JSON); see tools/scenarios/ for examples\n"
         "  --replay FILE          play a capture of plovrest-tap --capture back once, with\n"
         "                         its original timing (or at --rate), starting a second\n"
         "                         after the daemon subscribes; ends after the last record\n"
         "  --list                 list the built-in scenarios and exit\n"
         "  --rate HZ              records per second, 0.1 to 1000 (default 10)\n"
         "  --duration S           stop after S seconds (default: run until Ctrl-C)\n"
         "  --count N              stop after N records\n"
         "  --no-decoder           do not play the decoder\n"
         "\n"
         "What the monitors send (at the start, or at a time with --at):\n"
         "  --zoom on|off          Dolby Zoom selected / decode stop\n"
         "  --preset on|off        Dolby Preset selected / decode stop\n"
         "  --lines ZP,NEXT,FACTOR ED2 video lines and misalignment factor\n"
         "  --decoder-state processing|stopped\n"
         "                         system status Okay, decoder processing or not\n"
         "  --app-cmd N            application command (9 reboot, 100 upgrade: the daemon exits)\n"
         "  --event TEXT           any event below, at the start\n"
         "  --at S:TEXT            the event TEXT, S seconds after the start\n"
         "  --no-monitors          do not play the monitors\n"
         "  --sinks                also receive the daemon's log records and heartbeats\n"
         "  --interactive          send monitor messages on key presses (? lists the keys)\n"
         "\nEvents (for --event, --at, and \"event\" in scenario files):\n"
         "%EVENTS%"
         "\nMonitor states (zoom, lines, system status...) are sent again to every new\n"
         "subscriber, so the order in which the daemon and the simulator start does\n"
         "not matter. The daemon renders records only after \"zoom on\" or \"preset on\".\n"
         "\n"
         "Record files:\n"
         "  --write-record FILE    write the scenario's record (33,704 bytes) to FILE and exit\n"
         "  --show-record          print the record's fields as a scenario file and exit\n"
         "  --step N               with the two above: the scenario step to use (default 1)\n"
         "\n"
         "Other:\n"
         "  --endpoint PEER=URL    bind PEER (decoder, hwm, hbmon, appserver, logsink,\n"
         "                         heartbeat) at URL instead of its fixed address\n"
         "  -q, --quiet            print errors only\n"
         "  -v, --verbose          also print whole payloads, every subscribed topic,\n"
         "                         resent states and what arrives on the sinks\n"
         "  -h, --help             this text\n"
         "  --version              the version\n"
         "\n"
         "Exit status: 0 done, 1 runtime failure (bind, write), 2 bad arguments,\n"
         "4 missing or unreadable file, 5 bad file (scenario, capture).\n"
         "\n"
         "Examples:\n"
         "  plovrest-sim --scenario all --rate 10 --duration 5 --zoom on\n"
         "  plovrest-sim --scenario ed2 --zoom on --lines 9,10,1000 --at '10:zoom off'\n"
         "  plovrest-sim --scenario-file report.json --write-record report.bin\n"
         "  plovrest-sim --replay field.cap --zoom on\n";
  text.replace(text.find("%EVENTS%"), 8, tools::MonitorEventSyntax());
  return text;
}

const std::vector<tools::OptionSpec>& SimOptionSpecs() {
  static const std::vector<tools::OptionSpec> kSpecs = {{"scenario", 0, true},      {"scenario-file", 0, true}, {"replay", 0, true},
      {"list", 0, false},         {"rate", 0, true},
      {"duration", 0, true},      {"count", 0, true},
      {"no-decoder", 0, false},   {"zoom", 0, true},
      {"preset", 0, true},        {"lines", 0, true},
      {"decoder-state", 0, true}, {"app-cmd", 0, true},
      {"event", 0, true},         {"at", 0, true},
      {"no-monitors", 0, false},  {"sinks", 0, false},
      {"interactive", 0, false},  {"write-record", 0, true},
      {"show-record", 0, false},  {"step", 0, true},
      {"endpoint", 0, true},      {"quiet", 'q', false},
      {"verbose", 'v', false},    {"help", 'h', false},
      {"version", 0, false}};
  return kSpecs;
}

bool ParseSimOptions(int argc, char** argv, SimOptions& out, std::string& error) {
  tools::ArgParser args(argc, argv, SimOptionSpecs());
  std::string name, value;
  bool rateGiven = false;
  while (args.Next(name, value)) {
    if (name == "scenario") {
      out.scenarioName = value;
    } else if (name == "replay") {
      out.replayFile = value;
    } else if (name == "scenario-file") {
      out.scenarioFile = value;
    } else if (name == "list") {
      out.list = true;
    } else if (name == "rate") {
      if (!tools::ParseNumber(name, value, 0.1, 1000, out.rate, error)) return false;
      rateGiven = true;
    } else if (name == "duration") {
      if (!tools::ParseNumber(name, value, 0.001, 7 * 24 * 3600.0, out.duration, error)) return false;
    } else if (name == "count") {
      if (!tools::ParseCount(name, value, 1, 1000000000L, out.count, error)) return false;
    } else if (name == "no-decoder") {
      out.decoder = false;
    } else if (name == "zoom" || name == "preset") {
      if (!tools::ParseChoice(name, value, {"on", "off"}, error)) return false;
      if (!AddEvent(out, 0, name + " " + value, name, error)) return false;
    } else if (name == "lines") {
      if (!AddEvent(out, 0, "lines " + value, name, error)) return false;
    } else if (name == "decoder-state") {
      if (!tools::ParseChoice(name, value, {"processing", "stopped"}, error)) return false;
      if (!AddEvent(out, 0, "decoder " + value, name, error)) return false;
    } else if (name == "app-cmd") {
      if (!AddEvent(out, 0, "appcmd " + value, name, error)) return false;
    } else if (name == "event") {
      if (!AddEvent(out, 0, value, name, error)) return false;
    } else if (name == "at") {
      const auto colon = value.find(':');
      if (colon == std::string::npos) {
        error = "--at: expected SECONDS:EVENT, for example 5:zoom off";
        return false;
      }
      double at = 0;
      if (!tools::ParseNumber(name, value.substr(0, colon), 0, 7 * 24 * 3600.0, at, error)) return false;
      if (!AddEvent(out, at, value.substr(colon + 1), name, error)) return false;
    } else if (name == "no-monitors") {
      out.monitors = false;
    } else if (name == "sinks") {
      out.sinks = true;
    } else if (name == "interactive") {
      out.interactive = true;
    } else if (name == "write-record") {
      if (!tools::ParseFileName(name, value, out.writeRecord, error)) return false;
    } else if (name == "show-record") {
      out.showRecord = true;
    } else if (name == "step") {
      if (!tools::ParseCount(name, value, 1, 100000, out.step, error)) return false;
    } else if (name == "endpoint") {
      const auto eq = value.find('=');
      const std::string peer = value.substr(0, eq);
      if (eq == std::string::npos || eq + 1 >= value.size()) {
        error = "--endpoint: expected PEER=URL, for example decoder=tcp://127.0.0.1:2002";
        return false;
      }
      if (!tools::ParseChoice(name, peer, SimPeerNames(), error)) return false;
      out.endpoints[peer] = value.substr(eq + 1);
    } else if (name == "quiet") {
      out.verbosity = 0;
    } else if (name == "verbose") {
      out.verbosity = 2;
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
  if (!out.scenarioName.empty() && !out.scenarioFile.empty()) {
    error = "--scenario and --scenario-file exclude each other";
    return false;
  }
  const bool fileMode = !out.writeRecord.empty() || out.showRecord;
  if (!out.replayFile.empty()) {
    const char* other = !out.scenarioName.empty() ? "--scenario" : !out.scenarioFile.empty() ? "--scenario-file"
                        : fileMode ? (out.showRecord ? "--show-record" : "--write-record")
                        : !out.decoder ? "--no-decoder" : nullptr;
    if (other != nullptr) {
      error = std::string(other) + ": not with --replay, which plays a capture";
      return false;
    }
  }
  out.rateGiven = rateGiven;
  if (out.step != 0 && !fileMode) {
    error = "--step: only with --write-record or --show-record";
    return false;
  }
  if (!out.monitors && !out.events.empty()) {
    error = "--" + out.events.front().option + ": the monitors are off (--no-monitors)";
    return false;
  }
  if (!out.monitors && out.interactive) {
    error = "--interactive: the monitors are off (--no-monitors)";
    return false;
  }
  if (!out.decoder && (rateGiven || out.count != 0)) {
    error = std::string(rateGiven ? "--rate" : "--count") + ": the decoder is off (--no-decoder)";
    return false;
  }
  if (!out.decoder && !out.monitors && !out.sinks && !fileMode) {
    error = "--no-decoder and --no-monitors: nothing is left to play";
    return false;
  }
  if (out.step == 0) out.step = 1;
  return true;
}

}  // namespace sim
