// The two binaries' refusals and --decode for scripts (scenario -> record -> views: the reference pages).

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>
#include <tuple>
#include <sstream>

#include "DaemonHarness.h"
#include "sim/SimOptions.h"
#include "tap/TapOptions.h"
#include "common/JsonText.h"
#include "rapidjson/document.h"

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using harness::RunTool;

constexpr int kFailure = 1;
constexpr int kBadInput = 2;  // the exit statuses both tools share (tools/common/ExitStatus.h)
constexpr int kNoFile = 4;
constexpr int kBadFile = 5;
const char* const kSim = PLOVREST_SIM_PATH;
const char* const kTap = PLOVREST_TAP_PATH;

// Every option a tool's parser takes is described in its --help.
TEST(ToolHelp, NamesEveryOptionTheParserTakes) {
  const std::pair<const char*, const std::vector<tools::OptionSpec>*> tools[] = {
      {kSim, &sim::SimOptionSpecs()}, {kTap, &tap::TapOptionSpecs()}};
  for (const auto& [binary, specs] : tools) {
    const harness::ToolResult help = RunTool(binary, {"--help"});
    EXPECT_EQ(help.status, 0) << binary;
    for (const tools::OptionSpec& spec : *specs) {
      EXPECT_THAT(help.out, HasSubstr("--" + std::string(spec.longName))) << binary;
    }
  }
}

// Text with roff escapes and font changes undone and white space runs made one space.
std::string Plain(std::string text) {
  text = std::regex_replace(text, std::regex(R"(\\f[BIRP])"), "");
  text = std::regex_replace(text, std::regex(R"(\\-)"), "-");
  return std::regex_replace(text, std::regex(R"(\s+)"), " ");
}

// Each tool's man page names on its option lines exactly the options the parser takes, and gives the exit
// statuses in the words of --help, so that neither lags the other.
TEST(ToolHelp, ManPageMatchesHelp) {
  const std::tuple<const char*, const std::vector<tools::OptionSpec>*, const char*> tools[] = {
      {kSim, &sim::SimOptionSpecs(), "plovrest-sim.1"}, {kTap, &tap::TapOptionSpecs(), "plovrest-tap.1"}};
  for (const auto& [binary, specs, page] : tools) {
    const std::string man = harness::ReadText(std::string(PLOVREST_SOURCE_DIR "/packaging/") + page);
    std::set<std::string> expected, described;
    for (const tools::OptionSpec& spec : *specs) {
      expected.insert("--" + std::string(spec.longName));
      if (spec.shortName != 0) expected.insert(std::string("-") + spec.shortName);
    }
    const std::regex option(R"((^|[ "])(--?[a-z][a-z-]*))");
    for (std::size_t at = man.find(".TP\n"); at != std::string::npos; at = man.find(".TP\n", at + 1)) {
      const std::string line = Plain(man.substr(at + 4, man.find('\n', at + 4) - at - 4));
      for (std::sregex_iterator m(line.begin(), line.end(), option), end; m != end; ++m) described.insert((*m)[2]);
    }
    EXPECT_EQ(described, expected) << page;

    const std::string help = RunTool(binary, {"--help"}).out;
    const auto from = help.find("Exit status: ");
    const auto manFrom = man.find(".SH EXIT STATUS\n");
    ASSERT_NE(from, std::string::npos) << binary;
    ASSERT_NE(manFrom, std::string::npos) << page;
    EXPECT_EQ(Plain(man.substr(manFrom + 16, man.find("\n.SH", manFrom + 1) - manFrom - 16)),
              Plain(help.substr(from + 13, help.find("\n\n", from) - from - 13)))
        << page;
  }
}

class ToolFiles : public ::testing::Test {
 protected:
  void SetUp() override { mDir = harness::MakeTempDir(); }
  void TearDown() override { std::filesystem::remove_all(mDir); }
  std::string Path(const std::string& name) const { return mDir + "/" + name; }
  std::string mDir;
};

// Refusals name the option or file, with the shared status and nothing on stdout; help goes to stdout.
TEST_F(ToolFiles, RefuseBadArgumentsAndFiles) {
  harness::WriteText(Path("short.bin"), std::string(100, '\0'));
  harness::WriteText(Path("report.json"), "{\"record\": {\"typeId\": 16,}}");
  harness::WriteText(Path("record.bin"), std::string("\x13\0\0\0", 4) + std::string(33700, '\0'));
  harness::WriteText(Path("cut.cap"), "PLVCAP1\n" + std::string(8 + 33704 + 5, '\0'));
  const struct { const char* binary; std::vector<std::string> args; int status; std::string expected; } cases[] = {
      {kSim, {"--speed", "3"}, kBadInput, "unknown option '--speed'"},
      {kSim, {"ddp"}, kBadInput, "unexpected argument 'ddp'"},
      {kSim, {"--rate", "fast"}, kBadInput, "--rate: 'fast' is not a number"},
      {kSim, {"--rate=0"}, kBadInput, "--rate: 0 is out of range (0.1 to 1000)"},
      {kSim, {"--duration"}, kBadInput, "option --duration needs a value"},
      {kSim, {"--count", "-4"}, kBadInput, "--count: -4 is out of range"},
      {kSim, {"--at", "zoom on"}, kBadInput, "--at: expected SECONDS:EVENT"},
      {kSim, {"--at", "3:warp"}, kBadInput, "--at: 'warp': unknown event"},
      {kSim, {"--scenario", "mp3"}, kBadInput, "--scenario: no built-in scenario \"mp3\""},
      {kSim, {"--scenario", "ddp", "--scenario-file", "x.json"}, kBadInput, "exclude each other"},
      {kSim, {"--step", "2"}, kBadInput, "--step: only with --write-record"},
      {kSim, {"--scenario", "flip", "--show-record", "--step", "3"}, kBadInput, "--step: 3 is past the last step of 'flip' (2)"},
      {kSim, {"--no-monitors", "--zoom", "on"}, kBadInput, "--zoom: the monitors are off"},
      {kSim, {"--no-decoder", "--rate", "5"}, kBadInput, "--rate: the decoder is off"},
      {kSim, {"--no-decoder", "--no-monitors"}, kBadInput, "nothing is left to play"},
      {kSim, {"--endpoint", "daemon=tcp://127.0.0.1:1"}, kBadInput, "--endpoint: 'daemon' is not one of"},
      {kSim, {"--replay", "x.cap", "--scenario", "ddp"}, kBadInput, "--scenario: not with --replay"},
      {kTap, {"--view", "tree"}, kBadInput, "--view: 'tree' is not one of: summary, table, pretty, raw, json"},
      {kTap, {"--count", "x"}, kBadInput, "--count: 'x' is not a whole number"},
      {kTap, {"--jsonl", "--stats"}, kBadInput, "--jsonl, --stats and --view exclude each other"},
      {kTap, {"--interval", "1"}, kBadInput, "--interval: only with --stats"},
      {kTap, {"--fields"}, kBadInput, "--fields: only with --decode FILE"},
      {kTap, {"--decode", "x.bin", "--count", "2"}, kBadInput, "--count: not with --decode"},
      {kTap, {"--decode", "x.bin", "--fields", "--jsonl"}, kBadInput, "--jsonl: not with --fields"},
      {kTap, {"--endpoint", "localhost"}, kBadInput, "--endpoint: 'localhost' is not an endpoint URL"},
      {kTap, {"--record", "2"}, kBadInput, "--record: only with --decode FILE"},
      {kTap, {"--decode", "x.cap", "--record", "3-2"}, kBadInput, "--record: '3-2' is not N or N-M"},
      {kTap, {"--decode", Path("cut.cap"), "--record", "2"}, kBadInput, "--record 2: " + Path("cut.cap") + " holds 1 record(s)"},
      {kTap, {"--capture", Path("x.cap"), "--timeout", "3"}, kBadInput,
       "--capture: the daemon's endpoint carries documents, not decoder records; give the decoder's, --endpoint tcp://169.254.2.3:2002"},
      {kTap, {"--decode", Path("nodir/x.cap")}, kNoFile, "--decode " + Path("nodir/x.cap") + ": no such folder '" + Path("nodir") + "'"},
      {kSim, {"--write-record", Path("nodir/x.bin")}, kFailure, "cannot write " + Path("nodir/x.bin") + ": no such folder"},
      {kSim, {"--scenario-file", Path("record.bin")}, kBadFile, "record.bin: a decoder record file (33704 bytes), not a scenario"},
      {kSim, {"--scenario-file", Path("cut.cap")}, kBadFile, "cut.cap: a capture of decoder records, not a scenario; plovrest-sim --replay"},
      {kSim, {"--help"}, 0, "--write-record FILE"},
      {kTap, {"-h"}, 0, "--decode FILE"},
      {kSim, {"--list"}, 0, " flip "},
      {kTap, {"--decode", Path("short.bin")}, kBadFile, "--decode " + Path("short.bin") + ": 100 bytes; a decoder record has 33704"},
      {kSim, {"--replay", Path("short.bin")}, kBadFile, "not a capture file"},
      {kTap, {"--endpoint", "tcp://127.0.0.1:1", "--capture", Path("short.bin"), "--count", "1"}, kBadFile, "not a capture file"},
      {kTap, {"--decode", Path("none.bin")}, kNoFile, "none.bin: No such file or directory"},
      {kSim, {"--replay", Path("none.bin")}, kNoFile, "none.bin: No such file or directory"},
      {kSim, {"--scenario-file", Path("none.json")}, kNoFile, "none.json: No such file or directory"},
      {kSim, {"--scenario-file", Path("report.json"), "--show-record"}, kBadFile, "report.json: line 1, col"},
      {kSim, {"--scenario-file", Path("report.json"), "--write-record", Path("out.bin")}, kBadFile, "report.json: line 1, column 26:"},
  };
  for (const auto& c : cases) {
    const auto r = RunTool(c.binary, c.args);
    EXPECT_EQ(r.status, c.status) << c.expected << ": " << r.err;
    EXPECT_THAT(c.status == 0 ? r.out : r.err, HasSubstr(c.expected));
    EXPECT_TRUE(c.status == 0 || r.out.empty()) << c.expected << ": " << r.out;
  }
  EXPECT_FALSE(std::filesystem::exists(Path("out.bin")));
  EXPECT_FALSE(std::filesystem::exists(Path("x.cap")));

  harness::WriteText(Path("old.bin"), std::string("\x12\0\0\0", 4) + std::string(33700, '\0'));
  const auto old = RunTool(kTap, {"--decode", Path("old.bin"), "--view", "summary"});
  EXPECT_EQ(old.status, 0);
  EXPECT_THAT(old.err, HasSubstr("protoVer is 18"));
}

// --decode: stdout holds only the documents; --validate and --jsonl name a document cut at a NaN as cut.
TEST_F(ToolFiles, DecodeWritesOnlyDocumentsAndValidates) {
  harness::WriteText(Path("nan.json"), R"({"record": {"typeId": "ddp", "atmosDecode": 1, "ddp": {"atmosPresent": 1,
      "numDynObjects": 1, "objects": [{"x": "nan"}]}}})");
  ASSERT_EQ(RunTool(kSim, {"--scenario", "ed2", "--write-record", Path("ed2.bin")}).status, 0);
  ASSERT_EQ(RunTool(kSim, {"--scenario-file", Path("nan.json"), "--write-record", Path("nan.bin")}).status, 0);

  const auto json = RunTool(kTap, {"--decode", Path("ed2.bin"), "--view", "json", "--validate"});
  ASSERT_EQ(json.status, 0) << json.err;
  rapidjson::Document doc;
  std::string line, error;
  int documents = 0;
  for (std::istringstream lines(json.out); std::getline(lines, line); ++documents)
    EXPECT_TRUE(tools::ParseJsonText(line, doc, error)) << error << "\n" << line;
  EXPECT_EQ(documents, 2);  // the status and the presentation document
  EXPECT_THAT(json.err, HasSubstr("DolbyPAData>>: valid"));

  const auto cut = RunTool(kTap, {"--decode", Path("nan.bin"), "--view", "json", "--validate"});
  EXPECT_EQ(cut.status, 0) << "a cut document is designed behaviour, not an invalid one";
  EXPECT_EQ(cut.out, "");
  EXPECT_THAT(cut.err, ::testing::AllOf(HasSubstr("DolbyMetadataGrp: cut at byte"),
                                          HasSubstr("(AtmosInfo.ExData[0].PaObjects[0].x.Data): a non-finite number")));

  const auto jsonl = RunTool(kTap, {"--decode", Path("nan.bin"), "--jsonl", "--validate"});
  ASSERT_TRUE(tools::ParseJsonText(jsonl.out, doc, error)) << error << jsonl.out;
  EXPECT_STREQ(doc["check"]["kind"].GetString(), "cut");
  EXPECT_TRUE(doc.HasMember("text") && !doc.HasMember("payload"));
}

// A capture cut inside its last record gives its complete records; --record picks them by number, for the
// documents and for --fields (one record, or a range as a scenario with a step per record).
TEST_F(ToolFiles, DecodePicksRecordsOfACutCapture) {
  std::string capture = "PLVCAP1\n";
  for (const char* scenario : {"ddp", "ed2", "pcm"}) {
    ASSERT_EQ(RunTool(kSim, {"--scenario", scenario, "--write-record", Path("one.bin")}).status, 0);
    capture += std::string(8, '\0') + harness::ReadText(Path("one.bin"));
  }
  harness::WriteText(Path("cut.cap"), capture + std::string(100, '\1'));
  const struct { std::vector<std::string> args; std::string expected, absent; } cases[] = {
      {{"--view", "summary"}, "record 3  DolbyMetadataGrp        TypeId 0,", "record 4"},
      {{"--view", "summary", "--record", "2"}, "record 2  DolbyPAData>>", "record 1"},
      {{"--view", "summary", "--record", "2-3"}, "record 3  DolbyMetadataGrp", "record 1"},
      {{"--jsonl", "--record", "3"}, "\"recordNumber\":3,", "\"recordNumber\":2"},
      {{"--fields", "--record", "2"}, "\"description\": \"decoded from " + Path("cut.cap") + ", record 2\"", "\"steps\""},
      {{"--fields", "--record", "1-2"}, "\"label\": \"record 2\"", "\"label\": \"record 3\""},
  };
  for (const auto& c : cases) {
    std::vector<std::string> args = {"--decode", Path("cut.cap")};
    args.insert(args.end(), c.args.begin(), c.args.end());
    const auto r = RunTool(kTap, args);
    EXPECT_EQ(r.status, 0) << c.expected << ": " << r.err;
    EXPECT_THAT(r.out, HasSubstr(c.expected));
    EXPECT_THAT(r.out, Not(HasSubstr(c.absent)));
    EXPECT_THAT(r.err, HasSubstr(": ends inside record 4 (100 of 33712 bytes); using the 3 complete record(s)"));
  }
  // The range's scenario plays record 2 (ED2) as its second step.
  harness::WriteText(Path("steps.json"), RunTool(kTap, {"--decode", Path("cut.cap"), "--fields", "--record", "1-2"}).out);
  const auto step = RunTool(kSim, {"--scenario-file", Path("steps.json"), "--show-record", "--step", "2"});
  EXPECT_EQ(step.status, 0) << step.err;
  EXPECT_THAT(step.out, HasSubstr("\"typeId\": 60,"));
}

}  // namespace
