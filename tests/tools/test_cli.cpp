// The two binaries refuse bad arguments and bad files with a message naming
// the option or field and a non-zero exit status, and close the loop from a
// scenario file to a record file and back to fields.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "DaemonHarness.h"
#include "common/JsonText.h"
#include "rapidjson/document.h"

namespace {

using ::testing::HasSubstr;
using harness::RunTool;

constexpr int kBadInput = 2;  // the exit statuses both tools share (tools/common/ExitStatus.h)
constexpr int kNoFile = 4;
constexpr int kBadFile = 5;

struct BadCall {
  const char* name;
  const char* binary;
  std::vector<std::string> args;
  const char* expected;
};

class BadArguments : public ::testing::TestWithParam<BadCall> {};

TEST_P(BadArguments, AreRefusedNamingTheOption) {
  const auto r = RunTool(GetParam().binary, GetParam().args);
  EXPECT_EQ(r.status, kBadInput) << r.err;
  EXPECT_THAT(r.err, HasSubstr(GetParam().expected));
  EXPECT_EQ(r.out, "");
}

const BadCall kBadCalls[] = {
    {"SimUnknownOption", PLOVREST_SIM_PATH, {"--speed", "3"}, "unknown option '--speed'"},
    {"SimStrayArgument", PLOVREST_SIM_PATH, {"ddp"}, "unexpected argument 'ddp'"},
    {"SimRateNotNumber", PLOVREST_SIM_PATH, {"--rate", "fast"}, "--rate: 'fast' is not a number"},
    {"SimRateRange", PLOVREST_SIM_PATH, {"--rate=0"}, "--rate: 0 is out of range (0.1 to 1000)"},
    {"SimMissingValue", PLOVREST_SIM_PATH, {"--duration"}, "option --duration needs a value"},
    {"SimCount", PLOVREST_SIM_PATH, {"--count", "-4"}, "--count: -4 is out of range"},
    {"SimZoom", PLOVREST_SIM_PATH, {"--zoom", "yes"}, "--zoom: 'yes' is not one of: on, off"},
    {"SimLines", PLOVREST_SIM_PATH, {"--lines", "9,10"}, "--lines: 'lines 9,10': expected \"lines ZP NEXT FACTOR\""},
    {"SimAtWithoutTime", PLOVREST_SIM_PATH, {"--at", "zoom on"}, "--at: expected SECONDS:EVENT"},
    {"SimAtBadEvent", PLOVREST_SIM_PATH, {"--at", "3:warp"}, "--at: 'warp': unknown event"},
    {"SimUnknownScenario", PLOVREST_SIM_PATH, {"--scenario", "mp3"}, "--scenario: no built-in scenario \"mp3\""},
    {"SimBothScenarios", PLOVREST_SIM_PATH, {"--scenario", "ddp", "--scenario-file", "x.json"}, "exclude each other"},
    {"SimStepWithoutFile", PLOVREST_SIM_PATH, {"--step", "2"}, "--step: only with --write-record"},
    {"SimStepPastTheEnd", PLOVREST_SIM_PATH, {"--scenario", "flip", "--show-record", "--step", "3"},
     "--step: 3 is past the last step of 'flip' (2)"},
    {"SimEventsWithoutMonitors", PLOVREST_SIM_PATH, {"--no-monitors", "--zoom", "on"}, "--zoom: the monitors are off"},
    {"SimRateWithoutDecoder", PLOVREST_SIM_PATH, {"--no-decoder", "--rate", "5"}, "--rate: the decoder is off"},
    {"SimNothingToPlay", PLOVREST_SIM_PATH, {"--no-decoder", "--no-monitors"}, "nothing is left to play"},
    {"SimEndpointPeer", PLOVREST_SIM_PATH, {"--endpoint", "daemon=tcp://127.0.0.1:1"}, "--endpoint: 'daemon' is not one of"},
    {"SimReplayAndScenario", PLOVREST_SIM_PATH, {"--replay", "x.cap", "--scenario", "ddp"}, "--scenario: not with --replay"},
    {"TapUnknownOption", PLOVREST_TAP_PATH, {"--follow"}, "unknown option '--follow'"},
    {"TapView", PLOVREST_TAP_PATH, {"--view", "tree"}, "--view: 'tree' is not one of: summary, table, pretty, raw, json"},
    {"TapCount", PLOVREST_TAP_PATH, {"--count", "x"}, "--count: 'x' is not a whole number"},
    {"TapTimeout", PLOVREST_TAP_PATH, {"--timeout", "-1"}, "--timeout: -1 is out of range"},
    {"TapModes", PLOVREST_TAP_PATH, {"--jsonl", "--stats"}, "--jsonl, --stats and --view exclude each other"},
    {"TapInterval", PLOVREST_TAP_PATH, {"--interval", "1"}, "--interval: only with --stats"},
    {"TapFieldsWithoutDecode", PLOVREST_TAP_PATH, {"--fields"}, "--fields: only with --decode FILE"},
    {"TapDecodeLive", PLOVREST_TAP_PATH, {"--decode", "x.bin", "--count", "2"}, "--count: not with --decode"},
    {"TapFieldsJsonl", PLOVREST_TAP_PATH, {"--decode", "x.bin", "--fields", "--jsonl"}, "--jsonl: not with --fields"},
    {"TapEndpoint", PLOVREST_TAP_PATH, {"--endpoint", "localhost"}, "--endpoint: 'localhost' is not an endpoint URL"},
};

INSTANTIATE_TEST_SUITE_P(Cli, BadArguments, ::testing::ValuesIn(kBadCalls),
                         [](const auto& info) { return std::string(info.param.name); });

class ToolFiles : public ::testing::Test {
 protected:
  void SetUp() override { mDir = harness::MakeTempDir(); }
  void TearDown() override { std::system(("rm -rf " + mDir).c_str()); }
  std::string Path(const std::string& name) const { return mDir + "/" + name; }
  std::string mDir;
};

TEST_F(ToolFiles, BadScenarioFileNamesFileAndField) {
  const struct {
    const char* text;
    const char* expected;
  } cases[] = {
      {R"({"record": {"typeId": 16, "ddp": {"acmod": 7, "bedchannels": [1]}}})",
       "report.json: record.ddp.bedchannels: unknown field (did you mean \"bedChannels\"?)"},
      {R"({"steps": [{"record": {"ac4": {"presentations": [{"language": 5}]}}}]})",
       "report.json: steps[0].record.ac4.presentations[0].language: expected a string, found a number"},
      {"{\"record\": {\"typeId\": 16,}}", "report.json: line 1, column 26:"},
      {R"({"record": {}, "events": [{"at": 1, "event": "zoom in"}]})", "report.json: events[0].event: 'zoom in'"},
  };
  for (const auto& c : cases) {
    harness::WriteText(Path("report.json"), c.text);
    for (const char* mode : {"--show-record", "--write-record"}) {
      std::vector<std::string> args = {"--scenario-file", Path("report.json"), mode};
      if (std::string(mode) == "--write-record") args.push_back(Path("out.bin"));
      const auto r = RunTool(PLOVREST_SIM_PATH, args);
      EXPECT_EQ(r.status, kBadFile) << c.text;
      EXPECT_THAT(r.err, HasSubstr(c.expected));
      EXPECT_FALSE(std::ifstream(Path("out.bin")).good()) << "no record is written from a bad file";
    }
  }
}

// Scenario file -> record file (sim) -> fields (tap), and the record renders.
TEST_F(ToolFiles, WriteRecordThenDecodeGivesTheFieldsBack) {
  const std::string scenario = R"({"record": {"typeId": 16, "inputType": 2, "dzPair": 3, "atmosDecode": 1,
      "ddp": {"datarate": 640, "acmod": 7, "atmosPresent": 1, "dialnorm": 27, "numDynObjects": 1,
              "objects": [{"x": 0.25, "y": 0.5, "z": 0.75, "dialogueClass": 1}], "bedChannels": [1, 1, 1]}}})";
  harness::WriteText(Path("report.json"), scenario);
  const auto written = RunTool(PLOVREST_SIM_PATH, {"--scenario-file", Path("report.json"), "--write-record", Path("r.bin")});
  ASSERT_EQ(written.status, 0) << written.err;
  EXPECT_THAT(written.out, HasSubstr("33704 bytes"));

  const auto fields = RunTool(PLOVREST_TAP_PATH, {"--decode", Path("r.bin"), "--fields"});
  ASSERT_EQ(fields.status, 0) << fields.err;
  rapidjson::Document expected, got;
  std::string error;
  ASSERT_TRUE(tools::ParseJsonText(scenario, expected, error)) << error;
  ASSERT_TRUE(tools::ParseJsonText(fields.out, got, error)) << error << "\n" << fields.out;
  expected["record"].AddMember("protoVer", 19, expected.GetAllocator());
  expected["record"].AddMember("mdType", 1, expected.GetAllocator());
  ASSERT_TRUE(got.IsObject() && got.HasMember("record")) << fields.out;
  EXPECT_TRUE(got["record"] == expected["record"]) << fields.out;

  // The decoded fields are a scenario file that rebuilds the same record.
  harness::WriteText(Path("decoded.json"), fields.out);
  const auto again = RunTool(PLOVREST_SIM_PATH, {"--scenario-file", Path("decoded.json"), "--write-record", Path("again.bin")});
  ASSERT_EQ(again.status, 0) << again.err;
  std::string first, second, readError;
  ASSERT_TRUE(tools::ReadFile(Path("r.bin"), first, readError));
  ASSERT_TRUE(tools::ReadFile(Path("again.bin"), second, readError));
  EXPECT_TRUE(first == second);

  const auto table = RunTool(PLOVREST_TAP_PATH, {"--decode", Path("r.bin")});
  ASSERT_EQ(table.status, 0) << table.err;
  EXPECT_THAT(table.out, HasSubstr("DolbyMetadataGrp"));
  EXPECT_THAT(table.out, ::testing::ContainsRegex("Streams\\[0\\]\\[0\\]\\.BitstreamInfo\\.Datarate +[^ ].* +640 "));
}

// A missing file and a file of the wrong kind give the same status in both tools.
TEST_F(ToolFiles, BothToolsRefuseMissingAndBadFilesAlike) {
  harness::WriteText(Path("short.bin"), std::string(100, '\0'));
  const struct {
    const char* binary;
    std::vector<std::string> args;
    int status;
    std::string expected;
  } cases[] = {
      {PLOVREST_TAP_PATH, {"--decode", Path("short.bin")}, kBadFile,
       "--decode " + Path("short.bin") + ": 100 bytes; a decoder record has 33704"},
      {PLOVREST_SIM_PATH, {"--replay", Path("short.bin")}, kBadFile, "not a capture file"},
      {PLOVREST_TAP_PATH, {"--capture", Path("short.bin"), "--count", "1"}, kBadFile, "not a capture file"},
      {PLOVREST_TAP_PATH, {"--decode", Path("none.bin")}, kNoFile, "none.bin: No such file or directory"},
      {PLOVREST_SIM_PATH, {"--replay", Path("none.bin")}, kNoFile, "none.bin: No such file or directory"},
      {PLOVREST_SIM_PATH, {"--scenario-file", Path("none.json")}, kNoFile, "none.json: No such file or directory"},
  };
  for (const auto& c : cases) {
    const auto r = RunTool(c.binary, c.args);
    EXPECT_EQ(r.status, c.status) << c.args[0] << ": " << r.err;
    EXPECT_THAT(r.err, HasSubstr(c.expected));
    EXPECT_EQ(r.out, "");
  }

  harness::WriteText(Path("old.bin"), std::string("\x12\0\0\0", 4) + std::string(33700, '\0'));
  const auto old = RunTool(PLOVREST_TAP_PATH, {"--decode", Path("old.bin"), "--view", "summary"});
  EXPECT_EQ(old.status, 0);
  EXPECT_THAT(old.err, HasSubstr("protoVer is 18"));
}

// --decode for scripts: stdout holds only the documents, --validate names a
// document cut at a NaN as cut, and --jsonl carries the verdict.
TEST_F(ToolFiles, DecodeWritesOnlyDocumentsAndValidates) {
  harness::WriteText(Path("nan.json"), R"({"record": {"typeId": "ddp", "atmosDecode": 1, "ddp": {"atmosPresent": 1,
      "numDynObjects": 1, "objects": [{"x": "nan"}]}}})");
  ASSERT_EQ(RunTool(PLOVREST_SIM_PATH, {"--scenario", "ed2", "--write-record", Path("ed2.bin")}).status, 0);
  ASSERT_EQ(RunTool(PLOVREST_SIM_PATH, {"--scenario-file", Path("nan.json"), "--write-record", Path("nan.bin")}).status, 0);

  const auto json = RunTool(PLOVREST_TAP_PATH, {"--decode", Path("ed2.bin"), "--view", "json", "--validate"});
  ASSERT_EQ(json.status, 0) << json.err;
  std::istringstream lines(json.out);
  std::string line, error;
  int documents = 0;
  for (; std::getline(lines, line); ++documents) {
    rapidjson::Document doc;
    EXPECT_TRUE(tools::ParseJsonText(line, doc, error)) << error << "\n" << line;
  }
  EXPECT_EQ(documents, 2);  // the status and the presentation document
  EXPECT_THAT(json.err, HasSubstr("DolbyPAData>>: valid"));

  const auto one = RunTool(PLOVREST_TAP_PATH, {"--decode", Path("ed2.bin"), "--view", "pretty", "--topic", "DolbyMetadataGrp"});
  rapidjson::Document doc;
  EXPECT_TRUE(tools::ParseJsonText(one.out, doc, error)) << error;
  EXPECT_EQ(doc["TypeId"].GetInt(), 60);

  const auto cut = RunTool(PLOVREST_TAP_PATH, {"--decode", Path("nan.bin"), "--view", "json", "--validate"});
  EXPECT_EQ(cut.status, 0) << "a cut document is designed behaviour, not an invalid one";
  EXPECT_EQ(cut.out, "");
  EXPECT_THAT(cut.err, HasSubstr("DolbyMetadataGrp: cut at byte"));
  EXPECT_THAT(cut.err, HasSubstr("(AtmosInfo.ExData[0].PaObjects[0].x.Data): a non-finite number"));

  const auto jsonl = RunTool(PLOVREST_TAP_PATH, {"--decode", Path("nan.bin"), "--jsonl", "--validate"});
  ASSERT_TRUE(tools::ParseJsonText(jsonl.out, doc, error)) << error << jsonl.out;
  EXPECT_STREQ(doc["check"]["kind"].GetString(), "cut");
  EXPECT_TRUE(doc.HasMember("text") && !doc.HasMember("payload"));
}

TEST(Help, DescribesOptionsAndExamples) {
  const auto sim = RunTool(PLOVREST_SIM_PATH, {"--help"});
  EXPECT_EQ(sim.status, 0);
  for (const char* text : {"--scenario NAME", "--write-record FILE", "zoom on|off", "Exit status", "Examples"})
    EXPECT_THAT(sim.out, HasSubstr(text));
  const auto tap = RunTool(PLOVREST_TAP_PATH, {"-h"});
  EXPECT_EQ(tap.status, 0);
  for (const char* text : {"--jsonl", "--decode FILE", "--view VIEW", "Exit status"}) EXPECT_THAT(tap.out, HasSubstr(text));
  const auto list = RunTool(PLOVREST_SIM_PATH, {"--list"});
  EXPECT_EQ(list.status, 0);
  for (const char* name : {"pcm", "dd", "ddp", "dolby-e", "ac4", "ed2", "all", "flip"})
    EXPECT_THAT(list.out, ::testing::ContainsRegex(std::string("\n? +") + name + " +[A-Z]"));
}

}  // namespace
