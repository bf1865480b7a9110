// The scenario library: record encoder and read-back, scenario files, monitor events.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <cstring>

#include "Shared/Topics.h"
#include "common/JsonText.h"
#include "record/RecordEncoder.h"
#include "record/RecordReadBack.h"
#include "scenario/BuiltinScenarios.h"
#include "scenario/MonitorEvent.h"
#include "scenario/Scenario.h"

namespace {

using tools::ApplyRecordFields;
using tools::EmptyRecord;
using ::testing::HasSubstr;

// Applies a record description to `rec`; returns the encoder's error, "" when accepted.
std::string Apply(const std::string& json, kv_dolby_metadata_t& rec) {
  rapidjson::Document doc;
  std::string error;
  EXPECT_TRUE(tools::ParseJsonText(json, doc, error)) << error;
  return ApplyRecordFields(doc, "record", rec, error) ? "" : error;
}

// Fields land where the renderers read them (tests/golden renders records this encoder builds).
TEST(Encoder, TextClearsTheRestOfItsFieldAndIntegersTheirWidthOnly) {
  kv_dolby_metadata_t rec = EmptyRecord();
  ASSERT_EQ(Apply(R"({"dolbye":{"programConfig":"a long configuration","bitDepth":16}})", rec), "");
  ASSERT_EQ(Apply(R"({"dolbye":{"programConfig":"2+2","frameRate":65535}})", rec), "");
  EXPECT_STREQ(rec.md.dolbye.programConfig, "2+2");
  for (std::size_t i = 3; i < sizeof rec.md.dolbye.programConfig; ++i) EXPECT_EQ(rec.md.dolbye.programConfig[i], 0);
  EXPECT_EQ(rec.md.dolbye.frameRate, 65535);
  EXPECT_EQ(rec.md.dolbye.bitDepth, 16);  // the neighbour of frameRate is untouched
}

// Bad field descriptions are refused with the path of the field.
TEST(Encoder, RefusesBadFieldsNamingThePath) {
  const struct { const char* json; const char* expected; } cases[] = {
    {R"({"ddp":{"acmode":7}})", "record.ddp.acmode: unknown field (did you mean \"acmod\"?)"},
    {R"({"ddp":{"bedChannels":[1,256]}})", "record.ddp.bedChannels[1]: 256 is out of range"},
    {R"({"dzPair":-1})", "record.dzPair: -1 is out of range for an unsigned 32-bit integer"},
    {R"({"ed2":{"bedObjectCount":40000}})", "record.ed2.bedObjectCount: 40000 is out of range"},
    {R"({"typeId":2147483648})", "record.typeId: 2147483648 is out of range"},
    {R"({"typeId":18446744073709551615})", "record.typeId: 18446744073709551615 is out of range"},
    {R"({"ddp":{"acmod":7.5}})", "record.ddp.acmod: expected a signed 32-bit integer, found 7.5"},
    {R"({"typeId":"mp3"})", "record.typeId: unknown name \"mp3\""},
    {R"({"ddp":{"objects":[{"x":-3.4028236e38}]}})", "x: -3.4028236e38 is out of range for a 32-bit float"},
    {R"({"ddp":{"objects":[{"x":"half"}]}})", "record.ddp.objects[0].x: expected a number"},
    {R"({"ddp":{"objects":[{},{},{},{},{},{},{},{},{},{},{},{},{},{},{},{}]}})",
     "record.ddp.objects: 16 elements, the record holds 15"},
    {R"({"ddp":{"bedChannels":1}})", "record.ddp.bedChannels: expected an array, found a number"},
    {R"({"ac4":{"presentations":[5]}})", "record.ac4.presentations[0]: expected an object"},
    {R"({"ed2":{"presentations":[{"name":"0123456789012345678901234567890123456789012345678901234567890123"}]}})",
     "record.ed2.presentations[0].name: text of 64 bytes does not fit (at most 63)"},
    {R"({"dolbye":{"programConfig":"a\u0000b"}})", "record.dolbye.programConfig: the text contains a NUL"},
    {R"({"ddp":{},"ac4":{}})", "both \"ddp\" and \"ac4\" are given"},
    {R"({"raw":[{"offset":33703,"hex":"0102"}]})", "record.raw[0]: 2 bytes at offset 33703 run past"},
    {R"({"raw":[{"offset":0,"hex":"zz"}]})", "record.raw[0].hex: 'zz' is not a hexadecimal byte"},
    {R"({"raw":[{"offset":0,"hex":"abc"}]})", "record.raw[0].hex: odd number"},
    {R"({"raw":[{"offset":0,"bytes":"ab"}]})", "record.raw[0].bytes: unknown field"},
  };
  for (const auto& c : cases) {
    kv_dolby_metadata_t rec = EmptyRecord();
    EXPECT_THAT(Apply(c.json, rec), HasSubstr(c.expected));
  }
}

TEST(ReadBack, GivesTheFieldsOfTheSelectedBlockByName) {
  kv_dolby_metadata_t rec = EmptyRecord();
  rec.typeId = stream_type::kAc4;
  rec.mdType = DLB_PADC_UI_MD_TYPE_AC4;
  rec.md.ac4.presentationCount = 2;
  rec.md.ac4.presentations[1].dialogGain = 0.1f;
  rec.md.ac4.presentations[1].meGain = -FLT_MAX;  // the shortest text reads back as itself
  std::strcpy(rec.md.ac4.substreams[2].channelConfig, "5.1");
  rapidjson::Document doc;
  tools::ReadBackRecord(rec, doc);
  EXPECT_EQ(tools::CompactJson(doc),
            R"({"protoVer":19,"typeId":24,"mdType":3,"ac4":{"presentationCount":2,)"
            R"("presentations":[null,{"dialogGain":0.1,"meGain":-3.4028235e38}],)"
            R"("substreams":[null,null,{"channelConfig":"5.1"}]}})");
}

// Every step of every built-in scenario survives read-back and re-encoding.
TEST(BuiltinScenarios, EveryStepRoundTrips) {
  const auto names = tools::BuiltinScenarioNames();
  ASSERT_THAT(names, ::testing::IsSupersetOf({"pcm", "dd", "ddp", "dolby-e", "ac4", "ed2", "all", "flip"}));
  for (const auto& name : names) {
    tools::Scenario scenario;
    std::string error;
    ASSERT_TRUE(tools::LoadBuiltinScenario(name, scenario, error)) << error;
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
      rapidjson::Document description;
      tools::ReadBackRecord(scenario.steps[i].record, description);
      EXPECT_FALSE(description.HasMember("raw")) << name << " step " << i;
      kv_dolby_metadata_t rebuilt = EmptyRecord();
      ASSERT_TRUE(ApplyRecordFields(description, "record", rebuilt, error)) << error;
      EXPECT_EQ(std::memcmp(&rebuilt, &scenario.steps[i].record, sizeof rebuilt), 0) << name << " step " << i;
    }
  }
}

tools::Scenario Parse(const std::string& text) {
  tools::Scenario s;
  std::string error;
  EXPECT_TRUE(tools::ParseScenario(text, "test.json", s, error)) << error;
  return s;
}

TEST(Scenario, StepsBuildOnThePreviousOneUnlessResetOrUse) {
  const tools::Scenario s = Parse(R"({"steps": [
      {"label": "first", "hold": 2, "record": {"typeId": 16, "ddp": {"acmod": 7, "dialnorm": 24}}},
      {"hold": 1.5, "record": {"ddp": {"dialnorm": 31}}}, {"reset": true, "record": {"typeId": "pcm"}},
      {"use": "ac4", "record": {"speakerConfig": 5}}]})");
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
  const struct { double t; std::size_t step; } cases[] = {{0, 0}, {1.99, 0}, {2, 1}, {2.5, 1}, {3, 2}, {5.99, 2}, {6, 0}, {8.5, 1}, {600, 0}};
  for (const auto& c : cases) EXPECT_EQ(s.StepAt(c.t), c.step) << "t=" << c.t;
}

TEST(Scenario, EventsAreSortedByTimeAndKeepTheirText) {
  const tools::Scenario s = Parse(R"({"record": {}, "events": [{"at": 5, "event": "zoom off"}, {"at": 0, "event": "zoom on"},
      {"at": 2.5, "peer": "appserver", "topic": "AppPresetConfiguration", "payload": {"Preset": 3}},
      {"at": 2.5, "peer": "hbmon", "topic": "HbCustom", "payload": "plain text"}]})");
  ASSERT_EQ(s.events.size(), 4u);
  EXPECT_EQ(s.events[0].text, "zoom on");
  EXPECT_EQ(s.events[1].message.peer, tools::Peer::AppServer);
  EXPECT_EQ(s.events[1].message.payload, R"({"Preset":3})");
  EXPECT_EQ(s.events[2].message.payload, "plain text");  // same time: file order kept
  EXPECT_EQ(s.events[3].text, "zoom off");
  EXPECT_DOUBLE_EQ(s.events[3].at, 5);
}

// Bad files are refused saying where; nesting is bounded without recursion (a megabyte of brackets is a
// syntax error, not a stack overflow; 65 levels are refused by name).
TEST(Scenario, BadFilesSayWhere) {
  const std::string megabyteOfBrackets(1 << 20, '[');
  const std::string tooDeep = R"({"record":{"raw":)" + std::string(63, '[') + std::string(63, ']') + "}}";
  const struct { std::string text; const char* expected; } cases[] = {
    {megabyteOfBrackets, "line 1, column 1048577: "},
    {tooDeep, "nested deeper than 64 levels"},
    {"{\n  \"record\": {\n    \"typeId\": 16\n    \"mdType\": 1\n  }\n}", "line 4, column 5: Missing a comma"},
    {"[1]", "a scenario is a JSON object, found an array"},
    {R"({"record":{},"loop":true})", "loop: unknown field"},
    {R"({"description":"x"})", "give either \"record\" or \"steps\""},
    {R"({"record":{"ddp":{"dialnrom":3}}})", "record.ddp.dialnrom: unknown field (did you mean \"dialnorm\"?)"},
    {R"({"steps":[{},{"record":{"ac4":{"presentations":[{"level":300}]}}}]})",
     "steps[1].record.ac4.presentations[0].level: 300 is out of range"},
    {R"({"steps":[]})", "steps: expected a non-empty array"},
    {R"({"steps":[{"wait":3}]})", "steps[0].wait: unknown field"},
    {R"({"steps":[{"hold":0}]})", "steps[0].hold: expected a number of seconds above 0"},
    {R"({"steps":[{"use":"mp3"}]})", "steps[0].use: no built-in scenario \"mp3\""},
    {R"({"steps":[{"use":"ddp","reset":true}]})", "\"use\" and \"reset\" exclude each other"},
    {R"({"steps":[{"reset":1}]})", "steps[0].reset: expected true or false"},
    {R"({"record":{},"events":[{"event":"zoom on"}]})", "events[0].at: missing"},
    {R"({"record":{},"events":[{"at":-2,"event":"zoom on"}]})", "events[0].at: expected a number of seconds from 0"},
    {R"({"record":{},"events":[{"at":1,"event":"zoom maybe"}]})", "events[0].event: 'zoom maybe': expected on or off"},
    {R"({"record":{},"events":[{"at":1,"peer":"decoder","topic":"X","payload":{}}]})",
     "events[0].peer: expected \"hwm\", \"hbmon\" or \"appserver\""},
    {R"({"record":{},"events":[{"at":1,"event":"procs","topic":"X"}]})",
     "events[0]: give either \"event\" or \"peer\", \"topic\" and \"payload\""},
    {R"({"record":{},"events":[{"at":1,"peer":"hwm","topic":"X"}]})", "events[0].payload: missing"},
  };
  for (const auto& c : cases) {
    tools::Scenario s;
    std::string error;
    EXPECT_FALSE(tools::ParseScenario(c.text, "test.json", s, error)) << c.text.substr(0, 80);
    EXPECT_THAT(error, HasSubstr(c.expected)) << c.text.substr(0, 80);
  }
  tools::Scenario s;
  std::string error;
  EXPECT_FALSE(tools::LoadScenarioFile("/tmp", s, error));  // a missing file: tools_cli_test
  EXPECT_THAT(error, HasSubstr("/tmp: is a directory"));
}

// Event texts become their peer's message, or are refused with the reason (empty topic).
TEST(MonitorEvents, TextsBecomeTheMessageOfTheirPeerOrAreRefused) {
  using tools::Peer;
  const struct { const char* text; Peer peer; const char* topic; const char* payloadOrError; const char* latch; } cases[] = {
      {"zoom off", Peer::HardwareMonitor, "HwmDolbyDecodeStop", "{}", "select"},
      {"preset off", Peer::HardwareMonitor, "HwmDolbyDecodeStop", "{}", "select"},
      {"app-preset", Peer::AppServer, "AppPresetConfiguration", "{}", "select"},
      {"lines 9,10,1000", Peer::HardwareMonitor, "HwmDlbZoomVideoLines", R"({"VidLnZP":9,"VidLnNextToZP":10,"Ed2MAFactor":1000})", "lines"},
      {"  lines 1 2   3 ", Peer::HardwareMonitor, "HwmDlbZoomVideoLines", R"({"VidLnZP":1,"VidLnNextToZP":2,"Ed2MAFactor":3})", "lines"},
      {"decoder stopped", Peer::ProcessMonitor, "HbSysStatusEvent", R"({"SystemStatus":"Okay","DolbyDecoder":{"State":"Stopped"}})", "system"},
      {"system fault", Peer::ProcessMonitor, "HbSysStatusEvent", R"({"SystemStatus":"Fault","DolbyDecoder":{"State":"Stopped"}})", "system"},
      {"appcmd -1", Peer::ProcessMonitor, "HbAppCmd", R"({"Command":-1})", ""},
      {"", {}, "", "empty event", ""},
      {"zoom", {}, "", "expected \"zoom on|off\"", ""},
      {"zoom sideways", {}, "", "expected on or off after \"zoom\"", ""},
      {"decode go", {}, "", "expected \"decode stop\"", ""},
      {"lines 9 -10 1000", {}, "", "'-10' is not an unsigned 32-bit number", ""},
      {"lines 9 10 4294967296", {}, "", "'4294967296' is not an unsigned 32-bit number", ""},
      {"signal 4", {}, "", "slot from 0 to 3", ""},
      {"decoder idle", {}, "", "expected processing or stopped", ""},
      {"system ok", {}, "", "expected \"system fault\"", ""},
      {"appcmd nine", {}, "", "'nine' is not a 32-bit integer command", ""},
      {"reboot", {}, "", "unknown event \"reboot\"", ""},
  };
  for (const auto& c : cases) {
    tools::MonitorMessage m;
    std::string error;
    const bool good = *c.topic != '\0';
    ASSERT_EQ(tools::ParseMonitorEvent(c.text, m, error), good) << c.text << ": " << error;
    if (!good) {
      EXPECT_THAT(error, HasSubstr(c.payloadOrError)) << c.text;
      continue;
    }
    EXPECT_EQ(m.peer, c.peer) << c.text;
    EXPECT_EQ(m.topic, c.topic);
    EXPECT_EQ(m.payload, c.payloadOrError);
    EXPECT_EQ(m.latch, c.latch);
  }
  // Signal and process status carry what the daemon's parsers read.
  tools::MonitorMessage m;
  std::string error;
  ASSERT_TRUE(tools::ParseMonitorEvent("signal 2", m, error)) << error;
  EXPECT_EQ(m.topic, topic::kHwmSignalStatus);
  for (const char* part : {R"("Slot":2)", R"("Type":1)", R"("Status":1)"}) EXPECT_THAT(m.payload, HasSubstr(part));
  ASSERT_TRUE(tools::ParseMonitorEvent("procs", m, error)) << error;
  EXPECT_EQ(m.topic, topic::kHbProcsStatus);
  for (const char* part : {R"("SystemStatus":"Okay")", R"("FpMeters":{)"}) EXPECT_THAT(m.payload, HasSubstr(part));
}

}  // namespace
