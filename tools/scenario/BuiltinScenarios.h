#pragma once
// The built-in scenarios: the JSON files of tools/scenarios/, compiled into
// the tools (the file name without ".json" is the scenario's name).

#include <string>
#include <vector>

#include "common/EmbeddedText.h"

namespace tools {

// Generated from tools/scenarios/*.json at build time.
extern const EmbeddedText kBuiltinScenarioTexts[];
extern const unsigned kBuiltinScenarioCount;

// Null when there is no built-in scenario of that name.
const char* FindBuiltinScenarioText(const std::string& name);
std::vector<std::string> BuiltinScenarioNames();

}  // namespace tools
