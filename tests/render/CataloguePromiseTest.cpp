// What the field dictionary and the UI contract promise, checked against the
// golden documents: the dictionary is written from the catalogue's JSON
// (docs/reference/catalogue.json), so each statement here reads that JSON
// and the documents the renderers make, never the renderers' tables.
//  - every item reads its code through its table, per stream kind, or shows
//    its absent text; where "Data" is not the code a note says so;
//  - every table's readings, the unknown one included, occur in the golden
//    documents of each kind that uses it, and every absent text occurs;
//  - every counter and ID starts where the catalogue says;
//  - every empty or partial form validates against its schema.

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include <rapidjson/pointer.h>

#include "GoldenCases.h"
#include "schema/DocSchemas.h"

namespace {

namespace fs = std::filesystem;
using namespace render_test;
using rapidjson::Value;

const rapidjson::Document& CatalogueDoc() {
  static rapidjson::Document doc = [] {
    std::ifstream in(CATALOGUE_JSON, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    rapidjson::Document d;
    d.Parse(text.str().c_str());
    return d;
  }();
  EXPECT_TRUE(doc.IsObject()) << CATALOGUE_JSON;
  return doc;
}

const Value* FindById(const char* list, const std::string& id) {
  for (const Value& entry : CatalogueDoc()[list].GetArray()) {
    if (id == entry["id"].GetString()) return &entry;
  }
  return nullptr;
}

bool HasWord(const Value& words, const std::string& word) {
  for (const Value& w : words.GetArray()) {
    if (word == w.GetString()) return true;
  }
  return false;
}

bool HasNote(const std::string& subject, const std::string& kind) {
  for (const Value& n : CatalogueDoc()["notes"].GetArray()) {
    if (subject == n["subject"].GetString() && kind == n["kind"].GetString()) return true;
  }
  return false;
}

// The stream kind of a document, as the catalogue names kinds ("" for {}).
std::string KindOf(const Value& doc, const std::string& schema) {
  if (schema == "presentation") return doc.MemberCount() == 0 ? "" : "ed2";
  if (!doc.HasMember("TypeId")) return "";
  switch (doc["TypeId"].GetInt()) {
    case 0: return "pcm";
    case 1: return "dd";
    case 16:
    case 21: return "ddp";
    case 24: return "ac4";
    case 28: return "dolby-e";
    case 60: return "ed2";
    default: return "?";
  }
}

// Calls visit(path, item) for every item object (one with a "Title") of a
// document, path as "document:StatusInfo.ExData[0].Type".
template <typename Visit>
void ForEachItem(const Value& v, const std::string& path, Visit&& visit) {
  const bool root = path.back() == ':';
  if (v.IsObject()) {
    if (!root && v.HasMember("Title")) {
      visit(path, v);
      if (!v.HasMember("ExData")) return;
    }
    for (const auto& m : v.GetObject()) ForEachItem(m.value, path + (root ? "" : ".") + m.name.GetString(), visit);
  } else if (v.IsArray()) {
    for (rapidjson::SizeType i = 0; i < v.Size(); ++i) ForEachItem(v[i], path + "[" + std::to_string(i) + "]", visit);
  }
}

// The catalogue's reading of code in table t: its text, the unknown text,
// or the code in decimal; `known` says whether the code is in the table.
std::string Reading(const Value& t, int64_t code, bool& known) {
  const Value& texts = t["texts"];
  int64_t row = -1;
  if (t.HasMember("codes")) {
    for (rapidjson::SizeType k = 0; k < t["codes"].Size(); ++k) {
      if (t["codes"][k].GetInt64() == code) row = k;
    }
  } else {
    row = code - (t.HasMember("first") ? t["first"].GetInt() : 0);
  }
  known = row >= 0 && row < static_cast<int64_t>(texts.Size());
  if (known) return texts[static_cast<rapidjson::SizeType>(row)].GetString();
  return t["unknown"].IsNull() ? std::to_string(code) : t["unknown"].GetString();
}

struct ItemPattern {
  const Value* item;
  std::regex re;
};

std::vector<ItemPattern> ItemPatterns() {
  std::vector<ItemPattern> out;
  for (const Value& it : CatalogueDoc()["items"].GetArray()) {
    for (const Value& where : it["paths"].GetArray()) out.push_back({&it, CataloguePathRegex(where)});
  }
  return out;
}

// Every item of every golden document: placed by the catalogue for its kind,
// titled as the catalogue says, and reading its code through its table (or
// showing its absent text) unless a "data" note says "Data" is something else.
// Then each table was read, known and unknown codes, in each kind using it,
// and each absent text was shown.
TEST(CataloguePromiseTest, GoldenItemsReadTheirCodesThroughTheCatalogue) {
  const std::vector<ItemPattern> patterns = ItemPatterns();
  std::set<std::string> readings;  // "table kind known|unknown"
  std::set<std::string> absentShown;
  std::set<std::string> itemKinds;  // "item kind" seen
  ForEachGoldenDocument([&](const fs::path& file, const std::string& text, const char* schema,
                            const kv_dolby_metadata_t&) {
    const std::unique_ptr<rapidjson::Document> doc = Parse(text);
    const std::string kind = KindOf(*doc, schema);
    ForEachItem(*doc, std::string(schema) + ":", [&](const std::string& path, const Value& shown) {
      SCOPED_TRACE(file.filename().string() + " " + path);
      const Value* it = nullptr;
      for (const ItemPattern& p : patterns) {
        if (HasWord((*p.item)["kinds"], kind) && std::regex_match(path, p.re)) it = p.item;
      }
      ASSERT_NE(it, nullptr) << "no item of kind " << kind << " stands there";
      const std::string id = (*it)["id"].GetString();
      itemKinds.insert(id + " " + kind);
      const std::string desc = shown["Desc"].GetString();
      const Value& absent = (*it)["absent"];
      if (!absent.IsNull() && desc == absent.GetString()) absentShown.insert(id);
      const Value* t = (*it)["table"].IsNull() ? nullptr : FindById("tables", (*it)["table"].GetString());
      const std::string title = (*it)["title"].GetString();
      if (t == nullptr || HasNote(id, "data")) {
        if (!title.empty()) {
        EXPECT_EQ(shown["Title"].GetString(), title);
      }
        return;
      }
      EXPECT_TRUE(HasWord((*t)["kinds"], kind)) << (*t)["id"].GetString() << " is not listed for " << kind;
      if (t->HasMember("rule")) {
        bool listed = !absent.IsNull() && desc == absent.GetString();
        for (const Value& x : (*t)["texts"].GetArray()) listed = listed || desc == x.GetString();
        EXPECT_TRUE(listed) << desc;
        if (!title.empty()) {
        EXPECT_EQ(shown["Title"].GetString(), title);
      }
        return;
      }
      ASSERT_TRUE(shown["Data"].IsInt64()) << "a coded item's \"Data\" is its code";
      bool known = false;
      const std::string expected = Reading(*t, shown["Data"].GetInt64(), known);
      if (absent.IsNull() || desc != absent.GetString()) {
        EXPECT_EQ(desc, expected) << "code " << shown["Data"].GetInt64();
        readings.insert(std::string((*t)["id"].GetString()) + " " + kind + (known ? " known" : " unknown"));
      }
      // The other title goes with a code outside the table, not with the absent text.
      const bool other = !known && !(*it)["otherTitle"].IsNull() && (absent.IsNull() || desc != absent.GetString());
      if (!title.empty()) {
        EXPECT_EQ(shown["Title"].GetString(), other ? (*it)["otherTitle"].GetString() : title);
      }
    });
  });
  for (const Value& it : CatalogueDoc()["items"].GetArray()) {
    const std::string id = it["id"].GetString();
    for (const Value& k : it["kinds"].GetArray()) {
      EXPECT_TRUE(itemKinds.count(id + " " + k.GetString())) << id << " never shown for " << k.GetString();
    }
    if (!it["absent"].IsNull()) {
      EXPECT_TRUE(absentShown.count(id)) << id << " never shows its absent text";
    }
    if (it["table"].IsNull() || HasNote(id, "data")) continue;
    const Value& t = *FindById("tables", it["table"].GetString());
    if (t.HasMember("rule")) continue;
    // A known code in each kind, and a code outside the table in one of them.
    bool unknownSeen = false;
    for (const Value& k : it["kinds"].GetArray()) {
      const std::string seen = std::string(t["id"].GetString()) + " " + k.GetString();
      EXPECT_TRUE(readings.count(seen + " known")) << id << ": no golden document shows " << seen << " known";
      unknownSeen = unknownSeen || readings.count(seen + " unknown") != 0;
    }
    EXPECT_TRUE(unknownSeen) << id << ": no golden document shows a code outside " << t["id"].GetString();
  }
}

// Notes name real items and tables; an item has an "absent" note exactly
// when it has an absent text, and oddities are about tables.
TEST(CataloguePromiseTest, NotesNameWhatTheyDescribe) {
  for (const Value& n : CatalogueDoc()["notes"].GetArray()) {
    const std::string subject = n["subject"].GetString();
    const std::string kind = n["kind"].GetString();
    SCOPED_TRACE(subject + " " + kind);
    const Value* it = FindById("items", subject);
    const Value* t = FindById("tables", subject);
    EXPECT_TRUE(it != nullptr || t != nullptr);
    if (kind == "oddity") {
      EXPECT_NE(t, nullptr);
    } else {
      ASSERT_TRUE(kind == "data" || kind == "absent") << "unknown kind";
      EXPECT_NE(it, nullptr);
    }
  }
  for (const Value& it : CatalogueDoc()["items"].GetArray()) {
    EXPECT_EQ(HasNote(it["id"].GetString(), "absent"), !it["absent"].IsNull()) << it["id"].GetString();
  }
}

// Where each counter and ID starts: one row per case, the number the
// document shows and the record's value it counts from (the catalogue's
// base is added to it). Every counter of the catalogue has a row.
struct IndexRow {
  const char* index;
  const char* golden;  // case name
  const char* schema;
  const char* pointer;
  int64_t (*recordValue)(const kv_dolby_metadata_t&);
};

const IndexRow kIndexRows[] = {
    {"Ac4ShownPresentation", "ac4", "status", "/CurrentProgram",
     [](const kv_dolby_metadata_t& r) -> int64_t { return r.md.ac4.activePresentation; }},
    {"Ac4ShownPresentation", "ac4-presentations-16", "status", "/StatusInfo/ExData/0/AC4ActivePresentation/Data",
     [](const kv_dolby_metadata_t& r) -> int64_t { return r.md.ac4.activePresentation; }},
    {"Ac4PresentationId", "ac4", "status", "/StatusInfo/Presentations/0/Id/Data",
     [](const kv_dolby_metadata_t& r) -> int64_t { return r.md.ac4.presentations[0].presentationId; }},
    {"Ac4SubstreamIds", "ac4", "status", "/StatusInfo/Presentations/0/SubIds/Data",
     [](const kv_dolby_metadata_t& r) -> int64_t { return r.md.ac4.presentations[0].substreamIdCount; }},
    {"Ac4SubstreamPosition", "ac4", "status", "/StatusInfo/Substreams/1/Id/Data",
     [](const kv_dolby_metadata_t&) -> int64_t { return 1; }},
    {"DolbyEProgramNumber", "dolby-e-two-programs", "status", "/CurrentProgram",
     [](const kv_dolby_metadata_t& r) -> int64_t { return r.md.dolbye.currentProgram - 1; }},
    {"DolbyEProgramNumber", "dolby-e-programs-16", "status", "/StatusInfo/ExData/0/MonitorPrg/Data",
     [](const kv_dolby_metadata_t& r) -> int64_t { return r.md.dolbye.currentProgram - 1; }},
    {"DolbyEProgramPosition", "dolby-e-two-programs", "status", "/Programs/1/1/Informational/Data",
     [](const kv_dolby_metadata_t&) -> int64_t { return 1; }},
    {"SubstreamPosition", "reference-dd", "status", "/Streams/0/2/Downmixing/Data",
     [](const kv_dolby_metadata_t&) -> int64_t { return 0; }},
    {"NoProgramIndex", "reference-ed2", "status", "/CurrentProgram",
     [](const kv_dolby_metadata_t&) -> int64_t { return 0; }},
    {"InputPair", "pcm", "status", "/StatusInfo/ExData/0/Pair/Data",
     [](const kv_dolby_metadata_t& r) -> int64_t { return r.dzPair; }},
    {"InputPair", "ed2-sdi-object-pair", "status", "/StatusInfo/ExData/1/Pair/Data",
     [](const kv_dolby_metadata_t& r) -> int64_t { return r.dzPair + 1; }},
    {"Ed2ActivePresentation", "ed2-presentations", "presentation", "/ActivePANo",
     [](const kv_dolby_metadata_t& r) -> int64_t { return r.activePaNo; }},
    {"Ed2ActivePresentation", "ed2-active-presentation-outside", "presentation", "/ActivePANo",
     [](const kv_dolby_metadata_t& r) -> int64_t { return r.activePaNo; }},
    {"Ed2ObjectNumber", "ed2-presentations", "presentation", "/Presentations/0/PaObjects/3/ChID/Data",
     [](const kv_dolby_metadata_t&) -> int64_t { return 2; }},
    {"Ed2ObjectChannel", "ed2-presentations", "presentation", "/Presentations/0/PaObjects/2/Source/Data",
     [](const kv_dolby_metadata_t& r) -> int64_t { return r.md.ed2.dynamicObjects[0].channelId; }},
    {"Ed2BedSourceNumber", "ed2-presentations", "presentation", "/Presentations/0/PaBed/Sources/2/Source/Data",
     [](const kv_dolby_metadata_t&) -> int64_t { return 2; }},
};

TEST(CataloguePromiseTest, CountersStartWhereTheCatalogueSays) {
  std::set<std::string> covered;
  for (const IndexRow& row : kIndexRows) {
    SCOPED_TRACE(std::string(row.index) + " " + row.golden + " " + row.pointer);
    const Value* index = FindById("indexes", row.index);
    ASSERT_NE(index, nullptr);
    covered.insert(row.index);
    bool found = false;
    ForEachGoldenDocument([&](const fs::path& file, const std::string& text, const char* schema,
                              const kv_dolby_metadata_t& rec) {
      if (file.filename().string() != std::string(row.golden) + "." + row.schema + ".json") return;
      found = true;
      const std::unique_ptr<rapidjson::Document> doc = Parse(text);
      EXPECT_TRUE(HasWord((*index)["kinds"], KindOf(*doc, schema)));
      const Value* shown = rapidjson::Pointer(row.pointer).Get(*doc);
      ASSERT_NE(shown, nullptr);
      ASSERT_TRUE(shown->IsInt64());
      EXPECT_EQ(shown->GetInt64(), row.recordValue(rec) + (*index)["base"].GetInt());
    });
    EXPECT_TRUE(found) << "no such golden case";
  }
  for (const Value& index : CatalogueDoc()["indexes"].GetArray()) {
    EXPECT_TRUE(covered.count(index["id"].GetString())) << index["id"].GetString() << " has no row";
  }
}

// The empty and partial forms: each golden document is valid against its
// schema in exactly the form the UI contract names.
struct FormRow {
  const char* golden;
  const char* schema;
  const char* form;  // "{}", or a pointer that must be missing
};

const FormRow kFormRows[] = {
    {"unknown-type-id", "status", "{}"},
    {"ed2-active-presentation-outside", "presentation", "/Presentations"},
    {"ed2-aes-objects-not-decoded", "presentation", "/Presentations"},
    {"reference-dd", "status", "/AtmosInfo"},
    {"reference-ac4", "status", "/StatusInfo/ExData/0/Type"},
};

TEST(CataloguePromiseTest, EmptyAndPartialFormsAreValid) {
  for (const FormRow& row : kFormRows) {
    SCOPED_TRACE(std::string(row.golden) + " " + row.form);
    bool found = false;
    ForEachGoldenDocument([&](const fs::path& file, const std::string& text, const char* schema,
                              const kv_dolby_metadata_t&) {
      if (file.filename().string() != std::string(row.golden) + "." + row.schema + ".json") return;
      found = true;
      const std::unique_ptr<rapidjson::Document> doc = Parse(text);
      tools::SchemaViolation violation;
      EXPECT_TRUE(tools::ValidateDocument(schema, *doc, violation)) << tools::DescribeViolation(violation);
      if (std::string(row.form) == "{}") {
        EXPECT_EQ(text, "{}");
        EXPECT_TRUE(tools::ValidateDocument("reset", *doc, violation));
      } else {
        EXPECT_EQ(rapidjson::Pointer(row.form).Get(*doc), nullptr);
      }
    });
    EXPECT_TRUE(found) << "no such golden case";
  }
  // The 0-byte payload, not JSON, is a form of the presentation topic only.
  EXPECT_NE(tools::EmptyPayloadMeaning("presentation"), nullptr);
  EXPECT_EQ(tools::EmptyPayloadMeaning("status"), nullptr);
  EXPECT_EQ(tools::EmptyPayloadMeaning("decoder-state"), nullptr);
}

}  // namespace
