#include "Reader/DlbStatusSubx.h"

#include <czmq.h>
#include <pthread.h>
#include <sched.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "AltSignalStack.h"
#include "Frame/ProcessState.h"
#include "JsonParseHbMonMessages.h"
#include "Logger.h"
#include "MqEndpoints.h"
#include "MqPeerReconnect.h"
#include "Messaging/PubHandler.h"
#include "Messaging/Topics.h"
#include "Render/MetadataJsonPaData.h"
#include "Render/PADMetadataJsonDecStatus.h"

std::atomic<bool> cDlbStatusSubx::mbDolbyZoomStatus{false};
std::atomic<int> cDlbStatusSubx::miDecodingSource{0};
std::atomic<int> cDlbStatusSubx::miVidLnNoForZP{0};
std::atomic<int> cDlbStatusSubx::miVidLnNoForNextToZP{0};
std::atomic<long> cDlbStatusSubx::mlEd2MAFactor{0};
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
char gDecoderTopics[][mq::kTopicLen] = {"DolbyMetadataEvent", "DolbyMetadataBinEvent"};

// Sleeps for the given time, resuming after signals, in slices short enough
// that a shutdown request is noticed within one poll interval.
void SleepUnlessInterrupted(long ms) {
  for (long left = ms; left > 0 && !sig_interrupted.load(); left -= kPollMs) {
    timespec ts{0, static_cast<long>(kPollMs) * 1000000L};
    while (nanosleep(&ts, &ts) != 0 && errno == EINTR) {
    }
  }
}

void SleepNs(long ns) {
  timespec ts{0, ns};
  while (nanosleep(&ts, &ts) != 0 && errno == EINTR) {
  }
}

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
  const char* event = source == 1 ? "Dolby Zoom" : source == 2 ? "Dolby Preset" : "";
  char text[256];
  snprintf(text, sizeof text, "{\"Status\" : \"%s\", \"Event\" : \"%s\"}", status, event);
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

uint32_t cDlbStatusSubx::MisalignmentInLines(int32_t misalignment, long factorThousandths) {
  // Single precision, halves away from zero. The product stays far below the
  // range of long (|int32| x uint32 / 1000), so lroundf is defined.
  const float lines = std::fabs(static_cast<float>(misalignment)) *
                      (static_cast<float>(factorThousandths) / 1000.0f);
  return static_cast<uint32_t>(std::lroundf(lines));
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

namespace {

// What the reader thread keeps between passes.
struct ReaderPass {
  cTimer repubTimer{kRepubIntervalMs};
  cTimer unusedTimer{kRepubIntervalMs};  // kept beside the others, never consulted
  cTimer stateTimer{kStateIntervalMs};
  int lastVidLnZP = 0;
  int lastVidLnNextToZP = 0;
  long lastEd2MAFactor = 0;
  bool haveData = false;   // a record was rendered since zoom was last switched off
  bool ed2Seen = false;    // the previous record rendered was ED2
  bool objectAudio = false;

  // True (and remembered) when the hardware monitor's line values changed.
  bool TakeLineChange() {
    const int zp = cDlbStatusSubx::miVidLnNoForZP.load(kRelaxed);
    const int next = cDlbStatusSubx::miVidLnNoForNextToZP.load(kRelaxed);
    const long factor = cDlbStatusSubx::mlEd2MAFactor.load(kRelaxed);
    if (zp == lastVidLnZP && next == lastVidLnNextToZP && factor == lastEd2MAFactor) return false;
    lastVidLnZP = zp;
    lastVidLnNextToZP = next;
    lastEd2MAFactor = factor;
    return true;
  }
};

}  // namespace

void cDlbStatusSubx::DecStatusReader() {
  const cAltSignalStack signalStack;  // a stack overflow here also exits with 11
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

  zsock_t* sub = zsock_new(ZMQ_SUB);
  // Frames far larger than a record are refused; the decoder is connected
  // again after such a refusal. At most a few records wait.
  cMqPeerReconnect reconnect;
  if (sub != nullptr) {
    zsock_set_maxmsgsize(sub, static_cast<int>(mq::kMaxDecoderFrameBytes));
    zsock_set_rcvhwm(sub, kDecoderRcvHwm);
    reconnect.Watch(sub, "decoder");
  }
  zpoller_t* poller = sub != nullptr ? zpoller_new(sub, nullptr) : nullptr;
  mDecoderWaitTimer.SetTimeout(kDecoderWaitMs);  // stopped: counts as timed out
  mbConnected = false;
  cJsonParseSysStatus::mbDolbyDecoderDetected.store(true, kRelaxed);

  ReaderPass pass;

  // Renders and publishes the current record copy as the line-change and the
  // received-record paths both do.
  auto renderStatus = [&](long now) {
    if (mpJDecStatus != nullptr) mpJDecStatus->PrepareMetadataJson(mRecord, now);
  };
  auto renderPa = [&](long now) {
    if (mpJPaData != nullptr) mpJPaData->PreparePaMetadataJson(mRecord, pass.objectAudio, now);
  };

  while (!sig_interrupted.load()) {
    if (!mbConnected) {
      if (!cJsonParseSysStatus::mbDolbyDecoderDetected.load(kRelaxed)) {
        SleepUnlessInterrupted(2000);
      } else if (sub == nullptr) {
        SleepUnlessInterrupted(5000);
      } else if (zsock_connect(sub, mq::kTcpFormat, mq::kSlot1Addr, mq::kDecoderPubPort) == 0) {
        mbConnected = true;
        for (auto& entry : gDecoderTopics) {
          if (strnlen(entry, mq::kTopicLen) < mq::kTopicLen) zsock_set_subscribe(sub, entry);
        }
      } else {
        SleepUnlessInterrupted(5000);
      }
      if (pass.stateTimer.HasTimedOut()) {
        pass.stateTimer.Restart(kStateIntervalMs);
        PublishDolbyDecoderStatus(mbDolbyZoomStatus.load(kRelaxed));
      }
      continue;
    }

    // One snapshot of the zoom switch per pass, so a change made by the main
    // thread in the middle of a pass is acted on in the next one, not lost.
    const bool zoom = mbDolbyZoomStatus.load(kRelaxed);
    reconnect.Poll();
    void* ready = poller != nullptr ? zpoller_wait(poller, kPollMs) : nullptr;

    if (ready == nullptr) {
      bool switchedOff = false;
      if (zoom == mbLastZoomStatus) {
        if (pass.stateTimer.HasTimedOut()) {
          pass.stateTimer.Restart(kStateIntervalMs);
          PublishDolbyDecoderStatus(zoom);
        }
      } else if (zoom) {
        PublishDolbyDecoderStatus(true);
      } else {
        PublishDolbyDecoderStatus(false);
        PublishMetadata(false, false);
        PublishPAData(false, false);
        pass.haveData = false;
        PublishDolbyDecoderStatus(false);
        switchedOff = true;
      }

      if (!switchedOff && zoom && pass.haveData && pass.TakeLineChange()) {
        AmendRecord(mRecord);
        const long now = static_cast<long>(time(nullptr));
        renderStatus(now);
        PublishDolbyDecoderStatus(zoom);
        PublishMetadata(true, false);
        renderPa(now);
        PublishPAData(zoom, false);
        pass.repubTimer.Restart(kRepubIntervalMs);
      }
      if (!switchedOff && zoom && pass.haveData && pass.repubTimer.HasTimedOut()) {
        pass.repubTimer.Restart(kRepubIntervalMs);
        PublishDolbyDecoderStatus(zoom);
        PublishMetadata(zoom, true);
        PublishPAData(zoom, false);  // the normal PA topic, on purpose
        pass.haveData = true;
      }
    } else {
      char* topicText = nullptr;
      byte* data = nullptr;
      size_t size = 0;
      if (zsock_recv(sub, "sb", &topicText, &data, &size) != 0) {
        SleepNs(500000);
      } else {
        // A frame shorter than a whole record is dropped like any other
        // record the daemon cannot use: nothing past the frame is read.
        const bool usable = topicText != nullptr && zoom &&
                            !SameTopic(topicText, topic::kDolbyLUDataBin) &&
                            SameTopic(topicText, topic::kDolbyMetadataEvent) && data != nullptr &&
                            size >= kRecordSize;
        uint32_t protoVer = 0;
        if (usable) std::memcpy(&protoVer, data, sizeof protoVer);
        if (usable && protoVer == kRecordProtoVersion) {
          std::memcpy(&mRecord, data, kRecordSize);
          pass.objectAudio = mRecord.atmosDecode != 0;
          AmendRecord(mRecord);
          const long now = static_cast<long>(time(nullptr));
          switch (mRecord.mdType) {
            case DLB_PADC_UI_MD_TYPE_DOLBYE:
              if (mpJDecStatus != nullptr) {
                pass.haveData = true;
                renderStatus(now);
                PublishDolbyDecoderStatus(zoom);
                PublishMetadata(true, false);
                pass.ed2Seen = false;
                pass.repubTimer.Restart(kRepubIntervalMs);
              }
              break;
            case DLB_PADC_UI_MD_TYPE_DDP:
            case DLB_PADC_UI_MD_TYPE_AC4:
              renderStatus(now);
              PublishDolbyDecoderStatus(zoom);
              PublishMetadata(true, false);
              pass.haveData = true;
              pass.repubTimer.Restart(kRepubIntervalMs);
              pass.ed2Seen = false;
              break;
            case DLB_PADC_UI_MD_TYPE_ED2:
              if (mpJDecStatus == nullptr) {
                pass.ed2Seen = true;
                break;
              }
              // An ED2 record that reports no status change after another ED2
              // record refreshes only the presentation document.
              if (!(pass.ed2Seen && mRecord.ed2StatusUpdate == 0)) {
                renderStatus(now);
                PublishDolbyDecoderStatus(zoom);
                PublishMetadata(true, false);
                pass.repubTimer.Restart(kRepubIntervalMs);
              }
              renderPa(now);
              PublishPAData(zoom, false);
              pass.ed2Seen = true;
              break;
            default:
              break;
          }
        }
      }
      zstr_free(&topicText);
      free(data);
    }

    mbLastZoomStatus = zoom;
    if (pass.stateTimer.HasTimedOut()) {
      pass.stateTimer.Restart(kStateIntervalMs);
      PublishDolbyDecoderStatus(mbDolbyZoomStatus.load(kRelaxed));
    }
  }

  zpoller_destroy(&poller);
  reconnect.Stop();
  zsock_destroy(&sub);
  puts("\n cDlbStatusSubx:: Exiting..........@@@@@@@@@@@@@@@");
}
