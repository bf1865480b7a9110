#pragma once
// Client of the device's process monitor: keeps this process's heartbeat
// record and a PUSH socket towards the monitor's collecting endpoint, over
// which it sends heartbeats, re-publication requests and forwarded
// application commands. Also decodes the application commands the monitor
// publishes to us. Main thread only.

#include <cstdint>
#include <string>

class Logger;
typedef struct _zsock_t zsock_t;

// State reported in the heartbeat record. This daemon only ever reports
// PROCESS_STATUS_RUNNING.
enum ProcessStatus_e : int32_t {
  PROCESS_STATUS_UNKNOWN = 0,
  PROCESS_STATUS_RUNNING = 1,
  PROCESS_STATUS_DEGRADED = 2,
  PROCESS_STATUS_STOPPING = 3,
};

class cHeartBeater {
 public:
  // Application commands carried in {"Command":N}.
  static constexpr int kAppCmdReboot = 9;
  static constexpr int kAppCmdSwUpgrade = 100;

  // The process's client, made on first use (null when memory runs out);
  // DeleteInstance (run at exit) closes its socket and frees it.
  static cHeartBeater* GetInstance();
  static void DeleteInstance();

  // Builds {"HbKey":procName,"Version":version,"State":state}; a null
  // version is reported as "Unknown". False (and no record) for a null name.
  bool SetHeartBeatJson(const char* procName, const char* version, ProcessStatus_e state);

  // Connect the PUSH socket (owned; closed by CloseMq or at deletion). True
  // once connected; false when already connected or the connect failed.
  // Each step is logged.
  bool ConnectMqOverTcp();  // tcp://169.254.2.2:10000
  bool ConnectMqOverIpc();  // ipc:///run/shm/mq/hbMonPullMq.ipc
  void CloseMq();

  // Need both the record and the connection. SendBeat: topic "HbProc" and
  // the record, true when both parts were sent. RequestRepub: the one-part
  // "HbReqRepubSysStatus". Failures are logged.
  bool SendBeat();
  void RequestRepub();

  // Need only the connection: {"Command":9} or {"Command":100} on
  // "HbFwdAppCmd"; true when sent.
  bool SendRebootCommand();
  bool SendSwUpgradeCommand();

  // The "Command" integer of an application-command message, or -1.
  static int ParseAppCommand(const char* json);

  zsock_t* mpPushSock = nullptr;
  bool mbVersionSet = false;
  bool mbRepubRequested = false;  // consumed by the one-second tick
  char mHbJson[512] = {};

  static cHeartBeater* mpHeartBeater;
  static Logger* mpLogger;
  static int32_t mLogLevel;

 private:
  cHeartBeater() = default;
  ~cHeartBeater();
  cHeartBeater(const cHeartBeater&) = delete;
  cHeartBeater& operator=(const cHeartBeater&) = delete;

  bool SendAppCommand(int command);
  bool ConnectPush(const std::string& endpoint);
};
