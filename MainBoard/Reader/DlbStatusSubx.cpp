#include "Reader/DlbStatusSubx.h"

#include <czmq.h>
#include <pthread.h>
#include <sched.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "AltSignalStack.h"
#include "Shared/ProcessState.h"
#include "JsonParseHbMonMessages.h"
#include "Logger.h"
#include "MqEndpoints.h"
#include "MqIpcBindGuard.h"
#include "MqPeerReconnect.h"
#include "Publish/PubHandler.h"
#include "Reader/ReaderActivity.h"
#include "Render/MetadataJsonPaData.h"
#include "Render/PADMetadataJsonDecStatus.h"
#include "Shared/TopicTable.h"

std::atomic<bool> cDlbStatusSubx::mbForcedPub{true};
std::atomic<long> cDlbStatusSubx::mlForcedPubCount{0};
cPubHandler* cDlbStatusSubx::mpPubs = nullptr;
cPADMetadataJsonDecStatus* cDlbStatusSubx::mpJDecStatus = nullptr;
cMetadataJsonPaData* cDlbStatusSubx::mpJPaData = nullptr;
Logger* cDlbStatusSubx::mpLogger = nullptr;
int cDlbStatusSubx::mLogLevel = 10;

namespace {

constexpr std::memory_order kRelaxed = std::memory_order_relaxed;
constexpr unsigned kStateIntervalMs = 2000;
constexpr unsigned kRepubIntervalMs = 2000;
constexpr unsigned kDecoderWaitMs = 300000;
constexpr int kPollMs = 5;
// Records queued between the decoder and this thread: about 340 kB at most
// (docs/DECISIONS.md, "Bounded memory").
constexpr int kDecoderRcvHwm = 10;

// Topics subscribed on the decoder's socket; "DolbyMetadataBinEvent" arrives
// too but only "DolbyMetadataEvent" carries records the daemon renders.
auto gDecoderTopics = topic::MakeTable(topic::kDolbyMetadataEvent, topic::kDolbyMetadataBinEvent);

bool SameTopic(const char* a, const char* b) { return strncmp(a, b, mq::kTopicLen) == 0; }

}  // namespace

cDlbStatusSubx::cDlbStatusSubx() {
  mpLogger = Logger::GetInstance();
  mpPubs = cPubHandler::GetInstance();
  mpJDecStatus = cPADMetadataJsonDecStatus::GetInstance();
  mpJPaData = cMetadataJsonPaData::GetInstance();
  mbLastZoomStatus = false;
  std::memset(&mRecord, 0, sizeof mRecord);
}

void cDlbStatusSubx::PublishDolbyDecoderStatus(bool decoding) {
  if (mpPubs == nullptr) return;
  const char* status;
  if (!cJsonParseSysStatus::mbDolbyDecoderDetected.load(kRelaxed)) {
    status = mDecoderWaitTimer.HasTimedOut() ? "No Decoder found" : "Waiting for Decoder";
  } else if (!mbConnected) {
    status = "Not connected to Dolby Decoder";
  } else {
    status = decoding ? "Decoding" : "Not Decoding";
  }
  const int source = miDecodingSource.load(kRelaxed);
  const char* event = source == kSourceDolbyZoom ? "Dolby Zoom" : source == kSourceDolbyPreset ? "Dolby Preset" : "";
  char text[256];
  snprintf(text, sizeof text, "{\"Status\" : \"%s\", \"Event\" : \"%s\"}", status, event);
  cReaderActivity::mpDecoderState.store(status, kRelaxed);
  mpPubs->SendJson(mpPubs->mpSock, topic::kDolbyProcStatus, text);
}

void cDlbStatusSubx::PublishMetadata(bool withDocument, bool repub) {
  if (mpPubs == nullptr) return;
  const char* payload = withDocument && mpJDecStatus != nullptr ? mpJDecStatus->GetString() : "{}";
  mpPubs->SendJson(mpPubs->mpSock, repub ? topic::kDolbyMetadataGrpRepub : topic::kDolbyMetadataGrp,
                   payload);
}

void cDlbStatusSubx::PublishPAData(bool withDocument, bool repub) {
  if (mpPubs == nullptr) return;
  const char* payload = withDocument && mpJPaData != nullptr ? mpJPaData->GetString() : "{}";
  mpPubs->SendJson(mpPubs->mpSock, repub ? topic::kDolbyPADataRepub : topic::kDolbyPAData, payload);
}

uint32_t cDlbStatusSubx::MisalignmentInLines(int32_t misalignment, std::int64_t factorThousandths) {
  // Single precision, halves away from zero. The product stays far below the
  // range of 64 bits (|int32| x uint32 / 1000), so llroundf is defined; a
  // 32-bit long would not hold it.
  const float lines = std::fabs(static_cast<float>(misalignment)) *
                      (static_cast<float>(factorThousandths) / 1000.0f);
  return static_cast<uint32_t>(std::llroundf(lines));
}

void cDlbStatusSubx::AmendRecord(kv_dolby_metadata_t& rec) {
  switch (rec.mdType) {
    case DLB_PADC_UI_MD_TYPE_DOLBYE:
      rec.vidLnNoForZP = miVidLnNoForZP.load(kRelaxed);
      break;
    case DLB_PADC_UI_MD_TYPE_ED2:
      rec.vidLnNoForZP = miVidLnNoForZP.load(kRelaxed);
      rec.vidLnNoForNextToZP = miVidLnNoForNextToZP.load(kRelaxed);
      rec.ed2MisalignLines = MisalignmentInLines(rec.ed2Misalignment, mlEd2MAFactor.load(kRelaxed));
      break;
    default:
      break;
  }
}

// What the reader thread keeps between passes: its socket towards the
// decoder and the timers and flags of the publishing rules.
struct cDlbStatusSubx::Pass {
  Pass();
  ~Pass();
  Pass(const Pass&) = delete;
  Pass& operator=(const Pass&) = delete;

  // True (and remembered) when the hardware monitor's line values changed.
  bool TakeLineChange();
  // True, restarting the timer, when the next decoder-state message is due.
  bool StateDue();
  // Once per pass and per slice of a wait: reports progress and binds the
  // publisher's endpoint again when its socket file was removed or replaced.
  void Tend();
  // Sleeps for the given time, resuming after signals, in slices short enough
  // that a shutdown request is noticed within one poll interval.
  void Sleep(long ms);

  zsock_t* sub = nullptr;       // owned; null when it could not be made
  zpoller_t* poller = nullptr;  // owned; polls `sub`
  cMqPeerReconnect reconnect;   // watches `sub`
  cMqIpcBindGuard endpoint;     // watches the publisher's socket file
  cTimer repubTimer{kRepubIntervalMs};
  cTimer unusedTimer{kRepubIntervalMs};  // kept as designed; never consulted
  cTimer stateTimer{kStateIntervalMs};
  int lastVidLnZP = 0;
  int lastVidLnNextToZP = 0;
  std::int64_t lastEd2MAFactor = 0;
  bool haveData = false;  // a record was rendered since zoom was last switched off
  bool ed2Seen = false;   // the previous record rendered was ED2
  bool objectAudio = false;
};

// Frames far larger than a record are refused; the decoder is connected again
// after such a refusal. At most a few records wait.
cDlbStatusSubx::Pass::Pass() : sub(zsock_new(ZMQ_SUB)) {
  if (sub == nullptr) return;
  zsock_set_maxmsgsize(sub, static_cast<int>(mq::kMaxDecoderFrameBytes));
  zsock_set_rcvhwm(sub, kDecoderRcvHwm);
  reconnect.Watch(sub, "decoder");
  poller = zpoller_new(sub, nullptr);
}

void cDlbStatusSubx::Pass::Tend() {
  cReaderActivity::Pass();
  const bool wasBound = endpoint.IsBound();
  const cMqIpcBindGuard::Result_e result = endpoint.Check();
  if (result == cMqIpcBindGuard::CHECK_REBOUND) {
    LOG_AT(cDlbStatusSubx, Warn, 30, "\"Bound %s again.\"", endpoint.Endpoint().c_str());
  } else if (result == cMqIpcBindGuard::CHECK_REBIND_FAILED && wasBound) {
    LOG_AT(cDlbStatusSubx, Warn, 30, "\"Lost %s; binding it again every second.\"",
           endpoint.Endpoint().c_str());
  }
  cReaderActivity::mbEndpointBound.store(endpoint.IsBound(), kRelaxed);
}

void cDlbStatusSubx::Pass::Sleep(long ms) {
  for (long left = ms; left > 0 && !sig_interrupted.load(); left -= kPollMs) {
    cTimer::SleepNs(static_cast<long>(kPollMs) * 1000000L);
    Tend();
  }
}

cDlbStatusSubx::Pass::~Pass() {
  zpoller_destroy(&poller);
  reconnect.Stop();
  zsock_destroy(&sub);
}

bool cDlbStatusSubx::Pass::TakeLineChange() {
  const int zp = miVidLnNoForZP.load(kRelaxed);
  const int next = miVidLnNoForNextToZP.load(kRelaxed);
  const std::int64_t factor = mlEd2MAFactor.load(kRelaxed);
  if (zp == lastVidLnZP && next == lastVidLnNextToZP && factor == lastEd2MAFactor) return false;
  lastVidLnZP = zp;
  lastVidLnNextToZP = next;
  lastEd2MAFactor = factor;
  return true;
}

bool cDlbStatusSubx::Pass::StateDue() {
  if (!stateTimer.HasTimedOut()) return false;
  stateTimer.Restart(kStateIntervalMs);
  return true;
}

void cDlbStatusSubx::AnnounceThread() {
  const pthread_t self = pthread_self();
  const unsigned long id = static_cast<unsigned long>(self);
  int policy = 0;
  sched_param param{};
  pthread_getschedparam(self, &policy, &param);
  printf("Thread %lu is executing at priority %d\n", id, param.sched_priority);
  if (pthread_setname_np(self, "DecStatusReader") != 0) perror("Thread name set error");
  printf("DecStreamReader Thread %lu is executing at priority %d\n", id, param.sched_priority);
  printf("DecStatusReader Thread #%lu: on CPU %d\n", id, sched_getcpu());
  fflush(stdout);

  LOG_AT(cDlbStatusSubx, Info, 20, "\"Dolby Metadata Status thread waiting %lu.\"", id);
  const int waited = pthread_barrier_wait(&thread_barrier);
  LOG_AT(cDlbStatusSubx, Info, 20, "\"Dolby Metadata Status thread out of wait %d.\"", waited);
}

void cDlbStatusSubx::DecStatusReader() {
  const cAltSignalStack signalStack;  // a stack overflow here also exits with 11
  AnnounceThread();
  {
    Pass pass;
    if (mpPubs != nullptr) {
      pass.endpoint.Watch(mpPubs->mpSock, mq::kIpcDir, mq::kDlbMetadataPubIpc, mpPubs->mbBoundOverIpc);
    }
    mDecoderWaitTimer.SetTimeout(kDecoderWaitMs);  // stopped: counts as timed out
    mbConnected = false;
    cJsonParseSysStatus::mbDolbyDecoderDetected.store(true, kRelaxed);

    while (!sig_interrupted.load()) {
      pass.Tend();
      if (!mbConnected) {
        Connect(pass);
        if (pass.StateDue()) PublishDolbyDecoderStatus(mbDolbyZoomStatus.load(kRelaxed));
        continue;
      }
      // One snapshot of the zoom switch per pass, so a change made by the main
      // thread in the middle of a pass is acted on in the next one, not lost.
      const bool zoom = mbDolbyZoomStatus.load(kRelaxed);
      pass.reconnect.Poll();
      if (pass.poller != nullptr && zpoller_wait(pass.poller, kPollMs) != nullptr) {
        ReceivePass(pass, zoom);
      } else {
        IdlePass(pass, zoom);
      }
      mbLastZoomStatus = zoom;
      if (pass.StateDue()) PublishDolbyDecoderStatus(mbDolbyZoomStatus.load(kRelaxed));
    }
  }
  puts("\n cDlbStatusSubx:: Exiting..........@@@@@@@@@@@@@@@");
}

// Until the process monitor reports the decoder, waits 2 s per pass; then
// connects, waiting 5 s after a failure.
void cDlbStatusSubx::Connect(Pass& pass) {
  if (!cJsonParseSysStatus::mbDolbyDecoderDetected.load(kRelaxed)) {
    pass.Sleep(2000);
  } else if (pass.sub == nullptr) {
    pass.Sleep(5000);
  } else if (zsock_connect(pass.sub, mq::kTcpFormat, mq::kSlot1Addr, mq::kDecoderPubPort) == 0) {
    mbConnected = true;
    for (auto& entry : gDecoderTopics.entries) {
      if (strnlen(entry, mq::kTopicLen) < mq::kTopicLen) zsock_set_subscribe(pass.sub, entry);
    }
  } else {
    pass.Sleep(5000);
  }
}

// Nothing arrived within a poll interval: acts on a switch of zoom, renders
// again when the video-line values changed, and republishes every 2 s.
void cDlbStatusSubx::IdlePass(Pass& pass, bool zoom) {
  if (zoom == mbLastZoomStatus) {
    if (pass.StateDue()) PublishDolbyDecoderStatus(zoom);
  } else if (zoom) {
    PublishDolbyDecoderStatus(true);
  } else {
    PublishDolbyDecoderStatus(false);
    PublishMetadata(false, false);
    PublishPAData(false, false);
    pass.haveData = false;
    PublishDolbyDecoderStatus(false);  // "Not Decoding" a second time, as designed
    return;
  }
  if (!zoom || !pass.haveData) return;
  if (pass.TakeLineChange()) {
    AmendRecord(mRecord);
    RenderAndPublish(pass, zoom, true, true);
  }
  if (pass.repubTimer.HasTimedOut()) {
    pass.repubTimer.Restart(kRepubIntervalMs);
    PublishDolbyDecoderStatus(zoom);
    PublishMetadata(zoom, true);
    PublishPAData(zoom, false);  // the normal PA topic, on purpose
  }
}

// A message is waiting: takes it and, when it is a usable record while zoom
// is on, renders and publishes what its kind calls for.
void cDlbStatusSubx::ReceivePass(Pass& pass, bool zoom) {
  char* topicText = nullptr;
  byte* data = nullptr;
  size_t size = 0;
  if (zsock_recv(pass.sub, "sb", &topicText, &data, &size) != 0) {
    cTimer::SleepNs(500000);
  } else if (zoom && IsUsableRecord(topicText, data, size)) {
    std::memcpy(&mRecord, data, kRecordSize);
    cReaderActivity::muRecords.fetch_add(1, kRelaxed);
    cReaderActivity::miMdType.store(mRecord.mdType, kRelaxed);
    cReaderActivity::miTypeId.store(mRecord.typeId, kRelaxed);
    pass.objectAudio = mRecord.atmosDecode != 0;
    AmendRecord(mRecord);
    switch (mRecord.mdType) {
      case DLB_PADC_UI_MD_TYPE_DOLBYE:
        if (mpJDecStatus == nullptr) break;
        [[fallthrough]];
      case DLB_PADC_UI_MD_TYPE_DDP:
      case DLB_PADC_UI_MD_TYPE_AC4:
        pass.haveData = true;
        pass.ed2Seen = false;
        RenderAndPublish(pass, zoom, true, false);
        break;
      case DLB_PADC_UI_MD_TYPE_ED2:
        // An ED2 record that reports no status change after another ED2
        // record refreshes only the presentation document.
        if (mpJDecStatus != nullptr) {
          RenderAndPublish(pass, zoom, !(pass.ed2Seen && mRecord.ed2StatusUpdate == 0), true);
        }
        pass.ed2Seen = true;
        break;
      default:
        break;
    }
  }
  zstr_free(&topicText);
  free(data);
}

// A frame shorter than a whole record is dropped like any other record the
// daemon cannot use: nothing past the frame is read.
bool cDlbStatusSubx::IsUsableRecord(const char* topicText, const uint8_t* data, size_t size) {
  if (topicText == nullptr || SameTopic(topicText, topic::kDolbyLUDataBin) ||
      !SameTopic(topicText, topic::kDolbyMetadataEvent) || data == nullptr || size < kRecordSize) {
    return false;
  }
  uint32_t protoVer = 0;
  std::memcpy(&protoVer, data, sizeof protoVer);
  return protoVer == kRecordProtoVersion;
}

void cDlbStatusSubx::RenderAndPublish(Pass& pass, bool zoom, bool status, bool presentation) {
  static_assert(sizeof(std::time_t) >= 8, "time stamps must go on past 2038: build with _TIME_BITS=64");
  const std::int64_t now = time(nullptr);
  if (status) {
    if (mpJDecStatus != nullptr) mpJDecStatus->PrepareMetadataJson(mRecord, now);
    PublishDolbyDecoderStatus(zoom);
    PublishMetadata(true, false);
    pass.repubTimer.Restart(kRepubIntervalMs);
  }
  if (presentation) {
    if (mpJPaData != nullptr) mpJPaData->PreparePaMetadataJson(mRecord, pass.objectAudio, now);
    PublishPAData(zoom, false);
  }
}
