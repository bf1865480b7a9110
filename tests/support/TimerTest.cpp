// cTimer on a hand-stepped clock: boundary, fire-once, states, wrap, helpers.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

#include "Timer.h"

namespace {

// The fake monotonic clock, in milliseconds (64-bit so it can pass 2^32).
uint64_t gFakeMs = 0;
long gFakeExtraNs = 0;  // sub-millisecond part
bool gFakeFails = false;

int FakeClock(clockid_t, timespec* ts) {
  if (gFakeFails) {
    errno = EINVAL;
    return -1;
  }
  ts->tv_sec = static_cast<time_t>(gFakeMs / 1000);
  ts->tv_nsec = static_cast<long>(gFakeMs % 1000) * 1000000L + gFakeExtraNs;
  return 0;
}

class TimerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    gFakeMs = 5000000;
    gFakeExtraNs = 0;
    gFakeFails = false;
    cTimer::mpClockFn = &FakeClock;
  }
  void TearDown() override { cTimer::mpClockFn = &clock_gettime; }
};

// Exactly the time-out elapsed is not late yet; once fired the timer stops.
// Restart counts from now, with the old or a new time-out.
TEST_F(TimerTest, TimesOutStrictlyAfterTheTimeoutAndOnlyOnce) {
  cTimer timer(1000);
  EXPECT_TRUE(timer.IsRunning());
  const uint64_t start = gFakeMs;
  for (const auto& [at, late] : {std::pair<unsigned, bool>{0, false}, {1000, false}, {1001, true}, {5000, true}}) {
    gFakeMs = start + at;
    EXPECT_EQ(timer.HasTimedOut(), late) << "at " << at << " ms";
  }
  EXPECT_FALSE(timer.IsRunning());
  for (const unsigned timeout : {1000u, 10u}) {
    timeout == 1000 ? timer.Restart() : timer.Restart(timeout);
    EXPECT_EQ(timer.GetTimeoutMs(), timeout);
    gFakeMs += timeout;
    EXPECT_FALSE(timer.HasTimedOut()) << timeout;
    gFakeMs += 1;
    EXPECT_TRUE(timer.HasTimedOut()) << timeout;
  }
}

TEST_F(TimerTest, StopAndTheStoppedStates) {
  cTimer idle;  // never started: stopped and timed out
  EXPECT_FALSE(idle.IsRunning());
  EXPECT_TRUE(idle.HasTimedOut());
  EXPECT_FALSE(idle.Stop());
  // Stop reports whether the time-out had passed, and stops.
  for (const auto& [elapsed, expired] : {std::pair<unsigned, bool>{1000, false}, {1001, true}}) {
    cTimer timer(1000);
    gFakeMs += elapsed;
    EXPECT_EQ(timer.Stop(), expired) << elapsed;
    EXPECT_FALSE(timer.IsRunning());
    EXPECT_FALSE(timer.Stop());
  }
  // SetTimeout stops a running timer; Start then counts from now but leaves a
  // running timer alone.
  cTimer timer(1000);
  gFakeMs += 10;
  timer.SetTimeout(500);
  EXPECT_TRUE(timer.HasTimedOut());
  timer.Start();
  gFakeMs += 60;
  timer.Start();
  gFakeMs += 441;
  EXPECT_EQ(timer.GetElapsedMs(), 501u);
  EXPECT_TRUE(timer.HasTimedOut());
  // ClearTimer restamps the start; the time counts while stopped too.
  timer.ClearTimer();
  gFakeMs += 25;
  EXPECT_EQ(timer.GetElapsedMs(), 25u);
}

TEST_F(TimerTest, MillisecondsWrapAt2To32AndAFailedReadingIsZero) {
  gFakeMs = (uint64_t{1} << 32) + 1234;
  gFakeExtraNs = 999999;  // below one millisecond: dropped
  EXPECT_EQ(cTimer::GetCurrentTimeMs(), 1234u);
  gFakeExtraNs = 0;
  gFakeMs = (uint64_t{1} << 32) - 500;
  cTimer timer(1000);
  gFakeMs = (uint64_t{1} << 32) + 499;
  EXPECT_EQ(timer.GetElapsedMs(), 999u);
  EXPECT_FALSE(timer.HasTimedOut());
  gFakeMs += 2;
  EXPECT_TRUE(timer.HasTimedOut());
  // A failed reading prints and gives 0, which expires a running timer.
  timer.Restart(1000);
  gFakeFails = true;
  testing::internal::CaptureStdout();
  EXPECT_EQ(cTimer::GetCurrentTimeMs(), 0u);
  EXPECT_TRUE(timer.HasTimedOut());  // a reading of 0 makes the elapsed time huge
  const std::string line = std::string("Timer Err : GetTime Failed.  Reason: ") + std::strerror(EINVAL) + "\n";
  EXPECT_EQ(testing::internal::GetCapturedStdout().substr(0, line.size()), line);
}

// The static helpers: the sleep deadline carries once; elapsed time since a start.
TEST_F(TimerTest, SleepDeadlineAndElapsedTime) {
  const struct { long nowNs; int micros; time_t sec; long ns; } cases[] = {
      {500000000, 999999, 11, 500000000 + 999999000 - 999999999},
      {0, 1000, 10, 1000000},
      {999999998, 0, 10, 999999998},  // at the bound: no carry
      {999999999, 0, 11, 0},          // above it: carry of 999,999,999
      {999999000, 1, 11, 1},
  };
  for (const auto& c : cases) {
    const timespec deadline = cTimer::SleepDeadline(timespec{10, c.nowNs}, c.micros);
    EXPECT_EQ(deadline.tv_sec, c.sec) << c.nowNs << " + " << c.micros << " us";
    EXPECT_EQ(deadline.tv_nsec, c.ns) << c.nowNs << " + " << c.micros << " us";
  }
  const struct { timespec start; uint64_t nowMs; long nowExtraNs; unsigned expected; } elapsed[] = {
      {{10, 900000000}, 11100, 0, 200},
      {{10, 0}, 10000, 999999, 0},
      // The sum is formed in 32 bits: 5 s comes out as (5e9 mod 2^32) / 1e6.
      {{10, 0}, 15000, 0, static_cast<unsigned>((5000000000ULL % (1ULL << 32)) / 1000000)},
  };
  for (const auto& c : elapsed) {
    gFakeMs = c.nowMs;
    gFakeExtraNs = c.nowExtraNs;
    timespec start = c.start;
    EXPECT_EQ(cTimer::GetElapsedTime(&start), c.expected) << c.nowMs;
  }
  EXPECT_EQ(cTimer::GetElapsedTime(nullptr), 0u);
  // A clock behind the start within the same second is refused, and so is a
  // failed reading.
  gFakeMs = 10100;
  gFakeExtraNs = 0;
  timespec start{10, 200000000};
  testing::internal::CaptureStdout();
  EXPECT_EQ(cTimer::GetElapsedTime(&start), 0u);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Problem getting diff of clock....\n");
  gFakeFails = true;
  EXPECT_EQ(cTimer::GetElapsedTime(&start), 0u);
}

}  // namespace
