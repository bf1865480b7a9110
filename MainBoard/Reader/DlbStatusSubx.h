#pragma once
// Decoder status reader: the daemon's worker thread. It subscribes to the
// decoder's status record, renders the status document (and, for ED2, the
// presentation and object document) and publishes them with the decoder-state
// message. The main thread steers it through the static values below.
//
// The thread moves between three states: connecting (until the decoder is
// reported and its socket connected; a state message every 2 s), an idle pass
// (nothing within the 5 ms poll: zoom switches, changed video lines, the 2 s
// republication) and a received record (rendered and published at once).

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "Record/DolbyMetadataRecord.h"
#include "Shared/ReaderSwitches.h"
#include "Timer.h"

class Logger;
class cPubHandler;
class cPADMetadataJsonDecStatus;
class cMetadataJsonPaData;

class cDlbStatusSubx : public cDlbStatusSwitches {
 public:
  // Fetches the logger, publisher and renderer singletons (any may be null:
  // its steps are then skipped) and clears the record copy.
  cDlbStatusSubx();

  // Kept as designed: the process frame calls Init and Cleanup, nothing calls
  // DecodeStatusListener.
  int Init() { return 0; }  // always 0: the thread may start
  void Cleanup() {}
  void DecodeStatusListener(const kv_dolby_metadata_t&) {}

  // The thread body. Returns once sig_interrupted is set, within one poll
  // interval (or one 5 ms slice of a connection wait); owns and closes its
  // socket towards the decoder.
  void operator()() { DecStatusReader(); }
  void DecStatusReader();

  // Each sends one message through the publisher (nothing without one).
  // The decoder-state message says "Waiting for Decoder"/"No Decoder found",
  // "Not connected to Dolby Decoder", or Decoding/Not Decoding per `decoding`.
  void PublishDolbyDecoderStatus(bool decoding);
  // The rendered document when `withDocument` (and a renderer) is there,
  // else "{}"; on the republication topic when `repub`.
  void PublishMetadata(bool withDocument, bool repub);
  void PublishPAData(bool withDocument, bool repub);

  // The switches the main thread's dispatcher sets come from
  // cDlbStatusSwitches (Shared/ReaderSwitches.h). These two are kept as
  // designed; nothing reads them.
  static std::atomic<bool> mbForcedPub;
  static std::atomic<long> mlForcedPubCount;

  // Singletons, not owned.
  static cPubHandler* mpPubs;
  static cPADMetadataJsonDecStatus* mpJDecStatus;
  static cMetadataJsonPaData* mpJPaData;
  static Logger* mpLogger;
  static int mLogLevel;

  // Header amendments made before rendering: the video-line values and, for
  // ED2, the misalignment converted to video lines.
  static void AmendRecord(kv_dolby_metadata_t& rec);
  // |misalignment| x factor/1000 in single precision, halves away from zero.
  static uint32_t MisalignmentInLines(int32_t misalignment, std::int64_t factorThousandths);

 private:
  struct Pass;  // the thread's socket, timers and flags

  // Prints the thread's identity and waits on the start-up barrier.
  void AnnounceThread();
  void Connect(Pass& pass);
  void IdlePass(Pass& pass, bool zoom);
  void ReceivePass(Pass& pass, bool zoom);
  // True for a whole record of the current protocol version on the decoder's
  // record topic.
  static bool IsUsableRecord(const char* topic, const uint8_t* data, size_t size);
  // The one render-and-publish step: with `status` the status document and
  // the state message (restarting the republication timer), with
  // `presentation` the presentation document, both stamped with one time.
  void RenderAndPublish(Pass& pass, bool zoom, bool status, bool presentation);

  cTimer mDecoderWaitTimer;
  bool mbConnected = false;
  bool mbLastZoomStatus = false;
  kv_dolby_metadata_t mRecord;
};
