#pragma once
// Publisher with raw-payload senders. Each sender keeps its own pair of
// message frames (topic, data) that are allocated on first use and reused for
// every later message, so a steady stream of sends allocates nothing.

#include "MqPubHandler.h"

typedef struct _zframe_t zframe_t;

class DlbPubHandler : public MqPubHandler {
 public:
  DlbPubHandler() = default;
  ~DlbPubHandler() override;
  DlbPubHandler(const DlbPubHandler&) = delete;
  DlbPubHandler& operator=(const DlbPubHandler&) = delete;

  // Kept as designed; the daemon publishes with SendJson only.
  // Two frames on the socket: the topic bytes (with the more-flag), then the
  // data bytes. False on a null or empty argument, on a missing socket or
  // when a send fails.
  bool SendMetadata(const char* topic, unsigned int topicLen, const unsigned char* data,
                    unsigned int dataLen);
  bool SendPAData(const char* topic, unsigned int topicLen, const unsigned char* data,
                  unsigned int dataLen);
  bool SendLUData(const char* topic, unsigned int topicLen, const unsigned char* data,
                  unsigned int dataLen);

  // Back to the unbound state: texts emptied, socket destroyed, both bound
  // flags cleared, all six frames freed.
  void Reset();

  zframe_t* mpMetadataTopicFrame = nullptr;
  zframe_t* mpMetadataFrame = nullptr;
  zframe_t* mpPATopicFrame = nullptr;
  zframe_t* mpPAFrame = nullptr;
  zframe_t* mpLUTopicFrame = nullptr;
  zframe_t* mpLUFrame = nullptr;

 private:
  enum class Stream_e { Metadata, PA, LU };
  bool SendFrames(Stream_e stream, const char* topic, unsigned int topicLen,
                  const unsigned char* data, unsigned int dataLen);
};
