#include "scenario/BuiltinScenarios.h"

namespace tools {

const char* FindBuiltinScenarioText(const std::string& name) {
  for (unsigned i = 0; i < kBuiltinScenarioCount; ++i)
    if (name == kBuiltinScenarioTexts[i].name) return kBuiltinScenarioTexts[i].text;
  return nullptr;
}

std::vector<std::string> BuiltinScenarioNames() {
  std::vector<std::string> names;
  for (unsigned i = 0; i < kBuiltinScenarioCount; ++i) names.emplace_back(kBuiltinScenarioTexts[i].name);
  return names;
}

}  // namespace tools
