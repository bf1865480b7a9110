#pragma once
// What the publishing and subscribing wrappers share: attaching a socket,
// made on demand, to an endpoint written with czmq's printf-style format.

#include <czmq.h>

namespace mq {

// Binds (`bind` true) or connects `sock` to the endpoint that `format` and
// `args` describe, first making a socket of `type` when `sock` is null.
// Returns the attached socket. Returns null when no socket could be made or
// the bind/connect failed; a socket made here is then destroyed again, while
// one passed in stays the caller's, as it was.
template <typename... Args>
zsock_t* AttachSocket(zsock_t* sock, int type, bool bind, const char* format, Args... args) {
  zsock_t* target = sock != nullptr ? sock : zsock_new(type);
  if (target == nullptr) return nullptr;
  const int rc =
      bind ? zsock_bind(target, format, args...) : zsock_connect(target, format, args...);
  if (rc == -1) {
    if (target != sock) zsock_destroy(&target);
    return nullptr;
  }
  return target;
}

}  // namespace mq
