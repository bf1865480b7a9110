#pragma once
// A scenario: what the simulated decoder sends, step by step, and which
// monitor messages go out when. Scenario files are JSON:
//
//   {
//     "description": "Dolby Digital Plus 5.1 with objects",
//     "record": { ...record fields, see record/RecordEncoder.h... }
//   }
// or, for a record that changes over time,
//   {
//     "description": "...",
//     "steps": [
//       {"label": "5.1", "hold": 4, "use": "ddp", "record": {"ddp": {"dialnorm": 27}}},
//       {"hold": 4, "record": {"ddp": {"dialnorm": 31}}},
//       {"hold": 4, "reset": true, "record": {"typeId": "pcm"}}
//     ],
//     "events": [{"at": 0, "event": "zoom on"},
//                {"at": 6, "peer": "hwm", "topic": "HwmSignalStatus", "payload": {"Slot": 1}}]
//   }
//
// A step starts from the previous step's record (the first from an empty
// record), or from an empty one with "reset": true, or from the first record
// of the built-in scenario named by "use"; its "record" is then written on
// top. Steps repeat in a loop; each lasts "hold" seconds (default 5).
// Events happen once, "at" seconds after the start.

#include <string>
#include <vector>

#include "Record/DolbyMetadataRecord.h"
#include "scenario/MonitorEvent.h"

namespace tools {

struct ScenarioStep {
  std::string label;
  double hold = 5.0;
  kv_dolby_metadata_t record;
};

struct TimedEvent {
  double at = 0.0;
  std::string text;  // as written, for the tool's output
  MonitorMessage message;
};

struct Scenario {
  std::string name;
  std::string description;
  std::vector<ScenarioStep> steps;
  std::vector<TimedEvent> events;  // sorted by time

  double CycleSeconds() const;
  // Index of the step playing `elapsed` seconds after the start (steps loop).
  std::size_t StepAt(double elapsed) const;
};

// Parses scenario text. `origin` names it in errors ("ddp.json", "built-in
// scenario 'flip'"); every error reads "<origin>: <where>: <reason>".
bool ParseScenario(const std::string& text, const std::string& origin, Scenario& out,
                   std::string& error);

// Reads and parses the scenario file `path`, named after the file (".json"
// dropped). A capture or a decoder record file given instead is named as
// such in `error`, with the tool that takes it.
bool LoadScenarioFile(const std::string& path, Scenario& out, std::string& error);

// A built-in scenario by name (see BuiltinScenarios.h).
bool LoadBuiltinScenario(const std::string& name, Scenario& out, std::string& error);

}  // namespace tools
