#pragma once
// Monotonic millisecond timer. A stopped (or never started) timer counts as
// timed out; a running one times out once and then stops itself. Readings
// are 32-bit milliseconds; differences stay right across their wrap.

#include <ctime>

class cTimer {
 public:
  // Stopped, with no time-out.
  cTimer();
  // Running from now with the given time-out.
  explicit cTimer(unsigned int timeoutMs);

  // Starts again from now (with a new time-out for the second form).
  void Restart();
  void Restart(unsigned int timeoutMs);
  // Starts from now unless already running.
  void Start();
  // Stops the timer.
  void ClearTimer();
  // Sets the time-out and stops the timer.
  void SetTimeout(unsigned int timeoutMs);
  // Milliseconds since the last (re)start or stop.
  unsigned GetElapsedMs() const;
  // True when stopped, or when more than the time-out has elapsed (the timer
  // then stops); exactly the time-out elapsed is not yet timed out.
  bool HasTimedOut();
  // Stops the timer; true when it was running and had timed out.
  bool Stop();
  bool IsRunning() const { return mbRunning; }
  unsigned GetTimeoutMs() const { return mTimeoutMs; }

  // The monotonic clock in milliseconds (32 bits); 0, with a line on standard
  // output, when the clock cannot be read.
  static unsigned GetCurrentTimeMs();
  // Sleeps `ns` nanoseconds (under one second), resuming after signals.
  static void SleepNs(long ns);
  // Sleeps until SleepDeadline(now, microseconds); a signal ends it early.
  static void SleepForSomeTime(int microseconds);
  // Milliseconds since *start (0 for null or a clock going back); right for
  // intervals under about 4.29 s only.
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
