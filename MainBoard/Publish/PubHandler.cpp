#include "Publish/PubHandler.h"

#include "Singleton.h"

cPubHandler* cPubHandler::mpPub = nullptr;
Logger* cPubHandler::mpLogger = nullptr;
int cPubHandler::mLogLevel = MSG_LEVEL_DEBUG;

DlbPubHandler* cDlbLoudnessPubHandler::mpPub = nullptr;
Logger* cDlbLoudnessPubHandler::mpLogger = nullptr;
int cDlbLoudnessPubHandler::mLogLevel = MSG_LEVEL_DEBUG;

cPubHandler* cPubHandler::GetInstance() {
  return SingleInstance(mpPub, DeleteInstance, [] { return new cPubHandler(); },
                        [] { mpLogger = Logger::GetInstance(); });
}

void cPubHandler::DeleteInstance() {
  if (mpPub == nullptr) return;
  mpPub->Reset();
  delete mpPub;
  mpPub = nullptr;
}
