// The tap's views: table rows, gists, JSON lines, statistics, --validate.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Shared/Topics.h"
#include "RecordFactory.h"
#include "common/JsonText.h"
#include "scenario/Scenario.h"
#include "tap/DocCheck.h"
#include "tap/DocFormat.h"
#include "tap/MessageView.h"
#include "tap/TopicStats.h"

namespace {

using ::testing::HasSubstr;

rapidjson::Document ParseDoc(const std::string& text) {
  rapidjson::Document doc;
  std::string error;
  EXPECT_TRUE(tools::ParseJsonText(text, doc, error)) << error;
  return doc;
}

std::string RecordBytes(int32_t typeId, uint32_t mdType) {
  const auto rec = NewRecord(typeId, mdType);
  return std::string(reinterpret_cast<const char*>(rec.get()), sizeof *rec);
}

// The forms of rows the reference pages do not show.
TEST(TableRows, ScalarsEmptyArraysAndLongerExData) {
  const auto doc = ParseDoc(R"({"IsAtmosPresent": true, "Streams": [], "Two": {"ExData": [{"A": 1}, {"A": 2}]}})");
  const std::vector<std::vector<std::string>> expected = {
      {"IsAtmosPresent", "", "true", ""},
      {"Streams", "", "[]", ""},
      {"Two.ExData[0].A", "", "1", ""},  // only a one-element ExData is folded away
      {"Two.ExData[1].A", "", "2", ""},
  };
  std::vector<std::vector<std::string>> rows;
  for (const auto& r : tap::TableRows(doc)) rows.push_back({r.key, r.title, r.data, r.desc});
  EXPECT_EQ(rows, expected);
}

TEST(Gist, OfEachKindOfPayload) {
  const std::string record = RecordBytes(60, DLB_PADC_UI_MD_TYPE_ED2);
  const struct { const char* topic; std::string payload; const char* gist; } cases[] = {
      {topic::kDolbyProcStatus, R"({"Status" : "Decoding", "Event" : "Dolby Zoom"})", "Decoding (Dolby Zoom)"},
      {topic::kDolbyProcStatus, R"({"Status" : "Not Decoding", "Event" : ""})", "Not Decoding"},
      {topic::kDolbyMetadataGrp, "{}", "{} (no document)"},
      {topic::kDolbyMetadataGrpRepub, R"({"TS":1,"TypeId":0,"MdId":0})", "TypeId 0, MdId 0, 3 rows"},
      {topic::kDolbyPAData, R"({"TS":1,"NoPresentations":2,"ActivePANo":1,"ActivePAName":"AD"})",
       "2 presentation(s), active 1 \"AD\""},
      {topic::kDolbyMetadataEvent, record, "record: protoVer 19, typeId 60, mdType 2, 33704 bytes"},
      {"Other", std::string("\x01\x02\x03", 3), "3 bytes (binary)"},
      {"Other", "plain", "plain"},
  };
  for (const auto& c : cases) EXPECT_EQ(tap::Gist({c.topic, c.payload, 0, 2}), c.gist) << c.topic;
  const tap::Message m{topic::kDolbyProcStatus, R"({"Status" : "Decoding", "Event" : ""})", 0, 3};
  EXPECT_THAT(tap::FormatMessage(m, tap::View::Raw), HasSubstr(m.payload + "\n"));
  EXPECT_THAT(tap::SummaryLine(m), HasSubstr("DolbyProcStatus         Decoding  [3 frames]"));
}

// Bytes that are not UTF-8, and control characters, show as \xNN in views and keep JSON lines valid.
TEST(Views, ShowBytesThatAreNotUtf8) {
  const struct { std::string in, shown; } rows[] = {
      {"English \xc3\xa9\xe2\x82\xac", "English \xc3\xa9\xe2\x82\xac"},
      {"\xc0\xaf eng", "\\xC0\\xAF eng"},  // overlong
      {"\xff\xff\xff", "\\xFF\\xFF\\xFF"},
      {"cut \xe2\x82", "cut \\xE2\\x82"},  // truncated at the end
  };
  for (const auto& row : rows) {
    EXPECT_EQ(tap::VisibleText(row.in), row.shown);
    const tap::Message m{topic::kDolbyPAData, R"({"ActivePAName":")" + row.in + R"("})", 0, 2};
    EXPECT_THAT(tap::FormatMessage(m, tap::View::Table), HasSubstr(row.shown + "\n"));
    const auto line = ParseDoc(tap::JsonLine(m));
    EXPECT_EQ(line.HasMember("payload"), row.in == row.shown) << row.shown;
    if (row.in != row.shown) { EXPECT_THAT(line["text"].GetString(), HasSubstr(row.shown)); }
  }
  EXPECT_EQ(tap::VisibleText("\x1b[2Jclear\ttab\x7f\n"), "\\x1B[2Jclear\ttab\\x7F\n");
}

TEST(JsonLine, CarriesTopicSizeAndParsedPayload) {
  const auto doc = ParseDoc(tap::JsonLine({topic::kDolbyPAData, R"({"TS":5,"NoPresentations":0})", 12.5, 2}));
  EXPECT_EQ(doc["topic"].GetString(), std::string("DolbyPAData>>"));
  EXPECT_DOUBLE_EQ(doc["time"].GetDouble(), 12.5);
  EXPECT_EQ(doc["size"].GetUint(), 28u);
  EXPECT_EQ(doc["payload"]["NoPresentations"].GetInt(), 0);
  EXPECT_FALSE(doc.HasMember("frames"));

  const auto text = ParseDoc(tap::JsonLine({"T", "not json", 0, 1}));
  EXPECT_EQ(text["text"].GetString(), std::string("not json"));
  EXPECT_EQ(text["frames"].GetInt(), 1);

  const auto bin = ParseDoc(tap::JsonLine({"DolbyMetadataEvent", RecordBytes(24, 0), 0, 2}));
  EXPECT_TRUE(bin["binary"].GetBool());
  EXPECT_EQ(bin["record"]["typeId"].GetInt(), 24);
}

TEST(TopicStats, RatesOverTheWindowAndTheLatestState) {
  tap::TopicStats stats(5.0);
  // 8 per second from 0 to 4.875 s (times exact in binary).
  for (int i = 0; i < 40; ++i) stats.Add({topic::kDolbyMetadataGrp, R"({"TS":1,"TypeId":16,"MdId":1})", 0, 2}, i * 0.125);
  stats.Add({topic::kDolbyProcStatus, R"({"Status" : "Decoding", "Event" : "Dolby Preset"})", 0, 2}, 4.5);
  EXPECT_EQ(stats.Count(topic::kDolbyMetadataGrp), 40);
  EXPECT_DOUBLE_EQ(stats.Rate(topic::kDolbyMetadataGrp, 5.0), 39 / 5.0);  // the one at 0 s has left
  EXPECT_DOUBLE_EQ(stats.Rate(topic::kDolbyMetadataGrp, 7.0), 23 / 5.0);
  EXPECT_DOUBLE_EQ(stats.Rate(topic::kDolbyMetadataGrp, 10.0), 0.0);
  EXPECT_EQ(stats.Rate("Unknown", 1.0), 0.0);
  EXPECT_EQ(stats.DecoderState(), "Decoding (Dolby Preset)");
  EXPECT_THAT(stats.Stream(), HasSubstr("TypeId 16"));
  const std::string report = stats.Report(7.0);
  EXPECT_THAT(report, ::testing::ContainsRegex("DolbyMetadataGrp +40 +4\\.6 "));
  EXPECT_THAT(report, HasSubstr("decoder state: Decoding (Dolby Preset)"));
  EXPECT_THAT(report, ::testing::Not(HasSubstr("INVALID")));
  for (const bool invalid : {true, false, false}) stats.AddVerdict(topic::kDolbyMetadataGrp, invalid, !invalid);
  EXPECT_THAT(stats.Report(7.0), ::testing::ContainsRegex("INVALID +CUT\n.*DolbyMetadataGrp +40 .* +1 +2\n"));
}

// The verdict of --validate: by topic, the first violation of the schema (a cut: tools_cli_test).
TEST(DocCheck, NamesTheFirstViolationOrTheCut) {
  using Kind = tap::DocCheck::Kind;
  const struct { const char* topic; const char* payload; Kind kind; const char* path; const char* rule; } cases[] = {
      {topic::kDolbyProcStatus, R"({"Status" : "Decoding", "Event" : ""})", Kind::Ok, "", ""},
      {topic::kDolbyProcStatus, R"({"Status" : "Dancing", "Event" : ""})", Kind::Schema, "/Status", "enum"},
      {topic::kDolbyMetadataGrp, "{}", Kind::Ok, "", ""},
      {topic::kDolbyMetadataGrpRepub, R"({"TS":1})", Kind::Schema, "/", "oneOf"},
      {topic::kDolbyPAData, R"({"TS":1,"NoPresentations":0,"ActivePANo":0,"ActivePAName":"","X":1})",
       Kind::Schema, "/X", "additionalProperties"},
      {"OtherTopic", R"({"anything":1})", Kind::Ok, "", ""},
      // The empty forms of docs/reference/ui-contract.md: accepted, the 0-byte one named as such.
      {topic::kDolbyPAData, "{}", Kind::Ok, "", ""},
      {topic::kDolbyPAData, "", Kind::Empty, "", ""},
      {topic::kDolbyPADataRepub, "", Kind::Empty, "", ""},
      // The daemon never sends a 0-byte status document or decoder state.
      {topic::kDolbyMetadataGrpRepub, "", Kind::Invalid, "", ""},
      {topic::kDolbyProcStatus, "", Kind::Invalid, "", ""},
  };
  for (const auto& c : cases) {
    const tap::DocCheck check = tap::CheckDocument(c.topic, c.payload);
    EXPECT_EQ(tap::DocCheckName(check.kind), tap::DocCheckName(c.kind)) << c.payload;
    EXPECT_EQ(check.path, c.path) << c.payload;
    EXPECT_EQ(check.rule, c.rule) << c.payload;
  }
}

}  // namespace
