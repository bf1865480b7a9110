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

// Bad arguments are refused naming the option, with nothing on stdout; help
// and the list of built-in scenarios go to stdout with status 0.
TEST(Cli, BadArgumentsAndHelp) {
  const struct { const char* binary; std::vector<std::string> args; const char* expected; } calls[] = {
    {PLOVREST_SIM_PATH, {"--speed", "3"}, "unknown option '--speed'"},
    {PLOVREST_SIM_PATH, {"ddp"}, "unexpected argument 'ddp'"},
    {PLOVREST_SIM_PATH, {"--rate", "fast"}, "--rate: 'fast' is not a number"},
    {PLOVREST_SIM_PATH, {"--rate=0"}, "--rate: 0 is out of range (0.1 to 1000)"},
    {PLOVREST_SIM_PATH, {"--duration"}, "option --duration needs a value"},
    {PLOVREST_SIM_PATH, {"--count", "-4"}, "--count: -4 is out of range"},
    {PLOVREST_SIM_PATH, {"--at", "zoom on"}, "--at: expected SECONDS:EVENT"},
    {PLOVREST_SIM_PATH, {"--at", "3:warp"}, "--at: 'warp': unknown event"},
    {PLOVREST_SIM_PATH, {"--scenario", "mp3"}, "--scenario: no built-in scenario \"mp3\""},
    {PLOVREST_SIM_PATH, {"--scenario", "ddp", "--scenario-file", "x.json"}, "exclude each other"},
    {PLOVREST_SIM_PATH, {"--step", "2"}, "--step: only with --write-record"},
    {PLOVREST_SIM_PATH, {"--scenario", "flip", "--show-record", "--step", "3"}, "--step: 3 is past the last step of 'flip' (2)"},
    {PLOVREST_SIM_PATH, {"--no-monitors", "--zoom", "on"}, "--zoom: the monitors are off"},
    {PLOVREST_SIM_PATH, {"--no-decoder", "--rate", "5"}, "--rate: the decoder is off"},
    {PLOVREST_SIM_PATH, {"--no-decoder", "--no-monitors"}, "nothing is left to play"},
    {PLOVREST_SIM_PATH, {"--endpoint", "daemon=tcp://127.0.0.1:1"}, "--endpoint: 'daemon' is not one of"},
    {PLOVREST_SIM_PATH, {"--replay", "x.cap", "--scenario", "ddp"}, "--scenario: not with --replay"},
    {PLOVREST_TAP_PATH, {"--view", "tree"}, "--view: 'tree' is not one of: summary, table, pretty, raw, json"},
    {PLOVREST_TAP_PATH, {"--count", "x"}, "--count: 'x' is not a whole number"},
    {PLOVREST_TAP_PATH, {"--jsonl", "--stats"}, "--jsonl, --stats and --view exclude each other"},
    {PLOVREST_TAP_PATH, {"--interval", "1"}, "--interval: only with --stats"},
    {PLOVREST_TAP_PATH, {"--fields"}, "--fields: only with --decode FILE"},
    {PLOVREST_TAP_PATH, {"--decode", "x.bin", "--count", "2"}, "--count: not with --decode"},
    {PLOVREST_TAP_PATH, {"--decode", "x.bin", "--fields", "--jsonl"}, "--jsonl: not with --fields"},
    {PLOVREST_TAP_PATH, {"--endpoint", "localhost"}, "--endpoint: 'localhost' is not an endpoint URL"},
    {PLOVREST_SIM_PATH, {"--help"}, "--write-record FILE"},
    {PLOVREST_TAP_PATH, {"-h"}, "--decode FILE"},
    {PLOVREST_SIM_PATH, {"--list"}, " flip "},
  };
  for (const auto& c : calls) {
    const auto r = RunTool(c.binary, c.args);
    const bool help = c.args[0] == "--help" || c.args[0] == "-h" || c.args[0] == "--list";
    EXPECT_EQ(r.status, help ? 0 : kBadInput) << c.expected << ": " << r.err;
    EXPECT_THAT(help ? r.out : r.err, HasSubstr(c.expected));
    EXPECT_TRUE(help || r.out.empty()) << c.expected << ": " << r.out;
  }
}

class ToolFiles : public ::testing::Test {
 protected:
  void SetUp() override { mDir = harness::MakeTempDir(); }
  void TearDown() override { std::filesystem::remove_all(mDir); }
  std::string Path(const std::string& name) const { return mDir + "/" + name; }
  std::string mDir;
};

// A missing file, a file of the wrong kind and a bad scenario file: the same
// status in both tools, the file named, nothing on stdout and no record written.
TEST_F(ToolFiles, BothToolsRefuseMissingAndBadFilesAlike) {
  harness::WriteText(Path("short.bin"), std::string(100, '\0'));
  harness::WriteText(Path("report.json"), "{\"record\": {\"typeId\": 16,}}");
  const struct { const char* binary; std::vector<std::string> args; int status; std::string expected; } cases[] = {
      {PLOVREST_TAP_PATH, {"--decode", Path("short.bin")}, kBadFile,
       "--decode " + Path("short.bin") + ": 100 bytes; a decoder record has 33704"},
      {PLOVREST_SIM_PATH, {"--replay", Path("short.bin")}, kBadFile, "not a capture file"},
      {PLOVREST_TAP_PATH, {"--capture", Path("short.bin"), "--count", "1"}, kBadFile, "not a capture file"},
      {PLOVREST_TAP_PATH, {"--decode", Path("none.bin")}, kNoFile, "none.bin: No such file or directory"},
      {PLOVREST_SIM_PATH, {"--replay", Path("none.bin")}, kNoFile, "none.bin: No such file or directory"},
      {PLOVREST_SIM_PATH, {"--scenario-file", Path("none.json")}, kNoFile, "none.json: No such file or directory"},
      {PLOVREST_SIM_PATH, {"--scenario-file", Path("report.json"), "--show-record"}, kBadFile, "report.json: line 1, column 26:"},
      {PLOVREST_SIM_PATH, {"--scenario-file", Path("report.json"), "--write-record", Path("out.bin")}, kBadFile,
       "report.json: line 1, column 26:"},
  };
  for (const auto& c : cases) {
    const auto r = RunTool(c.binary, c.args);
    EXPECT_EQ(r.status, c.status) << c.args[0] << ": " << r.err;
    EXPECT_THAT(r.err, HasSubstr(c.expected));
    EXPECT_EQ(r.out, "");
  }
  EXPECT_FALSE(std::filesystem::exists(Path("out.bin"))) << "no record is written from a bad file";

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
