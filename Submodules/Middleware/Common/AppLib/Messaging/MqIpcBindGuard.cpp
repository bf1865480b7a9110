#include "MqIpcBindGuard.h"

#include <czmq.h>
#include <sys/stat.h>

void cMqIpcBindGuard::Watch(zsock_t* sock, const char* dir, const char* name, bool bound) {
  mpSock = sock;
  mPath = std::string(dir) + "/" + name;
  mEndpoint = "ipc://" + mPath;
  mbBound = bound && ReadFileId(&mDev, &mIno);
  mCheckTimer.ClearTimer();
}

bool cMqIpcBindGuard::ReadFileId(dev_t* dev, ino_t* ino) const {
  struct stat st {};
  if (stat(mPath.c_str(), &st) != 0) return false;
  *dev = st.st_dev;
  *ino = st.st_ino;
  return true;
}

cMqIpcBindGuard::Result_e cMqIpcBindGuard::Check(unsigned checkMs) {
  if (mpSock == nullptr || !mCheckTimer.HasTimedOut()) return CHECK_NOT_DUE;
  mCheckTimer.Restart(checkMs);
  dev_t dev = 0;
  ino_t ino = 0;
  if (mbBound && ReadFileId(&dev, &ino) && dev == mDev && ino == mIno) return CHECK_BOUND;
  // The listener of the lost file is closed first (its connections go with
  // it and reconnect); binding unlinks whatever else sits at the path.
  zsock_unbind(mpSock, "%s", mEndpoint.c_str());
  mbBound = zsock_bind(mpSock, "%s", mEndpoint.c_str()) == 0 && ReadFileId(&mDev, &mIno);
  return mbBound ? CHECK_REBOUND : CHECK_REBIND_FAILED;
}
