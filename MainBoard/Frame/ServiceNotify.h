#pragma once
// The daemon as a notifying service (systemd's Type=notify): readiness, a
// one-line status, keep-alives for the watchdog, and the stop. Everything
// goes through libsystemd's sd_notify to the socket named by NOTIFY_SOCKET;
// without it nothing is sent and nothing else changes.

#include <cstdint>
#include <string>

#include "Frame/KeepAliveRule.h"
#include "Timer.h"

class cServiceNotifier {
 public:
  // Reads NOTIFY_SOCKET and the watchdog time-out (WATCHDOG_USEC, when meant
  // for this process) once; keep-alives go at half the time-out.
  cServiceNotifier();

  // True when a notify socket was given.
  bool IsEnabled() const { return mbEnabled; }

  // Once per main-loop pass, with the monotonic time in milliseconds.
  // "READY=1" the first time the publishing endpoint is bound and the reader
  // thread has made progress; from then on "WATCHDOG=1" when the keep-alive
  // rule (KeepAliveRule.h) allows, and "STATUS=..." when its text changed,
  // looked at once a second. Nothing without a notify socket.
  void Tend(unsigned nowMs);

  // "STOPPING=1", once: the daemon has begun its orderly stop.
  void Stopping();

  // The status line: "<decoder state>; <stream kind>; <n> records/s", with
  // "Starting" before the first state message and "no stream yet" before
  // the first record. `mdType`/`typeId` are the last record's (-1: none).
  static std::string StatusText(const char* state, int mdType, int typeId, unsigned perSecond);

 private:
  void Send(const char* text) const;
  void RefreshStatus(unsigned nowMs);

  bool mbEnabled = false;
  bool mbReady = false;
  bool mbStopping = false;
  unsigned mWatchdogMs = 0;  // keep-alive interval; 0 without a watchdog
  cKeepAliveRule mKeepAlive{0, 0, 0};
  cTimer mStatusTimer;  // stopped: the first status goes out with readiness
  unsigned mStatusMs = 0;
  std::uint32_t mStatusRecords = 0;
  std::string mStatus;
};
