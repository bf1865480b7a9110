#pragma once
// The golden cases of tests/golden: <case>.json is a record as a scenario
// file; <case>.status.json (and for ED2 <case>.presentation.json) the
// documents it renders to, "TS" at kNow.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <regex>
#include <string>

#include <rapidjson/document.h>

#include "RenderTestSupport.h"
#include "scenario/Scenario.h"

namespace render_test {

// Calls check(file, document text, schema name, record) for each document of
// each golden case, in directory order; fails when there are fewer than 10.
inline void ForEachGoldenDocument(
    const std::function<void(const std::filesystem::path&, const std::string&, const char*,
                             const kv_dolby_metadata_t&)>& check) {
  namespace fs = std::filesystem;
  int cases = 0;
  for (const fs::directory_entry& file : fs::directory_iterator(GOLDEN_DIR)) {
    const fs::path path = file.path();
    const std::string name = path.filename().string();
    // A case is any .json but the documents (a case's name may hold dots: "2.0").
    const fs::path inner = path.stem().extension();
    if (path.extension() != ".json" || inner == ".status" || inner == ".presentation") continue;
    SCOPED_TRACE(name);
    ++cases;
    tools::Scenario scenario;
    std::string error;
    ASSERT_TRUE(tools::LoadScenarioFile(path.string(), scenario, error)) << error;
    ASSERT_EQ(scenario.steps.size(), 1u);
    const kv_dolby_metadata_t& rec = scenario.steps[0].record;
    const fs::path stem = path.parent_path() / path.stem();
    check(stem.string() + ".status.json", Render(rec), "status", rec);
    if (rec.mdType == DLB_PADC_UI_MD_TYPE_ED2) {
      check(stem.string() + ".presentation.json", RenderPa(rec, rec.atmosDecode != 0), "presentation", rec);
    }
  }
  EXPECT_GE(cases, 10);
}

// A catalogue place {"document", "path"} ([i] any index) as a regex over
// "document:path" strings such as "status:StatusInfo.ExData[0].Type".
inline std::regex CataloguePathRegex(const rapidjson::Value& where) {
  const std::string path = std::string(where["document"].GetString()) + ":" + where["path"].GetString();
  const std::string escaped = std::regex_replace(path, std::regex(R"([.\[\]])"), R"(\$&)");
  return std::regex(std::regex_replace(escaped, std::regex(R"(\\\[i\\\])"), R"(\[[0-9]+\])"));
}

}  // namespace render_test
