#pragma once
// Keeps a bound ipc endpoint reachable when its socket file goes away.
//
// An ipc endpoint is a socket file in the queue directory. When another
// process empties or recreates that directory (a peer's restart or clean-up
// does this), the file is gone or replaced: the socket still listens, but
// nobody new can reach it. The guard compares the file at the endpoint's path
// with the one the socket bound and, when they differ, binds the same socket
// to the path again, so it keeps its state. Subscribers that were connected
// through the lost file reconnect by themselves (libzmq's reconnect interval,
// 100 ms by default).
// A socket is not thread-safe: only the thread that uses the socket may call
// Check.

#include <sys/types.h>

#include <string>

#include "Timer.h"

typedef struct _zsock_t zsock_t;

class cMqIpcBindGuard {
 public:
  // What Check did.
  enum Result_e { CHECK_NOT_DUE, CHECK_BOUND, CHECK_REBOUND, CHECK_REBIND_FAILED };

  // Starts guarding `sock` (not owned; it must outlive the guard or be
  // handed to a new Watch) at ipc://<dir>/<name>. `bound` tells whether the
  // socket is bound there now: the file found at the path is then taken as
  // its own. Otherwise (a failed first bind) the first Check binds it.
  void Watch(zsock_t* sock, const char* dir, const char* name, bool bound);

  // At most once per `checkMs` (the first call at once): CHECK_BOUND when the
  // path still holds the file bound last; else unbinds the old endpoint and
  // binds again: CHECK_REBOUND, or CHECK_REBIND_FAILED (the directory is
  // missing, say; tried again at the next check). CHECK_NOT_DUE between
  // checks and without a socket.
  Result_e Check(unsigned checkMs = 1000);

  // True while the path holds the socket's own file, as of the last check.
  bool IsBound() const { return mbBound; }
  // The endpoint text, "ipc://<dir>/<name>".
  const std::string& Endpoint() const { return mEndpoint; }

 private:
  // Reads the path's device and inode; false when there is no file.
  bool ReadFileId(dev_t* dev, ino_t* ino) const;

  zsock_t* mpSock = nullptr;  // guarded, not owned
  std::string mPath;
  std::string mEndpoint;
  dev_t mDev = 0;
  ino_t mIno = 0;
  bool mbBound = false;
  cTimer mCheckTimer;  // stopped: the first check is due at once
};
