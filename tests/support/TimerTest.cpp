// cTimer on a hand-stepped clock: time-out boundary, fire-once, the state
// changes, 32-bit wrap, and the two static helpers.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>

#include "Timer.h"

namespace {

// The fake monotonic clock, in milliseconds (64-bit so it can pass 2^32).
uint64_t gFakeMs = 0;
long gFakeExtraNs = 0;  // sub-millisecond part, for the helpers
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

TEST_F(TimerTest, TimesOutStrictlyAfterTheTimeoutAndOnlyOnce) {
  cTimer timer(1000);
  EXPECT_TRUE(timer.IsRunning());
  const struct {
    unsigned advanceTo;
    bool timedOut;
  } polls[] = {{0, false}, {999, false}, {1000, false}, {1001, true}, {1002, true}, {5000, true}};
  const uint64_t start = gFakeMs;
  for (const auto& p : polls) {
    gFakeMs = start + p.advanceTo;
    EXPECT_EQ(timer.HasTimedOut(), p.timedOut) << "at " << p.advanceTo << " ms";
  }
  EXPECT_FALSE(timer.IsRunning());

  // Restart keeps the time-out and counts from now.
  timer.Restart();
  EXPECT_FALSE(timer.HasTimedOut());
  gFakeMs += 1000;
  EXPECT_FALSE(timer.HasTimedOut());
  gFakeMs += 1;
  EXPECT_TRUE(timer.HasTimedOut());

  timer.Restart(10);
  EXPECT_EQ(timer.GetTimeoutMs(), 10u);
  gFakeMs += 10;
  EXPECT_FALSE(timer.HasTimedOut());
  gFakeMs += 1;
  EXPECT_TRUE(timer.HasTimedOut());
}

TEST_F(TimerTest, DefaultTimerIsStoppedAndTimedOut) {
  cTimer timer;
  EXPECT_FALSE(timer.IsRunning());
  EXPECT_EQ(timer.GetTimeoutMs(), 0u);
  EXPECT_TRUE(timer.HasTimedOut());
  EXPECT_FALSE(timer.Stop());
}

TEST_F(TimerTest, ZeroTimeoutFiresAfterOneMillisecond) {
  cTimer timer(0);
  EXPECT_FALSE(timer.HasTimedOut());
  gFakeMs += 1;
  EXPECT_TRUE(timer.HasTimedOut());
}

TEST_F(TimerTest, SetTimeoutStopsARunningTimer) {
  cTimer timer(1000);
  gFakeMs += 10;
  timer.SetTimeout(500);
  EXPECT_FALSE(timer.IsRunning());
  EXPECT_EQ(timer.GetTimeoutMs(), 500u);
  EXPECT_TRUE(timer.HasTimedOut());
  // Start picks the new time-out up from now.
  timer.Start();
  EXPECT_FALSE(timer.HasTimedOut());
  gFakeMs += 501;
  EXPECT_TRUE(timer.HasTimedOut());
}

TEST_F(TimerTest, StartLeavesARunningTimerAlone) {
  cTimer timer(100);
  gFakeMs += 60;
  timer.Start();
  gFakeMs += 41;
  EXPECT_EQ(timer.GetElapsedMs(), 101u);
  EXPECT_TRUE(timer.HasTimedOut());
}

TEST_F(TimerTest, StopReportsExpiryAndStops) {
  const struct {
    unsigned elapsed;
    bool expired;
  } cases[] = {{0, false}, {999, false}, {1000, false}, {1001, true}};
  for (const auto& c : cases) {
    cTimer timer(1000);
    gFakeMs += c.elapsed;
    EXPECT_EQ(timer.Stop(), c.expired) << c.elapsed;
    EXPECT_FALSE(timer.IsRunning());
    EXPECT_TRUE(timer.HasTimedOut());
    EXPECT_FALSE(timer.Stop());
  }
}

TEST_F(TimerTest, ClearTimerRestampsTheStart) {
  cTimer timer(1000);
  gFakeMs += 700;
  timer.ClearTimer();
  EXPECT_EQ(timer.GetElapsedMs(), 0u);
  gFakeMs += 25;
  EXPECT_EQ(timer.GetElapsedMs(), 25u);  // counted while stopped too
}

TEST_F(TimerTest, MillisecondsAreTakenModulo2To32) {
  gFakeMs = (uint64_t{1} << 32) + 1234;
  gFakeExtraNs = 999999;  // below one millisecond: dropped
  EXPECT_EQ(cTimer::GetCurrentTimeMs(), 1234u);
}

TEST_F(TimerTest, ElapsedTimeSurvivesTheWrap) {
  gFakeMs = (uint64_t{1} << 32) - 500;
  cTimer timer(1000);
  gFakeMs = (uint64_t{1} << 32) + 499;
  EXPECT_EQ(timer.GetElapsedMs(), 999u);
  EXPECT_FALSE(timer.HasTimedOut());
  gFakeMs += 2;
  EXPECT_EQ(timer.GetElapsedMs(), 1001u);
  EXPECT_TRUE(timer.HasTimedOut());
}

TEST_F(TimerTest, ClockFailurePrintsAndExpiresARunningTimer) {
  gFakeMs = 123456;
  cTimer timer(1000);
  gFakeFails = true;
  testing::internal::CaptureStdout();
  EXPECT_EQ(cTimer::GetCurrentTimeMs(), 0u);
  // A reading of 0 makes the elapsed time huge: the timer fires at once.
  EXPECT_TRUE(timer.HasTimedOut());
  const std::string out = testing::internal::GetCapturedStdout();
  const std::string line =
      std::string("Timer Err : GetTime Failed.  Reason: ") + std::strerror(EINVAL) + "\n";
  EXPECT_EQ(out.substr(0, line.size()), line);
}

TEST_F(TimerTest, SleepDeadlineCarriesOnce) {
  const struct {
    long nowNs;
    int micros;
    time_t expectSec;
    long expectNs;
  } cases[] = {
      {500000000, 999999, 11, 500000000 + 999999000 - 999999999},
      {0, 1000, 10, 1000000},
      {999999000, 0, 10, 999999000},
      {999999998, 0, 10, 999999998},  // at the bound: no carry
      {999999999, 0, 11, 0},          // above it: carry of 999,999,999
      {999999000, 1, 11, 1},
  };
  for (const auto& c : cases) {
    const timespec now{10, c.nowNs};
    const timespec deadline = cTimer::SleepDeadline(now, c.micros);
    EXPECT_EQ(deadline.tv_sec, c.expectSec) << c.nowNs << " + " << c.micros << " us";
    EXPECT_EQ(deadline.tv_nsec, c.expectNs) << c.nowNs << " + " << c.micros << " us";
  }
}

TEST_F(TimerTest, ElapsedTimeHelper) {
  const struct {
    timespec start;
    uint64_t nowMs;
    long nowExtraNs;
    unsigned expected;
  } cases[] = {
      {{10, 900000000}, 11100, 0, 200},
      {{10, 0}, 10000, 999999, 0},
      {{10, 0}, 14000, 0, 4000},
      // The sum is formed in 32 bits: 5 s comes out as (5e9 mod 2^32) / 1e6.
      {{10, 0}, 15000, 0, static_cast<unsigned>((5000000000ULL % (1ULL << 32)) / 1000000)},
  };
  for (const auto& c : cases) {
    gFakeMs = c.nowMs;
    gFakeExtraNs = c.nowExtraNs;
    timespec start = c.start;
    EXPECT_EQ(cTimer::GetElapsedTime(&start), c.expected) << c.nowMs;
  }
  EXPECT_EQ(cTimer::GetElapsedTime(nullptr), 0u);
}

TEST_F(TimerTest, ElapsedTimeRejectsAClockBehindTheStart) {
  gFakeMs = 10100;
  timespec start{10, 200000000};
  testing::internal::CaptureStdout();
  EXPECT_EQ(cTimer::GetElapsedTime(&start), 0u);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Problem getting diff of clock....\n");

  gFakeFails = true;
  EXPECT_EQ(cTimer::GetElapsedTime(&start), 0u);
}

}  // namespace
