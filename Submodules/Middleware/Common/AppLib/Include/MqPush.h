#pragma once
// The PUSH connection the logger and the heartbeat client make towards the
// main board's collectors. Each writes the step lines in its own log style.

#include <czmq.h>

#include "Logger.h"

namespace mq {

// Connects a new PUSH socket to `endpoint` (an "ipc://" or "tcp://" text) and
// stores it in *slot. A positive `queueLimit` caps the send queue at that many
// messages and makes sends never wait: messages beyond it are dropped. Each
// step is reported as report(level, text, endpoint), the line being text, a
// space, endpoint: an Error when *slot already holds a socket (nothing else is
// done), a Debug before the connect, an Error when it failed (the new socket
// is destroyed again), an Info once the socket sits in *slot. Returns true
// once connected; false when *slot already held a socket, when no socket could
// be made (nothing is reported then) or when the connect failed. The socket
// belongs to the caller, who closes it with zsock_destroy.
template <typename Report>
bool ConnectPush(zsock_t** slot, const char* endpoint, int queueLimit, Report report) {
  if (*slot != nullptr) {
    report(MSG_LEVEL_ERROR, "Seems this instance already connected to", endpoint);
    return false;
  }
  zsock_t* sock = zsock_new(ZMQ_PUSH);
  if (sock == nullptr) return false;
  if (queueLimit > 0) {
    zsock_set_sndhwm(sock, queueLimit);
    zsock_set_sndtimeo(sock, 0);
  }
  report(MSG_LEVEL_DEBUG, "Tryig to connect", endpoint);
  if (zsock_connect(sock, "%s", endpoint) != 0) {
    zsock_destroy(&sock);
    report(MSG_LEVEL_ERROR, "Failed to connect to", endpoint);
    return false;
  }
  *slot = sock;
  report(MSG_LEVEL_INFO, "Connected to", endpoint);
  return true;
}

}  // namespace mq
