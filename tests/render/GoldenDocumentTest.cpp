// Whole documents: tests/golden/<case>.json is a record as a scenario file;
// <case>.status.json (and for ED2 <case>.presentation.json) the documents it
// renders to, byte for byte, "TS" at kNow. The catalogue the renderers
// compile in is docs/reference/catalogue.json, byte for byte, and its paths
// are those of the golden documents. PLOVREST_REGEN_GOLDEN=1 rewrites them.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <set>

#include "Catalogue.h"
#include "GoldenCases.h"
#include "common/JsonText.h"
#include "schema/DocSchemas.h"

namespace {

namespace fs = std::filesystem;
using namespace render_test;

// Compares `text` (plus a final newline) with `path`, or writes it there
// under PLOVREST_REGEN_GOLDEN=1.
void CompareOrWrite(const fs::path& path, const std::string& text) {
  const char* regen = std::getenv("PLOVREST_REGEN_GOLDEN");
  if (regen != nullptr && std::string(regen) == "1") {
    std::ofstream(path, std::ios::binary) << text << '\n';
    return;
  }
  std::string expected, error;
  ASSERT_TRUE(tools::ReadFile(path, expected, error)) << error << " (PLOVREST_REGEN_GOLDEN=1 writes it)";
  EXPECT_EQ(expected, text + '\n') << path;
}

TEST(GoldenDocumentTest, EveryCaseRendersItsFiles) {
  ForEachGoldenDocument([](const fs::path& path, const std::string& text, const char* schema,
                           const kv_dolby_metadata_t&) {
    rapidjson::Document doc;
    doc.Parse(text.c_str(), text.size());
    tools::SchemaViolation violation;
    if (!doc.HasParseError()) {
      EXPECT_TRUE(tools::ValidateDocument(schema, doc, violation)) << path << ": "
                                                                   << tools::DescribeViolation(violation);
    }
    CompareOrWrite(path, text);
  });
}

// "document:path" of every member of a document; an item (an object with a
// "Title") is marked with a leading '*'.
using Paths = std::set<std::string>;
void CollectPaths(const rapidjson::Value& v, const std::string& path, Paths& out) {
  const bool root = path.back() == ':';
  if (!root) out.insert((v.IsObject() && v.HasMember("Title") ? "*" : "") + path);
  if (v.IsObject()) {
    for (const auto& m : v.GetObject()) CollectPaths(m.value, path + (root ? "" : ".") + m.name.GetString(), out);
  } else if (v.IsArray()) {
    for (rapidjson::SizeType i = 0; i < v.Size(); ++i) CollectPaths(v[i], path + "[" + std::to_string(i) + "]", out);
  }
}

// The catalogue's JSON is the committed dump, and its paths are those of the
// golden documents: each path occurs, and each item of a golden document
// stands at a path of one of the catalogue's items ([i] is any index).
TEST(GoldenDocumentTest, CatalogueIsCommittedAndItsPathsAreTheDocuments) {
  const std::string text = catalogue::CatalogueJson();
  CompareOrWrite(CATALOGUE_JSON, text.substr(0, text.size() - 1));
  Paths golden;
  ForEachGoldenDocument([&golden](const fs::path&, const std::string& text, const char* schema,
                                  const kv_dolby_metadata_t&) {
    CollectPaths(*Parse(text), std::string(schema) + ":", golden);
  });
  rapidjson::Document doc;
  doc.Parse(text.c_str(), text.size());
  ASSERT_TRUE(doc.IsObject());
  std::vector<std::regex> itemPaths;
  for (const char* list : {"items", "members", "indexes"}) {
    for (const auto& entry : doc[list].GetArray()) {
      for (const auto& where : entry["paths"].GetArray()) {
        const std::string path = std::string(where["document"].GetString()) + ":" + where["path"].GetString();
        const std::regex re = CataloguePathRegex(where);
        bool found = false;
        for (const std::string& p : golden) found = found || std::regex_match(p[0] == '*' ? p.substr(1) : p, re);
        EXPECT_TRUE(found) << entry["id"].GetString() << ": no golden document has " << path;
        if (std::string(list) == "items") itemPaths.push_back(re);
      }
    }
  }
  for (const std::string& p : golden) {
    if (p[0] != '*') continue;
    bool listed = false;
    for (const std::regex& re : itemPaths) listed = listed || std::regex_match(p.substr(1), re);
    EXPECT_TRUE(listed) << p.substr(1) << " is an item the catalogue does not place there";
  }
}

}  // namespace
