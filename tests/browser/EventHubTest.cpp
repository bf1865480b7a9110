// The hub between the tap's receive loop and its browsers: a client that
// does not read holds at most the newest event per key, in arrival order.
#include <gtest/gtest.h>

#include <thread>

#include "tap/EventHub.h"

namespace {

using namespace std::chrono_literals;

std::vector<std::string> Take(tap::EventHub& hub, long id, std::chrono::milliseconds wait = 0ms) {
  std::vector<tap::EventHub::Text> events;
  std::vector<std::string> texts;
  if (!hub.Take(id, events, wait)) return {"(closed)"};
  for (const auto& e : events) texts.push_back(*e);
  return texts;
}

TEST(EventHub, LaggingClientKeepsNewestPerKeyAndNewClientStartsWithThem) {
  tap::EventHub hub(2, 3);
  const long slow = hub.Join();
  const long idle = hub.Join();
  EXPECT_EQ(hub.Join(), -1) << "a third client beyond the limit";
  for (const char* e : {"a:1", "b:1", "a:2", "c:1", "d:1", "b:2", "a:3"})
    hub.Publish(std::string(1, e[0]), e);  // "d" is a fourth key: dropped
  EXPECT_EQ(Take(hub, slow), (std::vector<std::string>{"c:1", "b:2", "a:3"}));
  EXPECT_EQ(Take(hub, slow), std::vector<std::string>{}) << "taken once";
  EXPECT_EQ(hub.Skipped(), 6u) << "a:1, b:1, a:2 replaced for each of the two clients";

  hub.Leave(idle);
  const long late = hub.Join();
  ASSERT_GE(late, 0) << "the place of the client that left";
  EXPECT_EQ(Take(hub, late), (std::vector<std::string>{"a:3", "b:2", "c:1"}));
  EXPECT_EQ(Take(hub, idle), std::vector<std::string>{"(closed)"}) << "unknown after Leave";
}

TEST(EventHub, PublishAndCloseWakeAWaitingClient) {
  tap::EventHub hub(1, 8);
  const long id = hub.Join();
  std::thread publisher([&] {
    std::this_thread::sleep_for(50ms);
    hub.Publish("k", "event");
  });
  EXPECT_EQ(Take(hub, id, 60s), std::vector<std::string>{"event"});
  publisher.join();
  std::thread closer([&] {
    std::this_thread::sleep_for(50ms);
    hub.Close();
  });
  EXPECT_EQ(Take(hub, id, 60s), std::vector<std::string>{"(closed)"});
  closer.join();
  EXPECT_EQ(hub.Join(), -1) << "closed";
}

}  // namespace
