#include "scenario/Scenario.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "common/JsonText.h"
#include "record/Capture.h"
#include "record/RecordEncoder.h"
#include "scenario/BuiltinScenarios.h"

namespace tools {
namespace {

using rapidjson::Value;

constexpr double kDefaultHold = 5.0;
constexpr double kMaxSeconds = 7 * 24 * 3600.0;

// The text with control characters (a newline in a field name, say) written
// as \xNN, so that an error stays one line.
std::string OneLine(const std::string& text) {
  std::string out;
  for (const unsigned char c : text) {
    if (c >= 0x20 && c != 0x7f) {
      out += static_cast<char>(c);
    } else {
      static const char kHex[] = "0123456789abcdef";
      out += {'\\', 'x', kHex[c >> 4], kHex[c & 15]};
    }
  }
  return out;
}

class Parser {
 public:
  Parser(std::string origin, std::set<std::string>& resolving, std::string& error)
      : mOrigin(std::move(origin)), mResolving(resolving), mError(error) {}

  bool Parse(const std::string& text, Scenario& out) {
    rapidjson::Document doc;
    std::string why;
    if (!ParseJsonText(text, doc, why)) return Fail(why);
    if (!doc.IsObject()) return Fail(std::string("a scenario is a JSON object, found ") + JsonKind(doc));
    for (auto m = doc.MemberBegin(); m != doc.MemberEnd(); ++m) {
      const std::string name = m->name.GetString();
      if (name != "description" && name != "record" && name != "steps" && name != "events")
        return Fail(name + ": unknown field (a scenario has description, record, steps, events)");
    }
    if (doc.HasMember("description")) {
      if (!doc["description"].IsString()) return Fail("description: expected a string");
      out.description = doc["description"].GetString();
    }
    const bool hasRecord = doc.HasMember("record");
    const bool hasSteps = doc.HasMember("steps");
    if (hasRecord == hasSteps) return Fail("give either \"record\" or \"steps\"");
    out.steps.clear();
    if (hasRecord) {
      ScenarioStep step;
      step.record = EmptyRecord();
      if (!ApplyRecordFields(doc["record"], "record", step.record, mError)) return Fail();
      out.steps.push_back(step);
    } else if (!ParseSteps(doc["steps"], out)) {
      return false;
    }
    out.events.clear();
    if (doc.HasMember("events") && !ParseEvents(doc["events"], out)) return false;
    std::stable_sort(out.events.begin(), out.events.end(),
                     [](const TimedEvent& a, const TimedEvent& b) { return a.at < b.at; });
    return true;
  }

 private:
  // With a reason: "<origin>: <reason>". Without: prefix the error already set.
  bool Fail(const std::string& reason = std::string()) {
    mError = OneLine(mOrigin + ": " + (reason.empty() ? mError : reason));
    return false;
  }

  bool Seconds(const Value& v, const std::string& path, bool allowZero, double& out) {
    if (!v.IsNumber() || !std::isfinite(v.GetDouble()) || v.GetDouble() < 0 ||
        (!allowZero && v.GetDouble() == 0) || v.GetDouble() > kMaxSeconds)
      return Fail(path + ": expected a number of seconds " + (allowZero ? "from 0" : "above 0") +
                  " to " + std::to_string(static_cast<long>(kMaxSeconds)));
    out = v.GetDouble();
    return true;
  }

  bool ParseSteps(const Value& steps, Scenario& out) {
    if (!steps.IsArray() || steps.Empty()) return Fail("steps: expected a non-empty array");
    for (rapidjson::SizeType i = 0; i < steps.Size(); ++i) {
      const std::string path = "steps[" + std::to_string(i) + "]";
      const Value& s = steps[i];
      if (!s.IsObject()) return Fail(path + ": expected an object, found " + JsonKind(s));
      for (auto m = s.MemberBegin(); m != s.MemberEnd(); ++m) {
        const std::string name = m->name.GetString();
        if (name != "label" && name != "hold" && name != "use" && name != "reset" && name != "record")
          return Fail(path + "." + name + ": unknown field (a step has label, hold, use, reset, record)");
      }
      ScenarioStep step;
      step.record = out.steps.empty() ? EmptyRecord() : out.steps.back().record;
      step.hold = kDefaultHold;
      if (s.HasMember("hold") && !Seconds(s["hold"], path + ".hold", false, step.hold)) return false;
      if (s.HasMember("label")) {
        if (!s["label"].IsString()) return Fail(path + ".label: expected a string");
        step.label = s["label"].GetString();
      }
      if (s.HasMember("reset")) {
        if (!s["reset"].IsBool()) return Fail(path + ".reset: expected true or false");
        if (s["reset"].GetBool()) step.record = EmptyRecord();
      }
      if (s.HasMember("use")) {
        if (s.HasMember("reset")) return Fail(path + ": \"use\" and \"reset\" exclude each other");
        if (!s["use"].IsString()) return Fail(path + ".use: expected the name of a built-in scenario");
        if (!UseBuiltin(s["use"].GetString(), path + ".use", step.record)) return false;
        if (step.label.empty()) step.label = s["use"].GetString();
      }
      if (s.HasMember("record") &&
          !ApplyRecordFields(s["record"], path + ".record", step.record, mError))
        return Fail();
      out.steps.push_back(step);
    }
    return true;
  }

  bool UseBuiltin(const std::string& name, const std::string& path, kv_dolby_metadata_t& rec) {
    const char* text = FindBuiltinScenarioText(name);
    if (text == nullptr) {
      std::string names;
      for (const auto& n : BuiltinScenarioNames()) names += (names.empty() ? "" : ", ") + n;
      return Fail(path + ": no built-in scenario \"" + name + "\" (" + names + ")");
    }
    if (mResolving.count(name) != 0) return Fail(path + ": \"" + name + "\" uses itself");
    mResolving.insert(name);
    Scenario used;
    std::string error;
    Parser inner("built-in scenario '" + name + "'", mResolving, error);
    const bool ok = inner.Parse(text, used);
    mResolving.erase(name);
    if (!ok) return Fail(path + ": " + error);
    rec = used.steps.front().record;
    return true;
  }

  bool ParseEvents(const Value& events, Scenario& out) {
    if (!events.IsArray()) return Fail("events: expected an array");
    for (rapidjson::SizeType i = 0; i < events.Size(); ++i) {
      const std::string path = "events[" + std::to_string(i) + "]";
      const Value& e = events[i];
      if (!e.IsObject()) return Fail(path + ": expected an object, found " + JsonKind(e));
      for (auto m = e.MemberBegin(); m != e.MemberEnd(); ++m) {
        const std::string name = m->name.GetString();
        if (name != "at" && name != "event" && name != "peer" && name != "topic" && name != "payload")
          return Fail(path + "." + name + ": unknown field (an event has at, and event or peer, topic, payload)");
      }
      TimedEvent ev;
      if (!e.HasMember("at")) return Fail(path + ".at: missing");
      if (!Seconds(e["at"], path + ".at", true, ev.at)) return false;
      if (e.HasMember("event")) {
        if (e.HasMember("peer") || e.HasMember("topic") || e.HasMember("payload"))
          return Fail(path + ": give either \"event\" or \"peer\", \"topic\" and \"payload\"");
        if (!e["event"].IsString()) return Fail(path + ".event: expected an event text");
        ev.text = e["event"].GetString();
        std::string why;
        if (!ParseMonitorEvent(ev.text, ev.message, why)) return Fail(path + ".event: " + why);
      } else if (!ParseRawEvent(e, path, ev)) {
        return false;
      }
      out.events.push_back(ev);
    }
    return true;
  }

  bool ParseRawEvent(const Value& e, const std::string& path, TimedEvent& ev) {
    if (!e.HasMember("peer") || !e["peer"].IsString() || !PeerFromName(e["peer"].GetString(), ev.message.peer))
      return Fail(path + ".peer: expected \"hwm\", \"hbmon\" or \"appserver\" (or give \"event\")");
    if (!e.HasMember("topic") || !e["topic"].IsString() || e["topic"].GetStringLength() == 0)
      return Fail(path + ".topic: expected a topic name");
    ev.message.topic = e["topic"].GetString();
    if (!e.HasMember("payload")) return Fail(path + ".payload: missing");
    const Value& payload = e["payload"];
    ev.message.payload = payload.IsString() ? payload.GetString() : CompactJson(payload);
    ev.text = std::string(PeerName(ev.message.peer)) + " " + ev.message.topic;
    return true;
  }

  std::string mOrigin;
  std::set<std::string>& mResolving;
  std::string& mError;
};

}  // namespace

double Scenario::CycleSeconds() const {
  double total = 0;
  for (const auto& s : steps) total += s.hold;
  return total;
}

std::size_t Scenario::StepAt(double elapsed) const {
  if (steps.size() <= 1) return 0;
  double t = std::fmod(std::max(0.0, elapsed), CycleSeconds());
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (t < steps[i].hold) return i;
    t -= steps[i].hold;
  }
  return steps.size() - 1;
}

bool ParseScenario(const std::string& text, const std::string& origin, Scenario& out,
                   std::string& error) {
  std::set<std::string> resolving;
  Parser parser(origin, resolving, error);
  return parser.Parse(text, out);
}

bool LoadScenarioFile(const std::string& path, Scenario& out, std::string& error) {
  std::string text;
  if (!ReadFile(path, text, error)) return false;
  if (LooksLikeCapture(text)) {
    error = path + ": a capture of decoder records, not a scenario; plovrest-sim --replay plays it";
    return false;
  }
  if (text.size() == kRecordSize && text.find_first_not_of(" \t\r\n") != std::string::npos &&
      text[text.find_first_not_of(" \t\r\n")] != '{') {
    error = path + ": a decoder record file (" + std::to_string(kRecordSize) +
            " bytes), not a scenario; plovrest-tap --decode " + path + " --fields makes one of it";
    return false;
  }
  if (!ParseScenario(text, path, out, error)) return false;
  const auto slash = path.find_last_of('/');
  std::string name = path.substr(slash == std::string::npos ? 0 : slash + 1);
  if (name.size() > 5 && name.compare(name.size() - 5, 5, ".json") == 0) name.resize(name.size() - 5);
  out.name = name;
  return true;
}

bool LoadBuiltinScenario(const std::string& name, Scenario& out, std::string& error) {
  const char* text = FindBuiltinScenarioText(name);
  if (text == nullptr) {
    std::string names;
    for (const auto& n : BuiltinScenarioNames()) names += (names.empty() ? "" : ", ") + n;
    error = "no built-in scenario \"" + name + "\" (" + names + ")";
    return false;
  }
  std::set<std::string> resolving{name};
  Parser parser("built-in scenario '" + name + "'", resolving, error);
  if (!parser.Parse(text, out)) return false;
  out.name = name;
  return true;
}

}  // namespace tools
