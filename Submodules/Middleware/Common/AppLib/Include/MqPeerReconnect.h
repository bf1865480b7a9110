#pragma once
// Connects a subscriber again to a peer that libzmq dropped for good.
//
// A subscription refuses a message over its maximum message size by closing
// that peer's connection. libzmq counts this as a protocol error and, unlike
// after a lost connection, does not reconnect: the peer would be unheard
// until the daemon restarts. This watcher reads the socket's disconnection
// events and connects each dropped endpoint again, so a peer that once sent
// too much is heard again at its next valid message. A lost connection that
// libzmq would have retried anyway is simply replaced by a fresh one.

#include <czmq.h>

class cMqPeerReconnect {
 public:
  cMqPeerReconnect() = default;
  // Stops watching (see Stop).
  ~cMqPeerReconnect();
  cMqPeerReconnect(const cMqPeerReconnect&) = delete;
  cMqPeerReconnect& operator=(const cMqPeerReconnect&) = delete;

  // Starts watching `sock` (not owned; it must outlive the watch or be
  // handed to Stop first). `name` makes the monitor's inproc endpoint unique
  // in the process. Returns true when the watch runs. A second call stops
  // the previous watch first.
  bool Watch(zsock_t* sock, const char* name);

  // Reads the pending events without waiting and connects every dropped
  // endpoint again. Returns how many endpoints were connected again. Call it
  // from the thread that uses the socket.
  int Poll();

  // Ends the watch and closes the monitor socket; the watched socket stays.
  void Stop();

 private:
  zsock_t* mpSock = nullptr;     // watched, not owned
  zsock_t* mpMonitor = nullptr;  // PAIR receiving the events, owned
};
