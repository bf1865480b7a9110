#pragma once
// The daemon's metadata publisher: one PUB socket on dlbMetadataPub.ipc,
// shared by the process frame (bind, tear-down) and the decoder status
// reader (sends).

#include "Logger.h"
#include "Publish/DlbPubHandler.h"

class cPubHandler : public DlbPubHandler {
 public:
  // Allocates the instance on first use and registers DeleteInstance to run
  // at exit; null when allocation fails.
  static cPubHandler* GetInstance();
  static void DeleteInstance();

  static cPubHandler* mpPub;
  static Logger* mpLogger;
  static int mLogLevel;

 private:
  cPubHandler() = default;
};

// Loudness publisher: only its statics exist; nothing creates an instance and
// nothing publishes the loudness topic.
class cDlbLoudnessPubHandler {
 public:
  cDlbLoudnessPubHandler() = delete;

  static DlbPubHandler* mpPub;
  static Logger* mpLogger;
  static int mLogLevel;
};
