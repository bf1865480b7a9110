#include "tap/RecordDecode.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <vector>

#include "Shared/Topics.h"
#include "Record/DolbyMetadataRecord.h"
#include "common/ExitStatus.h"
#include "common/JsonText.h"
#include "record/Capture.h"
#include "record/RecordReadBack.h"
#include "tap/DocCheck.h"
#include "tap/RecordRender.h"

namespace tap {
namespace {

// One document: on stdout the document alone for the views scripts read
// (the summary line then goes to stderr), the whole view for the others.
// Returns false when --validate finds it invalid (a cut document is not).
bool Show(const TapOptions& options, const std::string& topicName, const std::string& payload, double time) {
  bool wanted = options.topics.empty();
  for (const auto& t : options.topics) wanted = wanted || t == topicName;
  if (!wanted) return true;
  Message m;
  m.topic = topicName;
  m.payload = payload;
  m.time = time;
  const DocCheck check = options.validate ? CheckDocument(m.topic, m.payload) : DocCheck();
  if (options.jsonl) {
    std::printf("%s\n", (options.validate ? JsonLineWithCheck(m, check) : JsonLine(m)).c_str());
  } else if (options.view == View::Pretty || options.view == View::Raw || options.view == View::Json) {
    // Flushed in turn, so that 2>&1 keeps each summary line above its document.
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", VisibleText(SummaryLine(m)).c_str());
    const std::string text = DocumentText(m, options.view);
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
    if (text.empty() && !options.validate)
      std::fprintf(stderr, "plovrest-tap: %s: not written: %s\n", m.topic.c_str(),
                   DescribeCheck(CheckDocument(m.topic, m.payload)).c_str());
  } else {
    std::fputs(FormatMessage(m, options.view).c_str(), stdout);
  }
  if (options.validate && !options.jsonl)
    std::fprintf(stderr, "plovrest-tap: %s: %s\n", m.topic.c_str(), DescribeCheck(check).c_str());
  return check.kind != DocCheck::Kind::Schema && check.kind != DocCheck::Kind::Invalid;
}

}  // namespace

int DecodeRecordFile(const TapOptions& options) {
  std::string bytes, error;
  if (!tools::ReadFile(options.decodeFile, bytes, error)) {
    std::fprintf(stderr, "plovrest-tap: --decode %s\n", error.c_str());
    return tools::kExitNoFile;
  }
  std::vector<tools::CapturedRecord> records;
  if (tools::LooksLikeCapture(bytes)) {
    bytes.clear();
    if (tools::ReadCapture(options.decodeFile, records, error) != tools::CaptureStatus::Ok) {
      std::fprintf(stderr, "plovrest-tap: --decode %s\n", error.c_str());
      return tools::kExitBadFile;
    }
  } else if (bytes.size() == kRecordSize) {
    records.resize(1);
    records[0].time = static_cast<double>(std::time(nullptr));
    std::memcpy(&records[0].record, bytes.data(), kRecordSize);
  } else {
    std::fprintf(stderr, "plovrest-tap: --decode %s: %zu bytes; a decoder record has %zu\n",
                 options.decodeFile.c_str(), bytes.size(), kRecordSize);
    return tools::kExitBadFile;
  }
  if (records.empty()) {
    std::fprintf(stderr, "plovrest-tap: --decode %s: a capture without records\n", options.decodeFile.c_str());
    return tools::kExitBadFile;
  }
  const kv_dolby_metadata_t& last = records.back().record;
  if (last.protoVer != kRecordProtoVersion)
    std::fprintf(stderr, "plovrest-tap: note: protoVer is %u; the daemon drops records that are not %u\n",
                 last.protoVer, kRecordProtoVersion);

  if (options.fields) {
    if (records.size() > 1)
      std::fprintf(stderr, "plovrest-tap: note: the fields of the last of %zu records\n", records.size());
    std::fputs(tools::RecordScenarioText(last, "decoded from " + options.decodeFile).c_str(), stdout);
    return tools::kExitDone;
  }
  bool allValid = true;
  for (const tools::CapturedRecord& entry : records) {
    const RenderedRecord rendered = RenderRecord(entry.record, static_cast<std::int64_t>(entry.time));
    allValid = Show(options, topic::kDolbyMetadataGrp, rendered.status, entry.time) && allValid;
    if (rendered.hasPresentation)
      allValid = Show(options, topic::kDolbyPAData, rendered.presentation, entry.time) && allValid;
  }
  std::fflush(stdout);
  return allValid ? tools::kExitDone : tools::kExitInvalid;
}

}  // namespace tap
