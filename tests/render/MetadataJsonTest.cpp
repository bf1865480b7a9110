// Rules of the JSON builder that every document relies on.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include <rapidjson/writer.h>

#include "MetadataJson.h"

namespace {

using rapidjson::Value;

class Json : public cMetadataJson {
 public:
  using cMetadataJson::cMetadataJson;
  using cMetadataJson::RootObjectMember;

  std::string Text() {
    Serialize();
    return std::string(GetString(), GetSize());
  }
};

TEST(MetadataJsonTest, UpdateKeepsPositionAndTakesTheNewType) {
  Json json;
  json.AddUpdateObjectMemberToObject("Item", "Level", std::string_view("high"), "d", json.Doc());
  json.AddUpdateIntegerMember("After", 1);
  json.AddUpdateObjectMemberToObject("Item", "Level", -7, "e", json.Doc());
  EXPECT_EQ(json.Text(), R"({"Item":{"Title":"Level","Data":-7,"Desc":"e"},"After":1})");
}

// Escapes wherever they fall (within an 8-byte word or in the tail), names
// included; other bytes, UTF-8 among them, are written as they are.
TEST(MetadataJsonTest, TextsAreEscapedOnlyWhereNeeded) {
  const struct { std::string text; const char* written; } cases[] = {
      {"0123456789\"abcdef", R"("0123456789\"abcdef")"}, {"a\"b", R"("a\"b")"},
      {"01234567\\", R"("01234567\\")"},               {"0123\\56789", R"("0123\\56789")"},
      {"abc\x1f" "efghij", R"("abc\u001Fefghij")"},     {"abcdefgh\x1f", R"("abcdefgh\u001F")"},
      {std::string("nul\0inside_the_text", 19), R"("nul\u0000inside_the_text")"},
      {"h\xc3\xa9llo w\xc3\xb6rld 1234567", "\"h\xc3\xa9llo w\xc3\xb6rld 1234567\""}, {"", R"("")"}};
  for (const auto& c : cases) {
    Json json;
    json.AddUpdateMember("v", c.text, json.Doc());
    EXPECT_EQ(json.Text(), std::string("{\"v\":") + c.written + "}");
    Json named;
    named.AddUpdateIntegerMember(c.text.c_str(), 1);
    const std::string name = c.text.find('\0') == std::string::npos ? c.written : R"("nul")";
    EXPECT_EQ(named.Text(), "{" + name + ":1}");
  }
}

// Names match exactly; AddStringMember appends a duplicate, an update changes the first.
TEST(MetadataJsonTest, NamesMatchExactlyAndDuplicatesUpdateTheFirst) {
  Json json;
  json.AddUpdateIntegerMember("Pair", 1);
  json.AddUpdateIntegerMember("pair", 2);
  json.AddUpdateIntegerMember("Pair ", 3);
  json.AddUpdateIntegerMember("Pai", 4);
  json.AddUpdateIntegerMember("Pair", 5);
  EXPECT_EQ(json.Text(), R"({"Pair":5,"pair":2,"Pair ":3,"Pai":4})");

  Json dup;
  dup.AddStringMember("k", "one", dup.Doc());
  dup.AddStringMember("k", "two", dup.Doc());
  dup.AddUpdateMember("k", 9, dup.Doc());
  EXPECT_EQ(dup.Text(), R"({"k":9,"k":"two"})");
}

// No item under a non-object; keys are copied; a float-factor item has four members, updated in place.
TEST(MetadataJsonTest, ItemRules) {
  Json json;
  json.AddUpdateIntegerMember("Item", 5);
  json.AddUpdateObjectMemberToObject("Item", "T", 1, "D", json.Doc());
  json.AddUpdateObjectMemberToObjectWithFloatFactor("Item", "T", 1, 10, "D", json.Doc());
  Value notObject(rapidjson::kArrayType);
  json.AddUpdateObjectMember("T", 1, "D", notObject);
  EXPECT_TRUE(notObject.Empty());
  char key[] = "Temporary";
  json.AddUpdateObjectMemberToObject(key, "T", true, "D", json.Doc());
  key[0] = 'X';
  json.AddUpdateObjectMemberToObjectWithFloatFactor("G", "Gain", 15, 10, "1.5 dB", json.Doc());
  json.AddUpdateObjectMemberToObjectWithFloatFactor("G", "Gain", 20, 10, "2.0 dB", json.Doc());
  EXPECT_EQ(json.Text(), R"({"Item":5,"Temporary":{"Title":"T","Data":true,"Desc":"D"},)"
                         R"("G":{"Title":"Gain","Data":20,"FFactor":10,"Desc":"2.0 dB"}})");
}

// Arrays are created once, never over another type; RootObjectMember finds or makes an object member.
TEST(MetadataJsonTest, ArrayAndObjectMembersOfTheRoot) {
  Json json;
  json.AddUpdateIntegerMember("n", 3);
  json.AddArrayMember("list");
  json.AddArrayMember("list");
  json.AddArrayMember("n");
  Value inner(rapidjson::kObjectType);
  json.AddArrayMemberInObject("x", inner);
  json.AddArrayMemberInObject("x", inner);
  Value notObject(5);
  json.AddArrayMemberInObject("x", notObject);
  EXPECT_EQ(inner.MemberCount(), 1u);
  EXPECT_TRUE(notObject.IsInt());
  EXPECT_EQ(json.Text(), R"({"n":3,"list":[]})");

  json.AddUpdateIntegerMember("Block", 1);
  Value* block = json.RootObjectMember("Block");
  ASSERT_NE(block, nullptr);
  json.AddUpdateMember("in", 2, *block);
  EXPECT_EQ(json.RootObjectMember("Block"), block);
  ASSERT_NE(json.RootObjectMember("Other"), nullptr);
  EXPECT_EQ(json.Text(), R"({"n":3,"list":[],"Block":{"in":2},"Other":{}})");
}

TEST(MetadataJsonTest, NonFiniteNumberEndsTheTextWhereItStands) {
  for (float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                    -std::numeric_limits<float>::infinity()}) {
    Json json;
    json.AddUpdateIntegerMember("a", 1);
    json.AddUpdateMember("b", bad, json.Doc());
    json.AddUpdateIntegerMember("c", 2);
    EXPECT_EQ(json.Text(), R"({"a":1,"b":)") << bad;
  }
}

// A text longer than the buffer kept for it grows it, in small steps and past
// one long string, and is still the stock writer's text.
TEST(MetadataJsonTest, TextOutgrowsItsBuffer) {
  Json json(4096, 16);
  json.AddUpdateMember("long", std::string(5000, 'x'), json.Doc());
  Value& numbers = json.Doc().AddMember("n", Value(rapidjson::kArrayType), json.Doc().GetAllocator())["n"];
  for (int i = 0; i < 2000; ++i) numbers.PushBack(-i, json.Doc().GetAllocator());
  rapidjson::StringBuffer stock;
  rapidjson::Writer<rapidjson::StringBuffer> writer(stock);
  json.Doc().Accept(writer);
  EXPECT_EQ(json.Text(), std::string(stock.GetString(), stock.GetSize()));
}

TEST(MetadataJsonTest, NewDocumentStartsEmpty) {
  Json json;
  json.AddUpdateIntegerMember("a", 1);
  EXPECT_EQ(json.Text(), R"({"a":1})");
  json.NewDocument();
  EXPECT_EQ(json.GetSize(), 0u);
  EXPECT_EQ(json.Text(), "{}");
}

}  // namespace
