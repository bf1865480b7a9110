// Scenario files: steps built on one another, timed monitor events, and
// rejection of bad files with the place of the fault.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Messaging/Topics.h"
#include "scenario/MonitorEvent.h"
#include "scenario/Scenario.h"

namespace {

using ::testing::HasSubstr;

tools::Scenario Parse(const std::string& text) {
  tools::Scenario s;
  std::string error;
  EXPECT_TRUE(tools::ParseScenario(text, "test.json", s, error)) << error;
  return s;
}

std::string ParseError(const std::string& text) {
  tools::Scenario s;
  std::string error;
  EXPECT_FALSE(tools::ParseScenario(text, "test.json", s, error)) << text;
  return error;
}

TEST(Scenario, StepsBuildOnThePreviousOneUnlessResetOrUse) {
  const tools::Scenario s = Parse(R"({
    "steps": [
      {"label": "first", "hold": 2, "record": {"typeId": 16, "ddp": {"acmod": 7, "dialnorm": 24}}},
      {"hold": 1.5, "record": {"ddp": {"dialnorm": 31}}},
      {"reset": true, "record": {"typeId": "pcm"}},
      {"use": "ac4", "record": {"speakerConfig": 5}}
    ]})");
  ASSERT_EQ(s.steps.size(), 4u);
  EXPECT_EQ(s.steps[0].label, "first");
  EXPECT_EQ(s.steps[1].record.md.ddp.acmod, 7);  // inherited
  EXPECT_EQ(s.steps[1].record.md.ddp.dialnorm, 31);
  EXPECT_EQ(s.steps[0].record.md.ddp.dialnorm, 24);
  EXPECT_EQ(s.steps[2].record.typeId, 0);
  EXPECT_EQ(s.steps[2].record.md.ddp.acmod, 0);  // reset
  EXPECT_EQ(s.steps[2].record.protoVer, kRecordProtoVersion);
  EXPECT_EQ(s.steps[3].record.typeId, stream_type::kAc4);  // from the built-in
  EXPECT_EQ(s.steps[3].record.md.ac4.presentationCount, 2);
  EXPECT_EQ(s.steps[3].record.speakerConfig, 5);
  EXPECT_EQ(s.steps[3].label, "ac4");
  EXPECT_DOUBLE_EQ(s.steps[2].hold, 5.0);  // default
  EXPECT_DOUBLE_EQ(s.CycleSeconds(), 2 + 1.5 + 5 + 5);
}

TEST(Scenario, StepAtLoopsOverTheHoldTimes) {
  const tools::Scenario s = Parse(R"({"steps": [{"hold": 2}, {"hold": 1}, {"hold": 3}]})");
  const struct {
    double t;
    std::size_t step;
  } cases[] = {{0, 0}, {1.99, 0}, {2, 1}, {2.5, 1}, {3, 2}, {5.99, 2}, {6, 0}, {8.5, 1}, {600, 0}};
  for (const auto& c : cases) EXPECT_EQ(s.StepAt(c.t), c.step) << "t=" << c.t;
}

TEST(Scenario, EventsAreSortedByTimeAndKeepTheirText) {
  const tools::Scenario s = Parse(R"({
    "record": {},
    "events": [
      {"at": 5, "event": "zoom off"},
      {"at": 0, "event": "zoom on"},
      {"at": 2.5, "peer": "appserver", "topic": "AppPresetConfiguration", "payload": {"Preset": 3}},
      {"at": 2.5, "peer": "hbmon", "topic": "HbCustom", "payload": "plain text"}
    ]})");
  ASSERT_EQ(s.events.size(), 4u);
  EXPECT_EQ(s.events[0].text, "zoom on");
  EXPECT_EQ(s.events[0].message.topic, topic::kHwmDlbZoom);
  EXPECT_EQ(s.events[1].message.peer, tools::Peer::AppServer);
  EXPECT_EQ(s.events[1].message.payload, R"({"Preset":3})");
  EXPECT_EQ(s.events[2].message.payload, "plain text");  // same time: file order kept
  EXPECT_EQ(s.events[3].message.topic, topic::kHwmDolbyDecodeStop);
  EXPECT_DOUBLE_EQ(s.events[3].at, 5);
}

struct BadScenario {
  const char* name;
  const char* text;
  const char* expected;
};

class ScenarioReject : public ::testing::TestWithParam<BadScenario> {};

TEST_P(ScenarioReject, SaysWhere) {
  const std::string error = ParseError(GetParam().text);
  EXPECT_THAT(error, HasSubstr("test.json: "));
  EXPECT_THAT(error, HasSubstr(GetParam().expected));
}

// Nesting is parsed without recursion and bounded: a megabyte of brackets is
// a syntax error, not a stack overflow; 65 levels are refused by name.
const std::string kMegabyteOfBrackets(1 << 20, '[');
const std::string kTooDeep = R"({"record":{"raw":)" + std::string(63, '[') + std::string(63, ']') + "}}";

const BadScenario kBadScenarios[] = {
    {"MegabyteOfBrackets", kMegabyteOfBrackets.c_str(), "line 1, column 1048577: "},
    {"TooDeep", kTooDeep.c_str(), "nested deeper than 64 levels"},
    {"Syntax", "{\n  \"record\": {\n    \"typeId\": 16\n    \"mdType\": 1\n  }\n}", "line 4, column 5: Missing a comma"},
    {"NotAnObject", "[1]", "a scenario is a JSON object, found an array"},
    {"UnknownTopLevel", R"({"record":{},"loop":true})", "loop: unknown field"},
    {"NeitherRecordNorSteps", R"({"description":"x"})", "give either \"record\" or \"steps\""},
    {"BothRecordAndSteps", R"({"record":{},"steps":[{}]})", "give either \"record\" or \"steps\""},
    {"BadRecordField", R"({"record":{"ddp":{"dialnrom":3}}})", "record.ddp.dialnrom: unknown field (did you mean \"dialnorm\"?)"},
    {"BadStepField", R"({"steps":[{},{"record":{"ac4":{"presentations":[{"level":300}]}}}]})",
     "steps[1].record.ac4.presentations[0].level: 300 is out of range"},
    {"EmptySteps", R"({"steps":[]})", "steps: expected a non-empty array"},
    {"UnknownStepField", R"({"steps":[{"wait":3}]})", "steps[0].wait: unknown field"},
    {"ZeroHold", R"({"steps":[{"hold":0}]})", "steps[0].hold: expected a number of seconds above 0"},
    {"NegativeHold", R"({"steps":[{"hold":-1}]})", "steps[0].hold: expected a number of seconds"},
    {"UnknownUse", R"({"steps":[{"use":"mp3"}]})", "steps[0].use: no built-in scenario \"mp3\""},
    {"UseAndReset", R"({"steps":[{"use":"ddp","reset":true}]})", "\"use\" and \"reset\" exclude each other"},
    {"ResetNotBool", R"({"steps":[{"reset":1}]})", "steps[0].reset: expected true or false"},
    {"EventWithoutTime", R"({"record":{},"events":[{"event":"zoom on"}]})", "events[0].at: missing"},
    {"EventNegativeTime", R"({"record":{},"events":[{"at":-2,"event":"zoom on"}]})", "events[0].at: expected a number of seconds from 0"},
    {"EventUnknown", R"({"record":{},"events":[{"at":1,"event":"zoom maybe"}]})", "events[0].event: 'zoom maybe': expected on or off"},
    {"EventUnknownPeer", R"({"record":{},"events":[{"at":1,"peer":"decoder","topic":"X","payload":{}}]})",
     "events[0].peer: expected \"hwm\", \"hbmon\" or \"appserver\""},
    {"EventMixedForms", R"({"record":{},"events":[{"at":1,"event":"procs","topic":"X"}]})",
     "events[0]: give either \"event\" or \"peer\", \"topic\" and \"payload\""},
    {"EventNoPayload", R"({"record":{},"events":[{"at":1,"peer":"hwm","topic":"X"}]})", "events[0].payload: missing"},
};

INSTANTIATE_TEST_SUITE_P(Files, ScenarioReject, ::testing::ValuesIn(kBadScenarios),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ScenarioFile, MissingFileNamesThePathAndReason) {
  tools::Scenario s;
  std::string error;
  EXPECT_FALSE(tools::LoadScenarioFile("/nonexistent/dir/x.json", s, error));
  EXPECT_THAT(error, HasSubstr("/nonexistent/dir/x.json: No such file or directory"));
  EXPECT_FALSE(tools::LoadScenarioFile("/tmp", s, error));
  EXPECT_THAT(error, HasSubstr("/tmp: is a directory"));
}

// ---- monitor events

struct EventCase {
  const char* text;
  tools::Peer peer;
  const char* topic;
  const char* payload;
  const char* latch;
};

class MonitorEvents : public ::testing::TestWithParam<EventCase> {};

TEST_P(MonitorEvents, BecomeTheMessageOfTheirPeer) {
  tools::MonitorMessage m;
  std::string error;
  ASSERT_TRUE(tools::ParseMonitorEvent(GetParam().text, m, error)) << error;
  EXPECT_EQ(m.peer, GetParam().peer);
  EXPECT_EQ(m.topic, GetParam().topic);
  EXPECT_EQ(m.payload, GetParam().payload);
  EXPECT_EQ(m.latch, GetParam().latch);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, MonitorEvents,
    ::testing::Values(
        EventCase{"zoom on", tools::Peer::HardwareMonitor, "HwmDlbZoom", "{}", "select"},
        EventCase{"zoom off", tools::Peer::HardwareMonitor, "HwmDolbyDecodeStop", "{}", "select"},
        EventCase{"preset on", tools::Peer::HardwareMonitor, "HwmDolbyPreset", "{}", "select"},
        EventCase{"preset off", tools::Peer::HardwareMonitor, "HwmDolbyDecodeStop", "{}", "select"},
        EventCase{"decode stop", tools::Peer::HardwareMonitor, "HwmDolbyDecodeStop", "{}", "select"},
        EventCase{"app-preset", tools::Peer::AppServer, "AppPresetConfiguration", "{}", "select"},
        EventCase{"lines 9,10,1000", tools::Peer::HardwareMonitor, "HwmDlbZoomVideoLines",
                  R"({"VidLnZP":9,"VidLnNextToZP":10,"Ed2MAFactor":1000})", "lines"},
        EventCase{"  lines 1 2   3 ", tools::Peer::HardwareMonitor, "HwmDlbZoomVideoLines",
                  R"({"VidLnZP":1,"VidLnNextToZP":2,"Ed2MAFactor":3})", "lines"},
        EventCase{"decoder processing", tools::Peer::ProcessMonitor, "HbSysStatusEvent",
                  R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Processing"}})", "system"},
        EventCase{"decoder stopped", tools::Peer::ProcessMonitor, "HbSysStatusEvent",
                  R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Stopped"}})", "system"},
        EventCase{"system fault", tools::Peer::ProcessMonitor, "HbSysStatusEvent",
                  R"({"SystemStatus":"Fault","DolbyDecoder":{"State":"Stopped"}})", "system"},
        EventCase{"appcmd 9", tools::Peer::ProcessMonitor, "HbAppCmd", R"({"Command":9})", ""},
        EventCase{"appcmd -1", tools::Peer::ProcessMonitor, "HbAppCmd", R"({"Command":-1})", ""}));

TEST(MonitorEvents, SignalAndProcessStatusCarryWhatTheParsersRead) {
  tools::MonitorMessage m;
  std::string error;
  ASSERT_TRUE(tools::ParseMonitorEvent("signal 2", m, error)) << error;
  EXPECT_EQ(m.topic, topic::kHwmSignalStatus);
  EXPECT_THAT(m.payload, HasSubstr(R"("Slot":2)"));
  EXPECT_THAT(m.payload, HasSubstr(R"("Type":1)"));
  EXPECT_THAT(m.payload, HasSubstr(R"("Status":1)"));
  ASSERT_TRUE(tools::ParseMonitorEvent("procs", m, error)) << error;
  EXPECT_EQ(m.topic, topic::kHbProcsStatus);
  EXPECT_THAT(m.payload, HasSubstr(R"("SystemStatus":"Okay")"));
  EXPECT_THAT(m.payload, HasSubstr(R"("FpMeters":{)"));
}

TEST(MonitorEvents, BadTextsAreRefusedWithTheReason) {
  const struct {
    const char* text;
    const char* expected;
  } cases[] = {
      {"", "empty event"},
      {"zoom", "expected \"zoom on|off\""},
      {"zoom sideways", "expected on or off after \"zoom\""},
      {"decode go", "expected \"decode stop\""},
      {"lines 9 10", "expected \"lines ZP NEXT FACTOR\""},
      {"lines 9 -10 1000", "'-10' is not an unsigned 32-bit number"},
      {"lines 9 10 4294967296", "'4294967296' is not an unsigned 32-bit number"},
      {"signal 4", "slot from 0 to 3"},
      {"decoder idle", "expected processing or stopped"},
      {"system ok", "expected \"system fault\""},
      {"appcmd nine", "'nine' is not a 32-bit integer command"},
      {"reboot", "unknown event \"reboot\""},
  };
  for (const auto& c : cases) {
    tools::MonitorMessage m;
    std::string error;
    EXPECT_FALSE(tools::ParseMonitorEvent(c.text, m, error)) << c.text;
    EXPECT_THAT(error, HasSubstr(c.expected)) << c.text;
  }
}

}  // namespace
