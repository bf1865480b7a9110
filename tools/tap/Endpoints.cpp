#include "tap/Endpoints.h"

#include <cstdio>

#include "MqEndpoints.h"

namespace tap {

std::string DaemonEndpoint() {
  char buf[256];
  std::snprintf(buf, sizeof buf, mq::kIpcFormat, mq::kIpcDir, mq::kDlbMetadataPubIpc);
  return buf;
}

std::string DecoderEndpoint() {
  char buf[64];
  std::snprintf(buf, sizeof buf, mq::kTcpFormat, mq::kSlot1Addr, mq::kDecoderPubPort);
  return buf;
}

}  // namespace tap
