#include "Publish/DlbPubHandler.h"

#include <czmq.h>

#include <cstdio>

namespace {

// Fills `frame` with (bytes, size), allocating it on first use; the first
// allocation is announced on standard output.
void FillFrame(zframe_t*& frame, const void* bytes, size_t size, const char* allocatedLine) {
  if (frame == nullptr) {
    frame = zframe_new(bytes, size);
    if (frame != nullptr) std::printf("%s\n", allocatedLine);
  } else {
    zframe_reset(frame, bytes, size);
  }
}

void DestroyFrame(zframe_t*& frame) {
  if (frame != nullptr) zframe_destroy(&frame);
  frame = nullptr;
}

}  // namespace

DlbPubHandler::~DlbPubHandler() { Reset(); }

bool DlbPubHandler::SendMetadata(const char* topic, unsigned int topicLen,
                                 const unsigned char* data, unsigned int dataLen) {
  return SendFrames(Stream_e::Metadata, topic, topicLen, data, dataLen);
}

bool DlbPubHandler::SendPAData(const char* topic, unsigned int topicLen, const unsigned char* data,
                               unsigned int dataLen) {
  return SendFrames(Stream_e::PA, topic, topicLen, data, dataLen);
}

bool DlbPubHandler::SendLUData(const char* topic, unsigned int topicLen, const unsigned char* data,
                               unsigned int dataLen) {
  return SendFrames(Stream_e::LU, topic, topicLen, data, dataLen);
}

bool DlbPubHandler::SendFrames(Stream_e stream, const char* topic, unsigned int topicLen,
                               const unsigned char* data, unsigned int dataLen) {
  struct FramePair {
    zframe_t* DlbPubHandler::*topicFrame;
    zframe_t* DlbPubHandler::*dataFrame;
    const char* topicLine;
    const char* dataLine;
  };
  // Indexed by Stream_e.
  static const FramePair kPairs[] = {
      {&DlbPubHandler::mpMetadataTopicFrame, &DlbPubHandler::mpMetadataFrame,
       "Allocated Metadata Topic Frame", "Allocated Metadata Frame"},
      {&DlbPubHandler::mpPATopicFrame, &DlbPubHandler::mpPAFrame, "Allocated PA Topic Frame",
       "Allocated PA data Frame"},
      {&DlbPubHandler::mpLUTopicFrame, &DlbPubHandler::mpLUFrame, "Allocated LU Topic Frame",
       "Allocated LU data Frame"},
  };

  if (topic == nullptr || topicLen == 0 || data == nullptr || dataLen == 0) return false;

  const FramePair& pair = kPairs[static_cast<int>(stream)];
  zframe_t*& topicFrame = this->*pair.topicFrame;
  zframe_t*& dataFrame = this->*pair.dataFrame;
  FillFrame(topicFrame, topic, topicLen, pair.topicLine);
  FillFrame(dataFrame, data, dataLen, pair.dataLine);
  if (topicFrame == nullptr || dataFrame == nullptr || mpSock == nullptr) return false;

  // Reuse keeps both frames owned here after the send.
  if (zframe_send(&topicFrame, mpSock, ZFRAME_MORE | ZFRAME_REUSE) != 0) return false;
  return zframe_send(&dataFrame, mpSock, ZFRAME_REUSE) == 0;
}

void DlbPubHandler::Reset() {
  mAddress.clear();
  mEndpoint.clear();
  DestroyMq(&mpSock);
  mbBoundOverIpc = false;
  mbBoundOverTcp = false;
  DestroyFrame(mpMetadataTopicFrame);
  DestroyFrame(mpMetadataFrame);
  DestroyFrame(mpPATopicFrame);
  DestroyFrame(mpPAFrame);
  DestroyFrame(mpLUTopicFrame);
  DestroyFrame(mpLUFrame);
}
