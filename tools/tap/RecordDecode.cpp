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
bool Show(const TapOptions& options, const std::string& topicName, const std::string& payload, double time,
          long number) {
  bool wanted = options.topics.empty();
  for (const auto& t : options.topics) wanted = wanted || t == topicName;
  if (!wanted) return true;
  Message m;
  m.topic = topicName;
  m.payload = payload;
  m.time = time;
  m.record = number;
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

// The records of options.decodeFile: a capture's, or one for a record file
// (received now). Returns 0 or the exit status, after its message.
int ReadRecords(const TapOptions& options, std::vector<tools::CapturedRecord>& records) {
  std::string bytes, error, warning;
  if (!tools::ReadFile(options.decodeFile, bytes, error)) {
    std::fprintf(stderr, "plovrest-tap: --decode %s\n", error.c_str());
    return tools::kExitNoFile;
  }
  if (tools::LooksLikeCapture(bytes)) {
    bytes.clear();
    if (tools::ReadCapture(options.decodeFile, records, error, warning) != tools::CaptureStatus::Ok) {
      std::fprintf(stderr, "plovrest-tap: --decode %s\n", error.c_str());
      return tools::kExitBadFile;
    }
    if (!warning.empty()) std::fprintf(stderr, "plovrest-tap: warning: --decode %s\n", warning.c_str());
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
  return tools::kExitDone;
}

}  // namespace

int DecodeRecordFile(const TapOptions& options) {
  std::vector<tools::CapturedRecord> records;
  if (const int status = ReadRecords(options, records)) return status;
  // --record picks records by their number, counted from 1.
  std::size_t first = 1, last = records.size();
  if (options.recordFirst > 0) {
    if (static_cast<std::size_t>(options.recordLast) > records.size()) {
      std::fprintf(stderr, "plovrest-tap: --record %ld: %s holds %zu record(s)\n", options.recordLast,
                   options.decodeFile.c_str(), records.size());
      return tools::kExitBadArguments;
    }
    first = static_cast<std::size_t>(options.recordFirst);
    last = static_cast<std::size_t>(options.recordLast);
  }
  const bool numbered = records.size() > 1 || options.recordFirst > 0;
  records = std::vector<tools::CapturedRecord>(records.begin() + static_cast<long>(first - 1),
                                               records.begin() + static_cast<long>(last));
  for (std::size_t i = 0; i < records.size(); ++i) {
    const std::string which = numbered ? "record " + std::to_string(first + i) + ": " : std::string();
    if (records[i].record.protoVer != kRecordProtoVersion)
      std::fprintf(stderr, "plovrest-tap: note: %sprotoVer is %u; the daemon drops records that are not %u\n",
                   which.c_str(), records[i].record.protoVer, kRecordProtoVersion);
  }

  if (options.fields) {
    const std::string origin = "decoded from " + options.decodeFile;
    if (options.recordFirst > 0 && records.size() > 1) {
      std::fputs(tools::CapturedScenarioText(records, first, origin + ", records " + std::to_string(first) + " to " +
                                                                 std::to_string(last)).c_str(), stdout);
      return tools::kExitDone;
    }
    if (records.size() > 1)
      std::fprintf(stderr, "plovrest-tap: note: the fields of the last of %zu records (--record N picks one)\n",
                   records.size());
    const std::string which = numbered ? ", record " + std::to_string(last) : std::string();
    std::fputs(tools::RecordScenarioText(records.back().record, origin + which).c_str(), stdout);
    return tools::kExitDone;
  }
  bool allValid = true;
  for (std::size_t i = 0; i < records.size(); ++i) {
    const tools::CapturedRecord& entry = records[i];
    const long number = numbered ? static_cast<long>(first + i) : 0;
    const RenderedRecord rendered = RenderRecord(entry.record, static_cast<std::int64_t>(entry.time));
    allValid = Show(options, topic::kDolbyMetadataGrp, rendered.status, entry.time, number) && allValid;
    if (rendered.hasPresentation)
      allValid = Show(options, topic::kDolbyPAData, rendered.presentation, entry.time, number) && allValid;
  }
  std::fflush(stdout);
  return allValid ? tools::kExitDone : tools::kExitInvalid;
}

}  // namespace tap
