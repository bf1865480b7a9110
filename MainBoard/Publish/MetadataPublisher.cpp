#include "Publish/MetadataPublisher.h"

#include <czmq.h>

#include <cstdio>

#include "Logger.h"
#include "Publish/PubHandler.h"
#include "MqEndpoints.h"

// Messages queued per subscriber that reads too slowly; newer ones are then
// dropped for it (docs/DECISIONS.md, "Bounded memory").
constexpr int kPubSndHwm = 100;

void initPubs(int slot) {
  cPubHandler* pub = cPubHandler::GetInstance();
  if (pub == nullptr) return;

  std::printf("bind to ipc://%s", mq::kDlbMetadataPubIpc);

  if (pub->mbBoundOverIpc || pub->mbBoundOverTcp || pub->mpSock != nullptr) pub->Reset();

  pub->mpSock = zsock_new(ZMQ_PUB);
  if (pub->mpSock != nullptr) zsock_set_sndhwm(pub->mpSock, kPubSndHwm);
  pub->mEndpoint = mq::kDlbMetadataPubIpc;

  if (!(pub->mbBoundOverIpc && pub->mpSock != nullptr)) {
    zsock_t* bound = pub->BindMqOverIpc(pub->mEndpoint.c_str(), pub->mpSock);
    if (bound != nullptr) {
      if (bound != pub->mpSock) {
        pub->DestroyMq(&pub->mpSock);
        pub->mpSock = bound;
      }
      pub->mbBoundOverIpc = true;
    } else if (!pub->mbBoundOverIpc) {
      // The socket stays in place unbound: later sends go nowhere but succeed.
      LOG_AT(cPubHandler, Critical, MSG_LEVEL_CRITICAL, "\"Failed to initialize HWM Pubs.\"");
    }
  }

  pub->miSlot = slot;
}

void cleanPubs() {
  cPubHandler* pub = cPubHandler::GetInstance();
  if (pub != nullptr) pub->Reset();
}
