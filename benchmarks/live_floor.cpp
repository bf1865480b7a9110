#include "LiveFloor.h"

#include <cstring>
#include <ctime>
#include <map>
#include <utility>

#include "DaemonHarness.h"
#include "MetadataJsonPaData.h"
#include "MqEndpoints.h"
#include "PADMetadataJsonDecStatus.h"
#include "Shared/Topics.h"

namespace live_floor {

namespace {

// The daemon's values (the reader's socket towards the decoder, the
// publisher's queue).
constexpr int kDecoderRcvHwm = 10;
constexpr int kPubSndHwm = 100;
constexpr int kPollMs = 5;

// The documents of one record, as the daemon renders them.
struct Stored {
  std::string status, presentation;
};

// Records are told apart by stream type and object audio, which is enough
// for bench_live's kinds.
using Key = std::pair<int32_t, uint32_t>;
Key KeyOf(const kv_dolby_metadata_t& rec) { return {rec.typeId, rec.atmosDecode}; }

}  // namespace

int RunForwarder(const std::vector<std::unique_ptr<kv_dolby_metadata_t>>& records) {
  std::map<Key, Stored> stored;
  for (const auto& rec : records) {
    Stored& s = stored[KeyOf(*rec)];
    cPADMetadataJsonDecStatus* status = cPADMetadataJsonDecStatus::GetInstance();
    cMetadataJsonPaData* pa = cMetadataJsonPaData::GetInstance();
    if (status == nullptr || pa == nullptr) return 1;
    status->PrepareMetadataJson(*rec, time(nullptr));
    s.status.assign(status->GetString(), status->GetSize());
    if (rec->mdType == DLB_PADC_UI_MD_TYPE_ED2) {
      pa->PreparePaMetadataJson(*rec, rec->atmosDecode != 0, time(nullptr));
      s.presentation.assign(pa->GetString(), pa->GetSize());
    }
  }
  zsock_t* sub = zsock_new(ZMQ_SUB);
  zsock_t* pub = zsock_new(ZMQ_PUB);
  if (sub == nullptr || pub == nullptr) return 1;
  zsock_set_maxmsgsize(sub, static_cast<int>(mq::kMaxDecoderFrameBytes));
  zsock_set_rcvhwm(sub, kDecoderRcvHwm);
  zsock_set_sndhwm(pub, kPubSndHwm);
  if (zsock_bind(pub, "%s", kOutputEndpoint) != 0 || zsock_connect(sub, "%s", kDecoderEndpoint) != 0) return 1;
  zsock_set_subscribe(sub, topic::kDolbyMetadataEvent);
  zsock_set_subscribe(sub, topic::kDolbyMetadataBinEvent);
  zpoller_t* poller = zpoller_new(sub, nullptr);
  auto record = std::make_unique<kv_dolby_metadata_t>();
  const std::string state = harness::StateText("Decoding", "Dolby Zoom");
  while (!zsys_interrupted) {
    if (zpoller_wait(poller, kPollMs) == nullptr) continue;
    char* topicText = nullptr;
    byte* data = nullptr;
    size_t size = 0;
    if (zsock_recv(sub, "sb", &topicText, &data, &size) == 0 && data != nullptr && size >= sizeof *record) {
      std::memcpy(record.get(), data, sizeof *record);
      const auto found = stored.find(KeyOf(*record));
      if (found != stored.end()) {
        zstr_sendm(pub, topic::kDolbyProcStatus);
        zstr_send(pub, state.c_str());
        zstr_sendm(pub, topic::kDolbyMetadataGrp);
        zstr_send(pub, found->second.status.c_str());
        if (!found->second.presentation.empty()) {
          zstr_sendm(pub, topic::kDolbyPAData);
          zstr_send(pub, found->second.presentation.c_str());
        }
      }
    }
    zstr_free(&topicText);
    free(data);
  }
  zpoller_destroy(&poller);
  zsock_destroy(&sub);
  zsock_destroy(&pub);
  return 0;
}

Peers::Peers()
    : decoder(harness::BindWithRetry(zsock_new_pub, kDecoderEndpoint)),
      out(zsock_new_sub(kOutputEndpoint, "")) {}

Peers::~Peers() {
  zsock_destroy(&decoder);
  zsock_destroy(&out);
}

}  // namespace live_floor
