#pragma once
// When the main loop may tell the service manager that the daemon is alive.
//
// A keep-alive is due once per interval, and only while the reader thread
// has also made progress within the last interval: a stuck reader stops the
// keep-alives as surely as a stuck main loop (which does not ask at all).
// After the reader's last progress at most one more keep-alive follows,
// within one interval.

#include <cstdint>

class cKeepAliveRule {
 public:
  // `intervalMs` 0 never makes a keep-alive due. The first interval starts at
  // `nowMs`, and `passes` (the reader's progress counter) counts as progress
  // made then.
  cKeepAliveRule(unsigned intervalMs, unsigned nowMs, std::uint32_t passes)
      : mIntervalMs(intervalMs), mSentMs(nowMs), mProgressMs(nowMs), mPasses(passes) {}

  // `passes` is the reader's counter as read at `nowMs` (monotonic
  // milliseconds, 32 bits: differences stay right across the wrap). True
  // when a keep-alive is to be sent now; it then counts as sent.
  bool Due(unsigned nowMs, std::uint32_t passes) {
    if (passes != mPasses) {
      mPasses = passes;
      mProgressMs = nowMs;
    }
    if (mIntervalMs == 0 || nowMs - mSentMs < mIntervalMs || nowMs - mProgressMs > mIntervalMs) {
      return false;
    }
    mSentMs = nowMs;
    return true;
  }

 private:
  unsigned mIntervalMs;
  unsigned mSentMs;
  unsigned mProgressMs;
  std::uint32_t mPasses;
};
