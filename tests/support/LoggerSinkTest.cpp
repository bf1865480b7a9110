// Log-sink records, read back from PULL sockets bound where the collector
// lives. Runs inside the private namespace that carries the fixed addresses.

#include <czmq.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <string>

#include "LogCapture.h"
#include "Logger.h"

namespace {

const std::string kTcp = "tcp://169.254.2.2:9000";
const std::string kIpc = "ipc:///run/shm/mq/loggerSinkMq.ipc";
const std::string kHead = "{\"MsgType\":0,\"Level\":";

class LoggerSinkTest : public LoggerFixture {
 protected:
  // The collectors stay bound for the whole suite: a port released by a
  // closed socket is not free again at once.
  static void SetUpTestSuite() {
    for (int i = 0; i < 2; ++i) {
      spPull[i] = zsock_new(ZMQ_PULL);
      ASSERT_NE(spPull[i], nullptr);
      zsock_set_rcvtimeo(spPull[i], 5000);
      ASSERT_NE(zsock_bind(spPull[i], "%s", (i ? kIpc : kTcp).c_str()), -1) << (i ? kIpc : kTcp);
    }
  }
  static void TearDownTestSuite() {
    for (zsock_t*& pull : spPull) zsock_destroy(&pull);
  }

  // Attaches the logger and returns the record of its own "Connected" line.
  std::string Attach(bool ipc) {
    mPull = ipc;
    EXPECT_TRUE(ipc ? mpLog->AttachMqOverIpc() : mpLog->AttachMqOverTcp());
    return Recv();
  }

  // The next record, or "" (and a failure) when none arrives in 5 s.
  std::string Recv() {
    char* text = zstr_recv(spPull[mPull]);
    if (text == nullptr) {
      ADD_FAILURE() << "no record arrived";
      return "";
    }
    std::string record(text);
    zstr_free(&text);
    return record;
  }

  // The "Message" member of the next record, without its time stamp.
  std::string RecvMessage() {
    const std::string record = Recv();
    rapidjson::Document doc;
    doc.Parse(record.c_str());
    return doc.IsObject() && doc.HasMember("Message") ? Unstamp(doc["Message"].GetString()) : "?" + record;
  }

  static zsock_t* spPull[2];
  int mPull = 0;
};

zsock_t* LoggerSinkTest::spPull[2] = {nullptr, nullptr};

// A gated message is never sent: the next record is the one logged after it.
TEST_F(LoggerSinkTest, LevelRecordLayout) {
  Attach(true);
  mpLog->mLevel = MSG_LEVEL_ERROR;
  mpLog->Warn("%s|%u|\"gated\"", "Src.cpp", 8u);
  mpLog->Error("%s|%u|\"bad %s\"", "Src.cpp", 9u, "frame");
  const std::string record = Recv();
  const std::string head = kHead + "40,\"Name\":\"Plovre\",\"Message\":\"";
  ASSERT_EQ(record.compare(0, head.size(), head), 0) << record;
  EXPECT_EQ(Unstamp(record.substr(head.size())), "Plovre|ERROR|Src.cpp|9|\\\"bad frame\\\"\"}");
}

TEST_F(LoggerSinkTest, LongMessageIsCutInTheSinkOnly) {
  Attach(false);
  const std::string text(3000, 'z');
  const int written = mpLog->Warn("%s|%u|\"%s\"", "Long.cpp", 77u, text.c_str());
  // The record text is composed within 2047 bytes, terminator included: 2046
  // less the 13-digit stamp and its bar.
  const std::string message = RecvMessage();
  EXPECT_EQ(message.size(), 2046u - 14u);
  EXPECT_EQ(message.compare(0, 25, "Plovre|WARN|Long.cpp|77|\""), 0) << message.substr(0, 40);
  EXPECT_EQ(message.find_first_not_of('z', 25), std::string::npos);
  // The console line is whole; the result counts the caller's full text.
  EXPECT_NE(mErr.Text().find("|Long.cpp|77|\"" + text + "\"\n\033[0m"), std::string::npos);
  EXPECT_EQ(written, static_cast<int>(std::strlen("Long.cpp|77|\"\"") + text.size()));
}

TEST_F(LoggerSinkTest, NotifyAndSendJsonRecords) {
  Attach(false);
  mpLog->mbMuted = true;  // does not apply to Notify
  mpLog->mLevel = MSG_LEVEL_CRITICAL;
  EXPECT_EQ(mpLog->Notify(MSG_LEVEL_WARN, "Storage", "Disk %d%% full", 91), 13);
  EXPECT_EQ(Recv(), "{\"MsgType\":1,\"Level\":30,\"Name\":\"Plovre\",\"Message\":\"Disk 91% full\",\"Title\":\"Storage\"}");
  mpLog->Notify(MSG_LEVEL_ERROR, nullptr, "%s", "untitled");
  EXPECT_EQ(Recv(), "{\"MsgType\":1,\"Level\":40,\"Name\":\"Plovre\",\"Message\":\"untitled\"}");
  EXPECT_EQ(mErr.Text(), "");  // with a sink, Notify prints nothing
  // Only a notify record carries a title.
  EXPECT_TRUE(mpLog->SendJson(MSG_TYPE_LOG, static_cast<MsgLevel_e>(7), "m", "ignored"));
  EXPECT_EQ(Recv(), kHead + "7,\"Name\":\"Plovre\",\"Message\":\"m\"}");
  EXPECT_FALSE(mpLog->SendJson(MSG_TYPE_LOG, MSG_LEVEL_ERROR, nullptr, nullptr));
}

}  // namespace
