// The keep-alive rule, stepped by hand: the main loop asks every 10 ms while
// the reader thread makes progress every 5 ms until it stops (and maybe
// resumes). Keep-alives come once per interval while the reader runs, stop
// within one interval of its last progress, and resume with it. Clocks start
// at 0 and just before the 32-bit wrap.

#include <gtest/gtest.h>

#include <vector>

#include "Frame/KeepAliveRule.h"

namespace {

TEST(KeepAliveRule, FollowsTheReadersProgress) {
  constexpr unsigned kInterval = 2000, kTick = 10, kEnd = 20000, kNever = kEnd + 1;
  const struct { unsigned stop, resume; } cases[] = {{kNever, kNever}, {5003, kNever}, {5003, 11000}, {0, 9000}};
  for (const unsigned base : {0u, 0xFFFFFFFFu - 7000}) {
    for (const auto& c : cases) {
      SCOPED_TRACE(testing::Message() << "base " << base << " stop " << c.stop << " resume " << c.resume);
      cKeepAliveRule rule(kInterval, base, 0);
      std::uint32_t passes = 0;
      std::vector<unsigned> sent{0};
      for (unsigned t = kTick; t <= kEnd; t += kTick) {
        const bool running = t < c.stop || t >= c.resume;
        if (running) passes += kTick / 5;
        if (rule.Due(base + t, passes)) {
          EXPECT_GE(t - sent.back(), kInterval);
          EXPECT_FALSE(t > c.stop + kInterval && t < c.resume) << "keep-alive at " << t << " from a stalled reader";
          sent.push_back(t);
        }
        // A running reader has had a keep-alive within the last interval (and tick).
        if ((t < c.stop && t >= kInterval + kTick) || t >= c.resume + kInterval + kTick) {
          EXPECT_LE(t - sent.back(), kInterval + kTick) << "no keep-alive by " << t;
        }
      }
    }
  }
  EXPECT_FALSE(cKeepAliveRule(0, 0, 0).Due(5000, 1)) << "no interval, no keep-alive";
}

}  // namespace
