#pragma once
// The main thread's one SUB socket: application server, hardware monitor and
// process monitor, with the topic tables the daemon listens to.

#include "MqPeerReconnect.h"
#include "MqSubHandler.h"

class Logger;

class cDlbSubHandler : public SubHandler {
 public:
  // Made on first use (null when memory runs out); DeleteInstance (run at
  // exit) stops the watch, closes the socket and frees the handler.
  static cDlbSubHandler* GetInstance();
  static void DeleteInstance();

  // Drops any previous socket and creates a fresh SUB socket that refuses
  // messages over mq::kMaxControlMessageBytes and is watched for peers
  // dropped for that reason.
  void Init();

  // Connects again every peer dropped since the last call for a refused
  // message; returns how many. Main thread only.
  int RestoreDroppedPeers() { return mReconnect.Poll(); }

  static cDlbSubHandler* mpSub;
  static Logger* mpLogger;
  static int mLogLevel;

 private:
  cDlbSubHandler() = default;

  cMqPeerReconnect mReconnect;
};

// Opens the three subscriptions on the handler's socket; 1, or 0 without a
// handler. The hardware monitor lives on the slot-1 card, so slot 1 itself
// does not connect to it.
int addSubs(int slot);

// The subscription callback: hands the message to the dispatcher.
int mqReader(const char* topic, const char* message);
