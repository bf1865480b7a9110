#pragma once
// The PUSH connection the logger and the heartbeat client make towards the
// main board's collectors. Each reports the steps in its own log style.

#include <czmq.h>

namespace mq {

// Steps of ConnectPush, reported in this order (a refusal ends at the first).
enum class PushStep {
  kAlreadyConnected,  // *slot already held a socket: nothing else is done
  kTrying,            // before the connect
  kFailed,            // the connect failed; the new socket is destroyed again
  kConnected,         // the socket now sits in *slot
};

// Connects a new PUSH socket to `endpoint` (an "ipc://" or "tcp://" text) and
// stores it in *slot. A positive `queueLimit` caps the send queue at that many
// messages and makes sends never wait: messages beyond it are dropped. Calls
// report(step, endpoint) at each step above. Returns true once connected;
// false when *slot already held a socket, when no socket could be made
// (nothing is reported then) or when the connect failed. The socket belongs
// to the caller, who closes it with zsock_destroy.
template <typename Report>
bool ConnectPush(zsock_t** slot, const char* endpoint, int queueLimit, Report report) {
  if (*slot != nullptr) {
    report(PushStep::kAlreadyConnected, endpoint);
    return false;
  }
  zsock_t* sock = zsock_new(ZMQ_PUSH);
  if (sock == nullptr) return false;
  if (queueLimit > 0) {
    zsock_set_sndhwm(sock, queueLimit);
    zsock_set_sndtimeo(sock, 0);
  }
  report(PushStep::kTrying, endpoint);
  if (zsock_connect(sock, "%s", endpoint) != 0) {
    zsock_destroy(&sock);
    report(PushStep::kFailed, endpoint);
    return false;
  }
  *slot = sock;
  report(PushStep::kConnected, endpoint);
  return true;
}

}  // namespace mq
