#include "MqPeerReconnect.h"

#include <zmq.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

cMqPeerReconnect::~cMqPeerReconnect() { Stop(); }

bool cMqPeerReconnect::Watch(zsock_t* sock, const char* name) {
  Stop();
  if (sock == nullptr || name == nullptr) return false;
  char endpoint[128];
  std::snprintf(endpoint, sizeof endpoint, "inproc://peer-reconnect-%s", name);
  if (zmq_socket_monitor(zsock_resolve(sock), endpoint, ZMQ_EVENT_DISCONNECTED) != 0) return false;
  mpMonitor = zsock_new_pair(nullptr);
  if (mpMonitor == nullptr || zsock_connect(mpMonitor, "%s", endpoint) != 0) {
    zsock_destroy(&mpMonitor);
    zmq_socket_monitor(zsock_resolve(sock), nullptr, 0);
    return false;
  }
  mpSock = sock;
  return true;
}

int cMqPeerReconnect::Poll() {
  if (mpMonitor == nullptr) return 0;
  int reconnected = 0;
  while (zmsg_t* event = zmsg_recv_nowait(mpMonitor)) {
    // Frame 1: event number (16 bits) and value (32 bits); frame 2: endpoint.
    zframe_t* head = zmsg_first(event);
    zframe_t* where = zmsg_next(event);
    uint16_t id = 0;
    if (head != nullptr && zframe_size(head) >= sizeof id) std::memcpy(&id, zframe_data(head), sizeof id);
    char* endpoint = where != nullptr ? zframe_strdup(where) : nullptr;
    if (id == ZMQ_EVENT_DISCONNECTED && endpoint != nullptr && endpoint[0] != '\0') {
      zmq_disconnect(zsock_resolve(mpSock), endpoint);
      if (zmq_connect(zsock_resolve(mpSock), endpoint) == 0) ++reconnected;
    }
    zstr_free(&endpoint);
    zmsg_destroy(&event);
  }
  return reconnected;
}

void cMqPeerReconnect::Stop() {
  if (mpSock != nullptr) zmq_socket_monitor(zsock_resolve(mpSock), nullptr, 0);
  zsock_destroy(&mpMonitor);
  mpSock = nullptr;
}
