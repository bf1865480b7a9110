// The two binaries refuse bad arguments and bad files with a message naming
// the option or field and a non-zero exit status. Scenario file -> record
// file -> views is the reference pages' check; record -> fields -> the same
// record is the record_file fuzz target's.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
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

class ToolFiles : public ::testing::Test {
 protected:
  void SetUp() override { mDir = harness::MakeTempDir(); }
  void TearDown() override { std::filesystem::remove_all(mDir); }
  std::string Path(const std::string& name) const { return mDir + "/" + name; }
  std::string mDir;
};

// Bad arguments and bad files are refused naming the option or the file, with
// the status both tools share and nothing on stdout (no record written from a
// bad scenario file); help and the list of built-in scenarios go to stdout.
TEST_F(ToolFiles, RefuseBadArgumentsAndFiles) {
  harness::WriteText(Path("short.bin"), std::string(100, '\0'));
  harness::WriteText(Path("report.json"), "{\"record\": {\"typeId\": 16,}}");
  const struct { const char* binary; std::vector<std::string> args; int status; std::string expected; } cases[] = {
      {PLOVREST_SIM_PATH, {"--speed", "3"}, kBadInput, "unknown option '--speed'"},
      {PLOVREST_SIM_PATH, {"ddp"}, kBadInput, "unexpected argument 'ddp'"},
      {PLOVREST_SIM_PATH, {"--rate", "fast"}, kBadInput, "--rate: 'fast' is not a number"},
      {PLOVREST_SIM_PATH, {"--rate=0"}, kBadInput, "--rate: 0 is out of range (0.1 to 1000)"},
      {PLOVREST_SIM_PATH, {"--duration"}, kBadInput, "option --duration needs a value"},
      {PLOVREST_SIM_PATH, {"--count", "-4"}, kBadInput, "--count: -4 is out of range"},
      {PLOVREST_SIM_PATH, {"--at", "zoom on"}, kBadInput, "--at: expected SECONDS:EVENT"},
      {PLOVREST_SIM_PATH, {"--at", "3:warp"}, kBadInput, "--at: 'warp': unknown event"},
      {PLOVREST_SIM_PATH, {"--scenario", "mp3"}, kBadInput, "--scenario: no built-in scenario \"mp3\""},
      {PLOVREST_SIM_PATH, {"--scenario", "ddp", "--scenario-file", "x.json"}, kBadInput, "exclude each other"},
      {PLOVREST_SIM_PATH, {"--step", "2"}, kBadInput, "--step: only with --write-record"},
      {PLOVREST_SIM_PATH, {"--scenario", "flip", "--show-record", "--step", "3"}, kBadInput,
       "--step: 3 is past the last step of 'flip' (2)"},
      {PLOVREST_SIM_PATH, {"--no-monitors", "--zoom", "on"}, kBadInput, "--zoom: the monitors are off"},
      {PLOVREST_SIM_PATH, {"--no-decoder", "--rate", "5"}, kBadInput, "--rate: the decoder is off"},
      {PLOVREST_SIM_PATH, {"--no-decoder", "--no-monitors"}, kBadInput, "nothing is left to play"},
      {PLOVREST_SIM_PATH, {"--endpoint", "daemon=tcp://127.0.0.1:1"}, kBadInput, "--endpoint: 'daemon' is not one of"},
      {PLOVREST_SIM_PATH, {"--replay", "x.cap", "--scenario", "ddp"}, kBadInput, "--scenario: not with --replay"},
      {PLOVREST_TAP_PATH, {"--view", "tree"}, kBadInput,
       "--view: 'tree' is not one of: summary, table, pretty, raw, json"},
      {PLOVREST_TAP_PATH, {"--count", "x"}, kBadInput, "--count: 'x' is not a whole number"},
      {PLOVREST_TAP_PATH, {"--jsonl", "--stats"}, kBadInput, "--jsonl, --stats and --view exclude each other"},
      {PLOVREST_TAP_PATH, {"--interval", "1"}, kBadInput, "--interval: only with --stats"},
      {PLOVREST_TAP_PATH, {"--fields"}, kBadInput, "--fields: only with --decode FILE"},
      {PLOVREST_TAP_PATH, {"--decode", "x.bin", "--count", "2"}, kBadInput, "--count: not with --decode"},
      {PLOVREST_TAP_PATH, {"--decode", "x.bin", "--fields", "--jsonl"}, kBadInput, "--jsonl: not with --fields"},
      {PLOVREST_TAP_PATH, {"--endpoint", "localhost"}, kBadInput, "--endpoint: 'localhost' is not an endpoint URL"},
      {PLOVREST_SIM_PATH, {"--help"}, 0, "--write-record FILE"},
      {PLOVREST_TAP_PATH, {"-h"}, 0, "--decode FILE"},
      {PLOVREST_SIM_PATH, {"--list"}, 0, " flip "},
      {PLOVREST_TAP_PATH, {"--decode", Path("short.bin")}, kBadFile,
       "--decode " + Path("short.bin") + ": 100 bytes; a decoder record has 33704"},
      {PLOVREST_SIM_PATH, {"--replay", Path("short.bin")}, kBadFile, "not a capture file"},
      {PLOVREST_TAP_PATH, {"--capture", Path("short.bin"), "--count", "1"}, kBadFile, "not a capture file"},
      {PLOVREST_TAP_PATH, {"--decode", Path("none.bin")}, kNoFile, "none.bin: No such file or directory"},
      {PLOVREST_SIM_PATH, {"--replay", Path("none.bin")}, kNoFile, "none.bin: No such file or directory"},
      {PLOVREST_SIM_PATH, {"--scenario-file", Path("none.json")}, kNoFile, "none.json: No such file or directory"},
      {PLOVREST_SIM_PATH, {"--scenario-file", Path("report.json"), "--show-record"}, kBadFile, "report.json: line 1, col"},
      {PLOVREST_SIM_PATH, {"--scenario-file", Path("report.json"), "--write-record", Path("out.bin")}, kBadFile,
       "report.json: line 1, column 26:"},
  };
  for (const auto& c : cases) {
    const auto r = RunTool(c.binary, c.args);
    EXPECT_EQ(r.status, c.status) << c.expected << ": " << r.err;
    EXPECT_THAT(c.status == 0 ? r.out : r.err, HasSubstr(c.expected));
    EXPECT_TRUE(c.status == 0 || r.out.empty()) << c.expected << ": " << r.out;
  }
  EXPECT_FALSE(std::filesystem::exists(Path("out.bin")));

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

  rapidjson::Document doc;
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

}  // namespace
