#pragma once
// Decoder status reader: the daemon's worker thread. It subscribes to the
// decoder's status record, renders the status document (and, for ED2, the
// presentation and object document) and publishes them with the decoder-state
// message. The main thread steers it through the static values below.

#include <atomic>

#include "Record/DolbyMetadataRecord.h"
#include "Timer.h"

class Logger;
class cPubHandler;
class cPADMetadataJsonDecStatus;
class cMetadataJsonPaData;

class cDlbStatusSubx {
 public:
  cDlbStatusSubx();

  int Init() { return 0; }
  void Cleanup() {}
  void DecodeStatusListener(const kv_dolby_metadata_t&) {}

  void operator()() { DecStatusReader(); }
  void DecStatusReader();

  void PublishDolbyDecoderStatus(bool decoding);
  void PublishMetadata(bool withDocument, bool repub);
  void PublishPAData(bool withDocument, bool repub);

  // Written by the main thread's dispatcher, read here once per pass.
  static std::atomic<bool> mbDolbyZoomStatus;  // record decoding enabled
  static std::atomic<int> miDecodingSource;    // 1 Dolby Zoom, 2 Dolby Preset
  static std::atomic<int> miVidLnNoForZP;
  static std::atomic<int> miVidLnNoForNextToZP;
  static std::atomic<long> mlEd2MAFactor;  // thousandths
  static std::atomic<bool> mbForcedPub;    // not consulted by this thread
  static std::atomic<long> mlForcedPubCount;

  static cPubHandler* mpPubs;
  static cPADMetadataJsonDecStatus* mpJDecStatus;
  static cMetadataJsonPaData* mpJPaData;
  static Logger* mpLogger;
  static int mLogLevel;

  // Header amendments made before rendering: the video-line values and, for
  // ED2, the misalignment converted to video lines.
  static void AmendRecord(kv_dolby_metadata_t& rec);
  static uint32_t MisalignmentInLines(int32_t misalignment, long factorThousandths);

 private:
  cTimer mDecoderWaitTimer;
  bool mbConnected = false;
  bool mbLastZoomStatus = false;
  kv_dolby_metadata_t mRecord;
};
