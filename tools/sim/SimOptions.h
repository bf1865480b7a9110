#pragma once
// Command line of plovrest-sim.

#include <map>
#include <string>
#include <vector>

#include "common/ArgParser.h"

namespace sim {

struct TimedEventText {
  double at = 0.0;
  std::string text;
  std::string option;  // the option it came from, for messages
};

struct SimOptions {
  std::string scenarioName;  // built-in scenario
  std::string scenarioFile;
  std::string replayFile;    // capture to play back (plovrest-tap --capture)
  bool rateGiven = false;    // --rate given (a replay then ignores the captured times)
  double rate = 10.0;        // records per second
  double duration = 0.0;     // seconds; 0 runs until interrupted
  long count = 0;            // records; 0 is no limit
  std::vector<TimedEventText> events;
  std::map<std::string, std::string> endpoints;  // peer name -> URL overrides
  bool decoder = true;
  bool monitors = true;
  bool sinks = false;
  bool interactive = false;
  std::string writeRecord;   // file to write the step's record to
  bool showRecord = false;
  long step = 0;             // 1-based; 0 when not given
  bool list = false;
  bool help = false;
  bool version = false;
  int verbosity = 1;         // 0 quiet, 1 normal, 2 verbose
};

// Returns false with `error` naming the offending option.
bool ParseSimOptions(int argc, char** argv, SimOptions& out, std::string& error);

std::string SimUsage();
// The options the parser takes (each is described in the usage text).
const std::vector<tools::OptionSpec>& SimOptionSpecs();

// Peer names accepted by --endpoint, in the order the simulator binds them.
const std::vector<std::string>& SimPeerNames();

}  // namespace sim
