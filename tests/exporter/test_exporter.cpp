// The exporter's parts: the change history, the samples a document gives, the
// exposition formats and the slot from the settings file.

#include <fstream>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/JsonText.h"
#include "exporter/ChangeLog.h"
#include "exporter/ExporterOptions.h"
#include "exporter/ExporterState.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

rapidjson::Document Parse(const std::string& text) {
  rapidjson::Document d;
  std::string error;
  EXPECT_TRUE(tools::ParseJsonText(text, d, error)) << error;
  return d;
}

std::string Example(const std::string& name) {
  std::ifstream in(std::string(REFERENCE_DIR) + "/examples/" + name);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

tap::Message Msg(const std::string& topic, const std::string& payload, double time = 1000) {
  tap::Message m;
  m.topic = topic;
  m.payload = payload;
  m.time = time;
  return m;
}

struct DiffCase {
  std::string name;
  std::string before;
  std::string after;
  std::string lines;  // expected JSON lines (time 5)
};

TEST(ChangeLog, ComparesFieldByFieldWithIndicesAndWithoutTs) {
  const DiffCase cases[] = {
      {"same but TS", R"({"TS":1,"a":1})", R"({"TS":2,"a":1})", ""},
      {"leaf", R"({"a":{"Data":24}})", R"({"a":{"Data":31}})",
       "{\"time\":5.0,\"topic\":\"T\",\"field\":\"/a/Data\",\"old\":24,\"new\":31}\n"},
      {"array index", R"({"s":[[{"d":1}],[{"d":2}]]})", R"({"s":[[{"d":1}],[{"d":3}]]})",
       "{\"time\":5.0,\"topic\":\"T\",\"field\":\"/s/1/0/d\",\"old\":2,\"new\":3}\n"},
      {"gone and new", R"({"a":1,"b":[1,2]})", R"({"c":"x","b":[1]})",
       "{\"time\":5.0,\"topic\":\"T\",\"field\":\"/a\",\"old\":1,\"new\":null}\n"
       "{\"time\":5.0,\"topic\":\"T\",\"field\":\"/b/1\",\"old\":2,\"new\":null}\n"
       "{\"time\":5.0,\"topic\":\"T\",\"field\":\"/c\",\"old\":null,\"new\":\"x\"}\n"},
      {"type change", R"({"a":{"x":1}})", R"({"a":[1]})",
       "{\"time\":5.0,\"topic\":\"T\",\"field\":\"/a\",\"old\":{\"x\":1},\"new\":[1]}\n"},
      {"escaped key", R"({"a/b~":1})", R"({"a/b~":2})",
       "{\"time\":5.0,\"topic\":\"T\",\"field\":\"/a~1b~0\",\"old\":1,\"new\":2}\n"},
      {"nested TS is a field", R"({"x":{"TS":1}})", R"({"x":{"TS":2}})",
       "{\"time\":5.0,\"topic\":\"T\",\"field\":\"/x/TS\",\"old\":1,\"new\":2}\n"},
      {"long value", R"({"a":1})", R"({"a":[")" + std::string(1100, 'x') + R"("]})",
       "{\"time\":5.0,\"topic\":\"T\",\"field\":\"/a\",\"old\":1,\"new\":\"(array of 1104 bytes)\"}\n"},
      {"not UTF-8", "{\"n\":\"a\"}", "{\"n\":\"\xff\"}",
       "{\"time\":5.0,\"topic\":\"T\",\"field\":\"/n\",\"old\":\"a\",\"new\":\"\\\"\\\\xFF\\\"\"}\n"},
  };
  for (const DiffCase& c : cases) {
    exporter::ChangeLog log;
    log.Compare("T", Parse(c.before), 4);
    log.Compare("U", Parse(c.after), 4);  // another topic compares with its own previous document
    log.Compare("T", Parse(c.after), 5);
    EXPECT_EQ(log.JsonLines(), c.lines) << c.name;
  }
}

TEST(ChangeLog, KeepsTheLastChangesAndCountsBeyondTheFieldLimitPerTopic) {
  exporter::ChangeLog log(3, 2);
  for (int i = 0; i < 6; ++i)
    log.Compare("T", Parse("{\"a\":" + std::to_string(i) + ",\"b\":" + std::to_string(i) + ",\"c\":" +
                           std::to_string(i) + "}"), i);
  ASSERT_EQ(log.History().size(), 3u);
  EXPECT_EQ(log.History().front().field, "/a");
  EXPECT_EQ(log.History().front().to, "5");
  EXPECT_EQ(log.History().back().field, "/c");
  ASSERT_EQ(log.Counts().size(), 2u);
  EXPECT_EQ(log.Counts().at({"T", "/a"}).count, 5);
  EXPECT_EQ(log.Counts().at({"T", "/b"}).last, 5);
  EXPECT_EQ(log.Dropped().at("T"), 5);
}

// Every expected line is a whole sample, as promtool and Prometheus read it.
struct DocumentCase {
  const char* example;
  const char* topic;
  std::vector<std::string> samples;
};

TEST(ExporterState, EachStreamKindGivesItsKeyMetadata) {
  const DocumentCase cases[] = {
      {"status-dd.json", "DolbyMetadataGrp",
       {"plovrest_stream_type{slot=\"1\",type=\"Dolby Digital\"} 1", "plovrest_type_id{slot=\"1\"} 1",
        "plovrest_dialnorm_decibels{slot=\"1\",stream=\"0\"} 27",
        "plovrest_acmod_info{slot=\"1\",stream=\"0\",text=\"3/2\"} 1",
        "plovrest_datarate_bytes_per_second{slot=\"1\",stream=\"0\"} 56000",
        "plovrest_lfeon_code{slot=\"1\",stream=\"0\"} 1"}},
      {"status-dolby-e.json", "DolbyMetadataGrpRepub",
       {"plovrest_stream_type{slot=\"1\",type=\"Dolby E\"} 1", "plovrest_prgs{slot=\"1\"} 3",
        "plovrest_dialnorm_decibels{slot=\"1\",program=\"0\"} 27",
        "plovrest_frame_rate_info{slot=\"1\",ex_data=\"0\",text=\"25 fps\"} 1"}},
      {"status-ac4.json", "DolbyMetadataGrp",
       {"plovrest_stream_type{slot=\"1\",type=\"Dolby AC-4\"} 1",
        "plovrest_ac4_dialnorm_decibels{slot=\"1\",presentation=\"0\"} ",
        "plovrest_ac4_ch_cfg_info{slot=\"1\",substream=\"0\",text="}},
      {"presentation-ed2.json", "DolbyPAData>>", {"plovrest_no_presentations{slot=\"1\"} 2"}},
  };
  for (const DocumentCase& c : cases) {
    exporter::ExporterState state("1", "9.9");
    state.Take(Msg(c.topic, Example(c.example)), tap::CheckDocument(c.topic, Example(c.example)), 10);
    const std::string text = state.Metrics(false, 11);
    for (const std::string& s : c.samples) EXPECT_THAT(text, HasSubstr("\n" + s)) << c.example;
    EXPECT_THAT(text, HasSubstr("plovrest_documents_invalid_total{slot=\"1\",topic=\"" + std::string(c.topic) + "\"} 0"));
  }
}

TEST(ExporterState, StateUpCountsAndChanges) {
  exporter::ExporterState state("0", "9.9");
  EXPECT_THAT(state.Metrics(false, 0), HasSubstr("plovrest_up{slot=\"0\"} 0"));
  state.Take(Msg("DolbyProcStatus", R"({"Status" : "Decoding", "Event" : ""})"), tap::DocCheck(), 100);
  std::string text = state.Metrics(false, 100 + exporter::kUpWindow - 0.5);
  EXPECT_THAT(text, HasSubstr("plovrest_up{slot=\"0\"} 1"));
  EXPECT_THAT(text, HasSubstr("plovrest_decoder_state{slot=\"0\",state=\"Decoding\"} 1"));
  EXPECT_THAT(text, HasSubstr("plovrest_decoder_state{slot=\"0\",state=\"Not Decoding\"} 0"));
  EXPECT_THAT(text, HasSubstr("plovrest_decoding_source{slot=\"0\",source=\"none\"} 1"));
  EXPECT_THAT(state.Metrics(false, 100 + exporter::kUpWindow + 0.5), HasSubstr("plovrest_up{slot=\"0\"} 0"));

  const std::string cut = R"({"TS":1,"AtmosInfo":{"x":)";
  tap::DocCheck verdict;
  verdict.kind = tap::DocCheck::Kind::Cut;
  state.Take(Msg("DolbyMetadataGrp", cut), verdict, 101);
  verdict.kind = tap::DocCheck::Kind::Schema;
  state.Take(Msg("DolbyMetadataGrp", R"({"TS":1,"a":1})"), verdict, 102);
  state.Take(Msg("DolbyMetadataGrp", R"({"TS":2,"a":2})", 1234.5), tap::DocCheck(), 103);
  state.Take(Msg("DolbyMetadataGrpX", R"({"TS":2,"a":3})"), tap::DocCheck(), 103);  // not the daemon's
  text = state.Metrics(false, 104);
  EXPECT_THAT(text, HasSubstr("plovrest_documents_total{slot=\"0\",topic=\"DolbyMetadataGrp\"} 3"));
  EXPECT_THAT(text, HasSubstr("plovrest_documents_cut_total{slot=\"0\",topic=\"DolbyMetadataGrp\"} 1"));
  EXPECT_THAT(text, HasSubstr("plovrest_documents_invalid_total{slot=\"0\",topic=\"DolbyMetadataGrp\"} 1"));
  EXPECT_THAT(text, HasSubstr("plovrest_document_bytes_total{slot=\"0\",topic=\"DolbyMetadataGrp\"} " +
                              std::to_string(cut.size() + 28)));
  EXPECT_THAT(text, HasSubstr("plovrest_field_changes_total{slot=\"0\",topic=\"DolbyMetadataGrp\",field=\"/a\"} 1"));
  EXPECT_THAT(text, HasSubstr("plovrest_field_last_change_timestamp_seconds{slot=\"0\",topic=\"DolbyMetadataGrp\",field=\"/a\"} 1234.5"));
  EXPECT_THAT(state.Changes(), HasSubstr("\"field\":\"/a\",\"old\":1,\"new\":2}"));
}

TEST(Exposition, FormatsAndEscapes) {
  exporter::Exposition e("2");
  e.Add("plovrest_acmod_info", {{"stream", "0"}, {"text", "a\"b\\c\n\xfe"}}, 1);
  e.Add("plovrest_documents_total", {{"topic", "T"}}, 12345678901.0);
  const std::string text = e.Text(false);
  EXPECT_THAT(text, HasSubstr("plovrest_acmod_info{slot=\"2\",stream=\"0\",text=\"a\\\"b\\\\c\\n\\\\xFE\"} 1\n"));
  EXPECT_THAT(text, HasSubstr("# TYPE plovrest_documents_total counter\n"));
  EXPECT_THAT(text, HasSubstr("# TYPE plovrest_acmod_info gauge\n"));
  EXPECT_THAT(text, HasSubstr("plovrest_documents_total{slot=\"2\",topic=\"T\"} 12345678901\n"));
  EXPECT_THAT(text, Not(HasSubstr("# EOF")));
  const std::string om = e.Text(true);
  EXPECT_THAT(om, HasSubstr("# TYPE plovrest_documents counter\nplovrest_documents_total{"));
  EXPECT_THAT(om, HasSubstr("# TYPE plovrest_acmod info\n"));
  EXPECT_EQ(om.substr(om.size() - 6), "# EOF\n");
  EXPECT_TRUE(exporter::WantsOpenMetrics("application/openmetrics-text;version=1.0.0,text/plain;q=0.5"));
  EXPECT_FALSE(exporter::WantsOpenMetrics("text/plain;version=0.0.4;q=1,*/*;q=0.1"));
}

TEST(ExporterOptions, UsageNamesEveryOptionAndBadOnesAreRefused) {
  for (const tools::OptionSpec& option : exporter::ExporterOptionSpecs())
    EXPECT_THAT(exporter::ExporterUsage(), HasSubstr(std::string("--") + option.longName)) << option.longName;
  struct Case {
    std::vector<std::string> args;
    const char* error;  // empty: accepted
  } cases[] = {
      {{"--http", "[::1]:0"}, ""},
      {{"--http", "70000"}, "--http: '70000' is not [ADDR:]PORT"},
      {{"--http", ":80"}, "--http: ':80' is not [ADDR:]PORT"},
      {{"--endpoint", "localhost"}, "--endpoint: 'localhost' is not an endpoint URL"},
      {{"--settings", ""}, "--settings: needs a file name"},
      {{"--port", "1"}, "--port"},
  };
  for (const Case& c : cases) {
    std::vector<std::string> words = {"plovrest-exporter"};
    words.insert(words.end(), c.args.begin(), c.args.end());
    std::vector<char*> argv;
    for (std::string& w : words) argv.push_back(&w[0]);
    exporter::ExporterOptions options;
    std::string error;
    const bool ok = exporter::ParseExporterOptions(static_cast<int>(argv.size()), argv.data(), options, error);
    EXPECT_EQ(ok, *c.error == '\0') << c.args[0] << ": " << error;
    EXPECT_THAT(error, HasSubstr(c.error));
    if (ok) {
      EXPECT_EQ(options.httpHost, "::1");
    }
  }
}

TEST(ExporterOptions, SlotFromTheSettingsFile) {
  struct Case {
    const char* text;
    bool ok;
    const char* slot;
  } cases[] = {
      {"", true, "0"},
      {"# PLOVREST_SLOT=3\nPLOVREST_SLOT=2\nPLOVREST_INTERFACE=eth0\n", true, "2"},
      {"  PLOVREST_SLOT=\"3\"\r\n", true, "3"},
      {"PLOVREST_SLOT=1\nPLOVREST_SLOT=0\n", true, "0"},
      {"PLOVREST_SLOT=4\n", false, ""},
      {"PLOVREST_SLOT=\n", false, ""},
      {"PLOVREST_SLOT=1 # card\n", false, ""},
  };
  for (const Case& c : cases) {
    std::string slot, error;
    EXPECT_EQ(exporter::SlotFromSettings(c.text, slot, error), c.ok) << c.text;
    if (c.ok) EXPECT_EQ(slot, c.slot) << c.text;
    else EXPECT_THAT(error, HasSubstr("is not a slot 0 to 3"));
  }
}

}  // namespace
