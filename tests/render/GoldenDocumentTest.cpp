// Whole documents: tests/golden/<case>.json is a record as a scenario file;
// <case>.status.json (and for ED2 <case>.presentation.json) the documents it
// renders to, byte for byte, "TS" at kNow. PLOVREST_REGEN_GOLDEN=1 rewrites them.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "RenderTestSupport.h"
#include "common/JsonText.h"
#include "scenario/Scenario.h"
#include "schema/DocSchemas.h"

namespace {

namespace fs = std::filesystem;
using namespace render_test;

// Compares `text` (plus a final newline) with `path`, or writes it there;
// either way the document must satisfy its published JSON Schema.
void Check(const fs::path& path, const std::string& text, bool regenerate, const char* schema) {
  rapidjson::Document doc;
  doc.Parse(text.c_str(), text.size());
  tools::SchemaViolation violation;
  if (!doc.HasParseError()) {
    EXPECT_TRUE(tools::ValidateDocument(schema, doc, violation)) << path << ": " << tools::DescribeViolation(violation);
  }
  if (regenerate) {
    std::ofstream(path, std::ios::binary) << text << '\n';
    return;
  }
  std::string expected, error;
  ASSERT_TRUE(tools::ReadFile(path, expected, error)) << error << " (PLOVREST_REGEN_GOLDEN=1 writes it)";
  EXPECT_EQ(expected, text + '\n') << path;
}

TEST(GoldenDocumentTest, EveryCaseRendersItsFiles) {
  const char* regen = std::getenv("PLOVREST_REGEN_GOLDEN");
  const bool regenerate = regen != nullptr && std::string(regen) == "1";
  int cases = 0;
  for (const fs::directory_entry& file : fs::directory_iterator(GOLDEN_DIR)) {
    const fs::path path = file.path();
    const std::string name = path.filename().string();
    if (path.extension() != ".json" || name.find('.') != name.size() - 5) continue;
    SCOPED_TRACE(name);
    ++cases;
    tools::Scenario scenario;
    std::string error;
    ASSERT_TRUE(tools::LoadScenarioFile(path.string(), scenario, error)) << error;
    ASSERT_EQ(scenario.steps.size(), 1u);
    const kv_dolby_metadata_t& rec = scenario.steps[0].record;
    const fs::path stem = path.parent_path() / path.stem();
    Check(stem.string() + ".status.json", Render(rec), regenerate, "status");
    if (rec.mdType == DLB_PADC_UI_MD_TYPE_ED2) {
      Check(stem.string() + ".presentation.json", RenderPa(rec, rec.atmosDecode != 0), regenerate, "presentation");
    }
  }
  EXPECT_GE(cases, 10);
}

}  // namespace
