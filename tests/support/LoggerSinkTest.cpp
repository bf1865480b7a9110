// Log-sink records, read back from a PULL socket bound where the collector
// lives. Runs inside the private namespace that carries the fixed addresses.

#include <czmq.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <cstdio>
#include <string>
#include <vector>

#include "LogCapture.h"
#include "Logger.h"
#include "MqEndpoints.h"

namespace {

std::string Endpoint(bool ipc) {
  char text[128];
  if (ipc) {
    std::snprintf(text, sizeof(text), "ipc://%s/%s", mq::kIpcDir, mq::kLogSinkIpc);
  } else {
    std::snprintf(text, sizeof(text), "tcp://%s:%u", mq::kMainBoardAddr, mq::kLogSinkPort);
  }
  return text;
}

class LoggerSinkTest : public LoggerFixture {
 protected:
  // The tcp collector stays bound for the whole suite: a port released by a
  // closed socket is not free again at once.
  static void SetUpTestSuite() {
    spTcpPull = zsock_new(ZMQ_PULL);
    ASSERT_NE(spTcpPull, nullptr);
    zsock_set_rcvtimeo(spTcpPull, 5000);
    ASSERT_NE(zsock_bind(spTcpPull, "%s", Endpoint(false).c_str()), -1) << Endpoint(false);
  }
  static void TearDownTestSuite() { zsock_destroy(&spTcpPull); }

  void SetUp() override {
    LoggerFixture::SetUp();
    mpLog->mLevel = MSG_LEVEL_DEBUG;
    mpLog->mbConsole = true;
  }
  void TearDown() override {
    if (mpLog != nullptr) mpLog->DetachMq();
    zsock_destroy(&mpIpcPull);
    LoggerFixture::TearDown();
  }

  // Attaches the logger to the collector's end; the record of the logger's
  // own "Connected" line is consumed and returned.
  std::string Attach(bool ipc) {
    if (ipc) {
      mpIpcPull = zsock_new(ZMQ_PULL);
      EXPECT_NE(mpIpcPull, nullptr);
      if (mpIpcPull == nullptr) return "";
      zsock_set_rcvtimeo(mpIpcPull, 5000);
      EXPECT_NE(zsock_bind(mpIpcPull, "%s", Endpoint(true).c_str()), -1) << Endpoint(true);
      mpPull = mpIpcPull;
    } else {
      mpPull = spTcpPull;
    }
    EXPECT_TRUE(ipc ? mpLog->AttachMqOverIpc() : mpLog->AttachMqOverTcp());
    return Recv();
  }

  // The next record, or "" (and a failure) when none arrives in 5 s.
  std::string Recv() {
    char* text = mpPull != nullptr ? zstr_recv(mpPull) : nullptr;
    if (text == nullptr) {
      ADD_FAILURE() << "no record arrived";
      return "";
    }
    std::string record(text);
    zstr_free(&text);
    return record;
  }

  static zsock_t* spTcpPull;
  zsock_t* mpIpcPull = nullptr;
  zsock_t* mpPull = nullptr;
};

zsock_t* LoggerSinkTest::spTcpPull = nullptr;

// Member names in document order, and the document itself.
std::vector<std::string> MemberNames(const rapidjson::Document& doc) {
  std::vector<std::string> names;
  if (!doc.IsObject()) return names;
  for (auto it = doc.MemberBegin(); it != doc.MemberEnd(); ++it) names.emplace_back(it->name.GetString());
  return names;
}

// Checks "<stamp>|<rest>" and returns <rest>.
std::string AfterStamp(const std::string& message) {
  const size_t bar = message.find('|');
  EXPECT_NE(bar, std::string::npos) << message;
  EXPECT_GT(bar, 0u) << message;
  if (bar == std::string::npos) return "";
  EXPECT_EQ(message.find_first_not_of("0123456789"), bar) << message;
  return message.substr(bar + 1);
}

TEST_F(LoggerSinkTest, TcpAttachAnnouncesItselfOnConsoleAndSink) {
  const std::string connected = Attach(false);
  rapidjson::Document doc;
  doc.Parse(connected.c_str());
  ASSERT_TRUE(doc.IsObject()) << connected;
  EXPECT_EQ(doc["Level"].GetInt(), 20);
  EXPECT_EQ(AfterStamp(doc["Message"].GetString()),
            "Plovre|INFO|Connected to tcp://169.254.2.2:9000");

  const std::vector<std::string> out = SplitLines(mOut.Text());
  ASSERT_EQ(out.size(), 2u);
  EXPECT_NE(out[0].find("|Plovre|DEBUG|Tryig to connect tcp://169.254.2.2:9000"), std::string::npos)
      << out[0];
  EXPECT_NE(out[1].find("|Plovre|INFO|Connected to tcp://169.254.2.2:9000"), std::string::npos)
      << out[1];
}

TEST_F(LoggerSinkTest, LevelRecordLayout) {
  Attach(false);
  mpLog->Error("%s|%u|\"bad %s\"", "Src.cpp", 9u, "frame");
  const std::string record = Recv();
  const std::string head = "{\"MsgType\":0,\"Level\":40,\"Name\":\"Plovre\",\"Message\":\"";
  EXPECT_EQ(record.compare(0, head.size(), head), 0) << record;
  ASSERT_GE(record.size(), 4u);
  EXPECT_EQ(record.substr(record.size() - 4), "\\\"\"}") << record;

  rapidjson::Document doc;
  doc.Parse(record.c_str());
  ASSERT_TRUE(doc.IsObject()) << record;
  EXPECT_EQ(MemberNames(doc), (std::vector<std::string>{"MsgType", "Level", "Name", "Message"}));
  EXPECT_EQ(AfterStamp(doc["Message"].GetString()), "Plovre|ERROR|Src.cpp|9|\"bad frame\"");
}

// Gated and muted messages never reach the sink: the next record is the one
// logged after them.
TEST_F(LoggerSinkTest, GatedAndMutedMessagesAreNotSent) {
  Attach(false);
  mpLog->mLevel = MSG_LEVEL_WARN;
  mpLog->Info("%s|%u|\"gated\"", "G.cpp", 1u);
  mpLog->mbMuted = true;
  mpLog->Critical("%s|%u|\"muted\"", "G.cpp", 2u);
  mpLog->mbMuted = false;
  mpLog->Warn("%s|%u|\"passes\"", "G.cpp", 3u);
  rapidjson::Document doc;
  doc.Parse(Recv().c_str());
  ASSERT_TRUE(doc.IsObject());
  EXPECT_EQ(AfterStamp(doc["Message"].GetString()), "Plovre|WARN|G.cpp|3|\"passes\"");
}

TEST_F(LoggerSinkTest, LongMessageIsCutInTheSinkOnly) {
  Attach(false);
  const std::string text(3000, 'z');
  const int written = mpLog->Warn("%s|%u|\"%s\"", "Long.cpp", 77u, text.c_str());
  rapidjson::Document doc;
  doc.Parse(Recv().c_str());
  ASSERT_TRUE(doc.IsObject());
  const std::string message = doc["Message"].GetString();
  // The record text is composed within 2047 bytes, terminator included.
  EXPECT_EQ(message.size(), 2046u);
  const std::string rest = AfterStamp(message);
  EXPECT_EQ(rest.compare(0, 25, "Plovre|WARN|Long.cpp|77|\""), 0) << rest.substr(0, 40);
  EXPECT_EQ(rest.find_first_not_of('z', 25), std::string::npos);
  // The console line is whole; the result counts the caller's full text.
  EXPECT_NE(mErr.Text().find("|Long.cpp|77|\"" + text + "\"\n\033[0m"), std::string::npos);
  EXPECT_EQ(written, static_cast<int>(std::string("Long.cpp|77|\"\"").size() + text.size()));
}

TEST_F(LoggerSinkTest, NotifyAndSendJsonRecords) {
  Attach(false);
  mpLog->mbMuted = true;  // does not apply to Notify
  mpLog->mLevel = MSG_LEVEL_CRITICAL;
  EXPECT_EQ(mpLog->Notify(MSG_LEVEL_WARN, "Storage", "Disk %d%% full", 91), 13);
  EXPECT_EQ(Recv(), "{\"MsgType\":1,\"Level\":30,\"Name\":\"Plovre\",\"Message\":\"Disk 91% full\","
                    "\"Title\":\"Storage\"}");
  mpLog->Notify(MSG_LEVEL_ERROR, nullptr, "%s", "untitled");
  EXPECT_EQ(Recv(), "{\"MsgType\":1,\"Level\":40,\"Name\":\"Plovre\",\"Message\":\"untitled\"}");
  // With a sink, Notify prints nothing.
  EXPECT_EQ(mErr.Text(), "");

  struct Case {
    MsgType_e type;
    int level;
    const char* message;
    const char* title;
    const char* expected;
  };
  const Case cases[] = {
      {MSG_TYPE_LOG, 40, "m", "ignored", "{\"MsgType\":0,\"Level\":40,\"Name\":\"Plovre\",\"Message\":\"m\"}"},
      {MSG_TYPE_NOTIFY, 7, "q\"x", "T", "{\"MsgType\":1,\"Level\":7,\"Name\":\"Plovre\",\"Message\":\"q\\\"x\",\"Title\":\"T\"}"},
      {MSG_TYPE_NOTIFY, -3, "", "", "{\"MsgType\":1,\"Level\":-3,\"Name\":\"Plovre\",\"Message\":\"\",\"Title\":\"\"}"},
      {static_cast<MsgType_e>(2), 50, "x", "T", "{\"MsgType\":2,\"Level\":50,\"Name\":\"Plovre\",\"Message\":\"x\"}"},
  };
  for (const Case& c : cases) {
    EXPECT_TRUE(mpLog->SendJson(c.type, static_cast<MsgLevel_e>(c.level), c.message, c.title));
    EXPECT_EQ(Recv(), c.expected);
  }
  EXPECT_FALSE(mpLog->SendJson(MSG_TYPE_LOG, MSG_LEVEL_ERROR, nullptr, nullptr));
}

TEST_F(LoggerSinkTest, SecondAttachKeepsTheFirstSocket) {
  Attach(false);
  zsock_t* first = mpLog->mpMqSock;
  EXPECT_FALSE(mpLog->AttachMqOverTcp());
  EXPECT_EQ(mpLog->mpMqSock, first);
  EXPECT_NE(mErr.Text().find("|Plovre|ERROR|Seems this instance already connected to "
                             "tcp://169.254.2.2:9000\n\033[0m"),
            std::string::npos)
      << mErr.Text();
  // The complaint itself travels over the kept socket.
  rapidjson::Document doc;
  doc.Parse(Recv().c_str());
  ASSERT_TRUE(doc.IsObject());
  EXPECT_EQ(AfterStamp(doc["Message"].GetString()),
            "Plovre|ERROR|Seems this instance already connected to tcp://169.254.2.2:9000");

  EXPECT_FALSE(mpLog->AttachMqOverIpc());
  EXPECT_EQ(mpLog->mpMqSock, first);
  EXPECT_NE(mErr.Text().find("Seems this instance already connected to ipc:///run/shm/mq/loggerSinkMq.ipc"),
            std::string::npos);
}

TEST_F(LoggerSinkTest, DetachFallsBackToConsole) {
  Attach(false);
  EXPECT_TRUE(mpLog->DetachMq());
  EXPECT_FALSE(mpLog->isMqAttached());
  EXPECT_TRUE(mpLog->DetachMq());
  EXPECT_FALSE(mpLog->SendJson(MSG_TYPE_LOG, MSG_LEVEL_ERROR, "x", nullptr));
  mpLog->Notify(MSG_LEVEL_ERROR, "t", "%s", "now on console");
  EXPECT_NE(mErr.Text().find("\033[0;33m"), std::string::npos);
  EXPECT_NE(mErr.Text().find("|Plovre|ERROR|now on console\n\033[0m"), std::string::npos);
}

TEST_F(LoggerSinkTest, IpcAttach) {
  const std::string connected = Attach(true);
  rapidjson::Document doc;
  doc.Parse(connected.c_str());
  ASSERT_TRUE(doc.IsObject()) << connected;
  EXPECT_EQ(AfterStamp(doc["Message"].GetString()),
            "Plovre|INFO|Connected to ipc:///run/shm/mq/loggerSinkMq.ipc");
  EXPECT_NE(mOut.Text().find("|Plovre|DEBUG|Tryig to connect ipc:///run/shm/mq/loggerSinkMq.ipc\n"),
            std::string::npos);
  mpLog->Info("%s|%u|\"over ipc\"", "Ipc.cpp", 4u);
  doc.Parse(Recv().c_str());
  ASSERT_TRUE(doc.IsObject());
  EXPECT_EQ(AfterStamp(doc["Message"].GetString()), "Plovre|INFO|Ipc.cpp|4|\"over ipc\"");
}

}  // namespace
