#pragma once
// Topic tables for the daemon's subscribing sockets, built from Topics.h.

#include <cstddef>
#include <cstring>

#include "MqEndpoints.h"
#include "Shared/Topics.h"

namespace topic {

// A topic table as the socket wrappers take it: N entries of mq::kTopicLen
// characters, each holding one topic (cut at kTopicLen - 1 characters).
template <std::size_t N>
struct Table {
  char entries[N][mq::kTopicLen];
  static constexpr int kCount = static_cast<int>(N);
};

// The table of the given topics, in their order.
template <typename... Topics>
Table<sizeof...(Topics)> MakeTable(Topics... topics) {
  Table<sizeof...(Topics)> table{};
  const char* list[] = {topics...};
  for (std::size_t i = 0; i < sizeof...(Topics); ++i) std::strncpy(table.entries[i], list[i], mq::kTopicLen - 1);
  return table;
}


}  // namespace topic
