#pragma once
// Monotonic millisecond timer. A stopped (or never started) timer counts as
// timed out; a running one times out once and then stops itself.

#include <ctime>

class cTimer {
 public:
  cTimer();
  explicit cTimer(unsigned int timeoutMs);

  void Restart();
  void Restart(unsigned int timeoutMs);
  void Start();
  void ClearTimer();
  void SetTimeout(unsigned int timeoutMs);
  unsigned GetElapsedMs() const;
  bool HasTimedOut();
  bool Stop();
  bool IsRunning() const { return mbRunning; }
  unsigned GetTimeoutMs() const { return mTimeoutMs; }

  static unsigned GetCurrentTimeMs();
  // Sleeps `ns` nanoseconds (under one second), resuming after signals.
  static void SleepNs(long ns);
  static void SleepForSomeTime(int microseconds);
  static unsigned GetElapsedTime(timespec* start);

  // Absolute deadline `microseconds` after `now`, as SleepForSomeTime
  // computes it: at most one carry into the seconds.
  static timespec SleepDeadline(const timespec& now, int microseconds);

  // The clock every reading goes through; clock_gettime by default. Tests
  // swap in a fake to step time by hand.
  using ClockFn = int (*)(clockid_t, timespec*);
  static ClockFn mpClockFn;

 private:
  unsigned int mStartMs = 0;
  unsigned int mTimeoutMs = 0;
  bool mbRunning = false;
};
