#include "Messaging/PubHandler.h"

#include <cstdlib>
#include <new>

cPubHandler* cPubHandler::mpPub = nullptr;
Logger* cPubHandler::mpLogger = nullptr;
int cPubHandler::mLogLevel = MSG_LEVEL_DEBUG;

DlbPubHandler* cDlbLoudnessPubHandler::mpPub = nullptr;
Logger* cDlbLoudnessPubHandler::mpLogger = nullptr;
int cDlbLoudnessPubHandler::mLogLevel = MSG_LEVEL_DEBUG;

cPubHandler* cPubHandler::GetInstance() {
  if (mpPub != nullptr) return mpPub;
  try {
    mpPub = new cPubHandler();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  mpLogger = Logger::GetInstance();
  static const bool registered = (std::atexit(DeleteInstance) == 0);
  (void)registered;
  return mpPub;
}

void cPubHandler::DeleteInstance() {
  if (mpPub == nullptr) return;
  mpPub->Reset();
  delete mpPub;
  mpPub = nullptr;
}
