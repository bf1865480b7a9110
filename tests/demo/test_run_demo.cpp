// scripts/run-demo.sh as a newcomer runs it, with the binaries of this build.
// The test runs inside scripts/netns-run.sh, so the script starts the daemon,
// the simulator and the taps right away. What the documents must show comes
// from the simulator's scenario files. Every wait ends on an observed event
// and is bounded.

#include <fcntl.h>
#include <rapidjson/document.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using Ms = std::chrono::milliseconds;
using Json = rapidjson::Value;

constexpr Ms kRunWait(90000);
constexpr Ms kStopWait(30000);

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

std::string MakeTempDir() {
  char pattern[] = "/tmp/plovrest-demo-test-XXXXXX";
  if (mkdtemp(pattern) == nullptr) throw std::runtime_error("mkdtemp failed");
  return pattern;
}

// The record codes of "typeId" by the names scenario files use.
int TypeIdCode(const std::string& name) {
  static const std::map<std::string, int> codes = {{"pcm", 0},  {"dd", 1},       {"ddp", 16}, {"ddp-iec61937", 21},
                                                   {"ac4", 24}, {"dolby-e", 28}, {"ed2", 60}};
  const auto it = codes.find(name);
  return it == codes.end() ? -1 : it->second;
}

// The "record" of a built-in scenario file.
struct Scenario {
  std::string name;
  rapidjson::Document file;
  const Json& Record() const { return file["record"]; }
};

std::unique_ptr<Scenario> LoadScenario(const std::string& name) {
  auto s = std::make_unique<Scenario>();
  s->name = name;
  const std::string text = ReadFile(std::string(DEMO_SCENARIO_DIR) + "/" + name + ".json");
  s->file.Parse(text.c_str());
  if (s->file.HasParseError() || !s->file.IsObject() || !s->file.HasMember("record")) return nullptr;
  return s;
}

// One line of the demo's record of every change: {"time", "topic", "size", "payload"}.
struct Message {
  std::string topic;
  std::unique_ptr<rapidjson::Document> line;
  const Json& Payload() const { return (*line)["payload"]; }
};

struct Messages {
  std::vector<Message> list;
  int unreadable = 0;
};

Messages ReadMessages(const std::string& path) {
  Messages out;
  std::istringstream lines(ReadFile(path));
  std::string text;
  while (std::getline(lines, text)) {
    auto doc = std::make_unique<rapidjson::Document>();
    doc->Parse(text.c_str());
    if (doc->HasParseError() || !doc->IsObject() || !doc->HasMember("topic") || !(*doc)["topic"].IsString() ||
        !doc->HasMember("payload")) {
      ++out.unreadable;
      continue;
    }
    Message m;
    m.topic = (*doc)["topic"].GetString();
    m.line = std::move(doc);
    out.list.push_back(std::move(m));
  }
  return out;
}

// The first status document ("DolbyMetadataGrp") with this "TypeId".
const Json* StatusDocument(const Messages& messages, int typeId) {
  for (const auto& m : messages.list) {
    const Json& p = m.Payload();
    if (m.topic == "DolbyMetadataGrp" && p.IsObject() && p.HasMember("TypeId") && p["TypeId"].IsInt() &&
        p["TypeId"].GetInt() == typeId)
      return &p;
  }
  return nullptr;
}

// The first ED2 presentation document ("DolbyPAData>>") that is not empty.
const Json* PresentationDocument(const Messages& messages) {
  for (const auto& m : messages.list) {
    const Json& p = m.Payload();
    if (m.topic == "DolbyPAData>>" && p.IsObject() && p.HasMember("NoPresentations")) return &p;
  }
  return nullptr;
}

const Json* Member(const Json& v, const char* name) {
  return v.IsObject() && v.HasMember(name) ? &v[name] : nullptr;
}
// doc.StatusInfo.ExData[0] (or AtmosInfo...): the first entry of an item's "ExData".
const Json* FirstExData(const Json& doc, const char* item) {
  const Json* it = Member(doc, item);
  const Json* ex = it != nullptr ? Member(*it, "ExData") : nullptr;
  return ex != nullptr && ex->IsArray() && !ex->Empty() ? &(*ex)[0] : nullptr;
}

// What the status document of a scenario must show.
void ExpectStatusDocumentShows(const Scenario& s, const Json& doc) {
  SCOPED_TRACE("scenario " + s.name);
  const Json& rec = s.Record();
  const Json* info = FirstExData(doc, "StatusInfo");
  ASSERT_NE(info, nullptr);
  const Json* pair = Member(*info, "Pair");
  ASSERT_NE(pair, nullptr);
  ASSERT_TRUE(Member(*pair, "Data") != nullptr && (*pair)["Data"].IsInt());
  EXPECT_EQ((*pair)["Data"].GetInt(), rec["dzPair"].GetInt());

  if (rec.HasMember("ddp") && rec["ddp"].HasMember("atmosPresent")) {
    const Json& ddp = rec["ddp"];
    const bool objects = ddp["atmosPresent"].GetInt() != 0 && rec.HasMember("atmosDecode") &&
                         rec["atmosDecode"].GetInt() != 0;
    ASSERT_NE(Member(doc, "IsAtmosPresent"), nullptr);
    EXPECT_EQ(doc["IsAtmosPresent"].GetBool(), objects);
    if (objects) {
      const Json* atmos = FirstExData(doc, "AtmosInfo");
      ASSERT_NE(atmos, nullptr);
      const Json* list = Member(*atmos, "PaObjects");
      ASSERT_TRUE(list != nullptr && list->IsArray());
      EXPECT_EQ(static_cast<int>(list->Size()), ddp["numDynObjects"].GetInt());
    }
  }
  if (rec.HasMember("dolbye")) {
    const int programs = rec["dolbye"]["programCount"].GetInt();
    EXPECT_EQ(doc["NoOfPrograms"].GetInt(), programs);
    ASSERT_TRUE(Member(doc, "Programs") != nullptr && doc["Programs"].IsArray());
    EXPECT_EQ(static_cast<int>(doc["Programs"].Size()), programs);
  }
  if (rec.HasMember("ac4")) {
    EXPECT_EQ(doc["NoOfPrograms"].GetInt(), rec["ac4"]["presentationCount"].GetInt());
  }
}

void ExpectPresentationDocumentShows(const Scenario& s, const Json& doc) {
  SCOPED_TRACE("scenario " + s.name);
  const Json& ed2 = s.Record()["ed2"];
  EXPECT_EQ(doc["NoPresentations"].GetInt(), ed2["presentationCount"].GetInt());
  const int active = s.Record().HasMember("activePaNo") ? s.Record()["activePaNo"].GetInt() : 0;
  ASSERT_TRUE(Member(doc, "ActivePAName") != nullptr && doc["ActivePAName"].IsString());
  EXPECT_STREQ(doc["ActivePAName"].GetString(), ed2["presentations"][active]["name"].GetString());
}

std::string LastLine(const std::string& text) {
  std::istringstream lines(text);
  std::string line, last;
  while (std::getline(lines, line)) {
    if (!line.empty()) last = line;
  }
  return last;
}

// Processes whose parent is this test: what the demo left running (or ended
// without waiting for) after it exited, since this test is a child subreaper.
// Those still running are killed once listed.
std::vector<std::string> LeftOverProcesses() {
  std::vector<std::string> left;
  int status = 0;
  pid_t zombie;
  while ((zombie = waitpid(-1, &status, WNOHANG)) > 0) left.push_back(std::to_string(zombie) + " (ended)");
  DIR* proc = opendir("/proc");
  if (proc == nullptr) return {"cannot read /proc"};
  const std::string self = std::to_string(getpid());
  while (dirent* e = readdir(proc)) {
    const std::string pid = e->d_name;
    if (pid.find_first_not_of("0123456789") != std::string::npos) continue;
    const std::string stat = ReadFile("/proc/" + pid + "/stat");
    const auto close = stat.rfind(')');
    if (close == std::string::npos) continue;
    std::istringstream rest(stat.substr(close + 1));
    std::string state, ppid;
    rest >> state >> ppid;
    if (ppid != self) continue;
    left.push_back(stat.substr(0, close + 1));
    const pid_t child = static_cast<pid_t>(std::stol(pid));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  }
  closedir(proc);
  return left;
}

// scripts/run-demo.sh in its own process group, output in files.
class Demo {
 public:
  explicit Demo(std::vector<std::string> args) : mDir(MakeTempDir()), mWork(mDir + "/work") {
    std::vector<std::string> argv = {RUN_DEMO_PATH, "--no-setup", "--build-dir", DEMO_BUILD_DIR, "--work-dir", mWork};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<char*> cargv;
    for (auto& a : argv) cargv.push_back(a.data());
    cargv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, (mDir + "/out").c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, (mDir + "/err").c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0644);
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attr, 0);  // its own group, as a terminal's foreground job
    const int rc = posix_spawn(&mPid, argv[0].c_str(), &actions, &attr, cargv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    if (rc != 0) throw std::runtime_error("cannot start " + argv[0]);
  }
  ~Demo() {
    if (!mReaped) {
      kill(-mPid, SIGKILL);
      waitpid(mPid, nullptr, 0);
    }
    std::error_code ignored;
    if (!::testing::Test::HasFailure()) std::filesystem::remove_all(mDir, ignored);  // kept to look at otherwise
  }
  Demo(const Demo&) = delete;
  Demo& operator=(const Demo&) = delete;

  // Exit status, -N when killed by signal N, nothing while it still runs.
  std::optional<int> Wait(Ms timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!mReaped) {
      if (waitpid(mPid, &mStatus, WNOHANG) == mPid) {
        mReaped = true;
        break;
      }
      if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
      std::this_thread::sleep_for(Ms(20));
    }
    if (WIFEXITED(mStatus)) return WEXITSTATUS(mStatus);
    return -WTERMSIG(mStatus);
  }
  // What Ctrl-C does: SIGINT to every process of the foreground group.
  void CtrlC() const { kill(-mPid, SIGINT); }

  std::string Stdout() const { return ReadFile(mDir + "/out"); }
  std::string Stderr() const { return ReadFile(mDir + "/err"); }
  std::string WorkFile(const std::string& name) const { return mWork + "/" + name; }
  std::string Report() const {
    return "\n--- terminal:\n" + Stdout() + "\n--- stderr:\n" + Stderr() + "\n--- daemon log (tail):\n" +
           Tail(WorkFile("plovrestd.log")) + "\n--- simulator log (tail):\n" + Tail(WorkFile("plovrest-sim.log"));
  }

 private:
  static std::string Tail(const std::string& path) {
    const std::string text = ReadFile(path);
    return text.size() > 3000 ? text.substr(text.size() - 3000) : text;
  }
  std::string mDir, mWork;
  pid_t mPid = -1;
  bool mReaped = false;
  int mStatus = 0;
};

const char* const kStreamKinds[] = {"pcm", "dd", "ddp", "dolby-e", "ac4", "ed2"};

class RunDemo : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0); }
};

TEST_F(RunDemo, TimedRunPublishesEveryStreamKindAndEndsTheDaemonCleanly) {
  Demo demo({"--duration", "6"});
  const auto status = demo.Wait(kRunWait);
  ASSERT_EQ(status, std::optional<int>(0)) << demo.Report();
  EXPECT_THAT(LeftOverProcesses(), ::testing::IsEmpty());

  const Messages messages = ReadMessages(demo.WorkFile("messages.jsonl"));
  EXPECT_EQ(messages.unreadable, 0);
  for (const char* name : kStreamKinds) {
    const auto scenario = LoadScenario(name);
    ASSERT_NE(scenario, nullptr) << name;
    const int typeId = TypeIdCode(scenario->Record()["typeId"].GetString());
    const Json* doc = StatusDocument(messages, typeId);
    ASSERT_NE(doc, nullptr) << "no status document of '" << name << "' (TypeId " << typeId << ")" << demo.Report();
    ExpectStatusDocumentShows(*scenario, *doc);
    if (scenario->Record().HasMember("ed2")) {
      const Json* pa = PresentationDocument(messages);
      ASSERT_NE(pa, nullptr) << demo.Report();
      ExpectPresentationDocumentShows(*scenario, *pa);
    }
  }

  bool decodingWithZoom = false;
  for (const auto& m : messages.list) {
    const Json& p = m.Payload();
    if (m.topic == "DolbyProcStatus" && p.IsObject() && p.HasMember("Status") && p.HasMember("Event") &&
        p["Status"] == "Decoding" && p["Event"] == "Dolby Zoom")
      decodingWithZoom = true;
  }
  EXPECT_TRUE(decodingWithZoom) << "no decoder state \"Decoding\" / \"Dolby Zoom\"";

  // The daemon stopped as on Ctrl-C; its console went to the log, not the
  // terminal (the summary at the end quotes only its last line).
  const std::string log = ReadFile(demo.WorkFile("plovrestd.log"));
  EXPECT_EQ(LastLine(log), "SignalValue: 2");
  const std::string terminal = demo.Stdout();
  std::istringstream logLines(log);
  std::string line;
  int compared = 0;
  while (std::getline(logLines, line)) {
    if (line.size() < 8 || line == LastLine(log)) continue;
    EXPECT_THAT(terminal, Not(HasSubstr(line)));
    ++compared;
  }
  EXPECT_GT(compared, 0) << "the daemon's log has no line besides the last:\n" << log;
  EXPECT_THAT(terminal, HasSubstr(demo.WorkFile("plovrestd.log")));
  EXPECT_THAT(terminal, HasSubstr("Decoding (Dolby Zoom)"));  // the tap's line for the state
}

TEST_F(RunDemo, CtrlCEndsTheDaemonAndEveryToolAndLeavesNoProcess) {
  Demo demo({"--hold", "0.5"});
  // ED2 plays last: once its presentation document is out, every kind has been.
  const auto deadline = std::chrono::steady_clock::now() + kRunWait;
  bool ed2Seen = false;
  while (!ed2Seen && std::chrono::steady_clock::now() < deadline) {
    ed2Seen = PresentationDocument(ReadMessages(demo.WorkFile("messages.jsonl"))) != nullptr;
    if (!ed2Seen) {
      ASSERT_EQ(demo.Wait(Ms(0)), std::nullopt) << "the demo ended by itself" << demo.Report();
      std::this_thread::sleep_for(Ms(100));
    }
  }
  ASSERT_TRUE(ed2Seen) << demo.Report();

  demo.CtrlC();
  ASSERT_EQ(demo.Wait(kStopWait), std::optional<int>(0)) << demo.Report();
  EXPECT_THAT(LeftOverProcesses(), ::testing::IsEmpty());
  EXPECT_EQ(LastLine(ReadFile(demo.WorkFile("plovrestd.log"))), "SignalValue: 2");
  EXPECT_THAT(demo.Stdout(), HasSubstr(demo.WorkFile("plovrestd.log")));
}

}  // namespace
