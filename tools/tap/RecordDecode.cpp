#include "tap/RecordDecode.h"

#include <cstdio>
#include <cstring>
#include <ctime>

#include "Messaging/Topics.h"
#include "Record/DolbyMetadataRecord.h"
#include "common/JsonText.h"
#include "record/RecordReadBack.h"
#include "tap/RecordRender.h"

namespace tap {
namespace {

constexpr int kExitFailure = 1;
constexpr int kExitBadInput = 2;

void Show(const std::string& topicName, const std::string& payload, View view) {
  Message m;
  m.topic = topicName;
  m.payload = payload;
  m.time = static_cast<double>(std::time(nullptr));
  std::fputs(FormatMessage(m, view).c_str(), stdout);
}

}  // namespace

int DecodeRecordFile(const TapOptions& options) {
  std::string bytes, error;
  if (!tools::ReadFile(options.decodeFile, bytes, error)) {
    std::fprintf(stderr, "plovrest-tap: --decode %s\n", error.c_str());
    return kExitFailure;
  }
  if (bytes.size() != kRecordSize) {
    std::fprintf(stderr, "plovrest-tap: --decode %s: %zu bytes; a decoder record has %zu\n",
                 options.decodeFile.c_str(), bytes.size(), kRecordSize);
    return kExitBadInput;
  }
  kv_dolby_metadata_t record;
  std::memcpy(&record, bytes.data(), sizeof record);
  if (record.protoVer != kRecordProtoVersion)
    std::fprintf(stderr, "plovrest-tap: note: protoVer is %u; the daemon drops records that are not %u\n",
                 record.protoVer, kRecordProtoVersion);

  if (options.fields) {
    std::fputs(tools::RecordScenarioText(record, "decoded from " + options.decodeFile).c_str(), stdout);
    return 0;
  }
  const RenderedRecord rendered = RenderRecord(record, static_cast<long>(std::time(nullptr)));
  Show(topic::kDolbyMetadataGrp, rendered.status, options.view);
  if (rendered.hasPresentation) Show(topic::kDolbyPAData, rendered.presentation, options.view);
  return 0;
}

}  // namespace tap
