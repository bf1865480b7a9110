// Any text as a scenario file. Accepted: steps, holds and events in range and
// order, each record rebuilt byte for byte from its read-back. Rejected: one
// error line naming the file.

#include <cmath>

#include "FuzzSupport.h"
#include "common/JsonText.h"
#include "record/RecordEncoder.h"
#include "record/RecordReadBack.h"
#include "scenario/Scenario.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  tools::Scenario scenario;
  std::string error;
  if (!tools::ParseScenario(text, "fuzz.json", scenario, error)) {
    fuzz::Require(error.rfind("fuzz.json: ", 0) == 0 && error.find('\n') == std::string::npos,
                  "the error is one line naming the file", error);
    return 0;
  }
  fuzz::Require(!scenario.steps.empty(), "a scenario has a step");
  for (const tools::ScenarioStep& step : scenario.steps) {
    fuzz::Require(std::isfinite(step.hold) && step.hold > 0, "hold above 0", text);
    rapidjson::Document description, reparsed;
    tools::ReadBackRecord(step.record, description);
    fuzz::Require(tools::ParseJsonText(tools::PrettyJson(description), reparsed, error), "read-back is JSON", error);
    kv_dolby_metadata_t rebuilt = tools::EmptyRecord();
    fuzz::Require(tools::ApplyRecordFields(reparsed, "record", rebuilt, error), "read-back applies", error);
    fuzz::Require(std::memcmp(&rebuilt, &step.record, sizeof rebuilt) == 0, "read-back rebuilds the record", text);
  }
  for (size_t i = 0; i < scenario.events.size(); ++i) {
    fuzz::Require(scenario.events[i].at >= 0 && (i == 0 || scenario.events[i - 1].at <= scenario.events[i].at),
                  "events in time order from 0", text);
  }
  return 0;
}
