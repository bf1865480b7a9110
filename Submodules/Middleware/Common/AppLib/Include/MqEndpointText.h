#pragma once
// Endpoint texts ("ipc://dir/name", "tcp://addr:port") built from the fixed
// endpoints, where the text itself is needed: the PUSH connections' log lines
// and the tests that play the device's peers.

#include <cstdio>
#include <string>

#include "MqEndpoints.h"

namespace mq {
namespace detail {

// printf-style formatting into a std::string ("" when the format yields
// nothing); may throw std::bad_alloc.
template <typename... Args>
std::string FormatText(const char* format, Args... args) {
  const int len = std::snprintf(nullptr, 0, format, args...);
  if (len <= 0) return std::string();
  std::string text(static_cast<size_t>(len) + 1, '\0');
  std::snprintf(&text[0], text.size(), format, args...);
  text.resize(static_cast<size_t>(len));
  return text;
}

inline std::string IpcEndpoint(const char* name) { return FormatText(kIpcFormat, kIpcDir, name); }

inline std::string TcpEndpoint(const char* address, unsigned int port) {
  return FormatText(kTcpFormat, address, port);
}

}  // namespace detail
}  // namespace mq
