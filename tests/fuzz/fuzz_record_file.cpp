// Any bytes as a record file for plovrest-tap --decode [--fields]: 0 for a whole record, 0 or
// the bad-file status for a capture, else the bad-file status; a whole record's fields text
// read as a scenario rebuilds the same bytes.

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "FuzzSupport.h"
#include "common/ExitStatus.h"
#include "record/Capture.h"
#include "record/RecordReadBack.h"
#include "scenario/Scenario.h"
#include "tap/RecordDecode.h"

namespace {
int gFd = -1;
std::string gPath;
}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
  gFd = memfd_create("record", 0);
  gPath = "/proc/self/fd/" + std::to_string(gFd);
  return gFd < 0 ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Require(ftruncate(gFd, 0) == 0 && pwrite(gFd, data, size, 0) == static_cast<ssize_t>(size),
                "the file is written");
  tap::TapOptions options;
  options.decodeFile = gPath;
  const bool capture = tools::LooksLikeCapture(std::string(reinterpret_cast<const char*>(data), size));
  const int expected = !capture && size == kRecordSize ? tools::kExitDone : tools::kExitBadFile;
  for (bool fields : {false, true}) {
    options.fields = fields;
    const int status = tap::DecodeRecordFile(options);
    fuzz::Require(status == expected || (capture && status == tools::kExitDone),
                  "exit status 0 for a record or a capture, else the bad-file status");
  }
  if (capture || size != kRecordSize) return 0;

  kv_dolby_metadata_t rec;
  fuzz::ToRecord(data, size, rec);
  tools::Scenario scenario;
  std::string error;
  fuzz::Require(tools::ParseScenario(tools::RecordScenarioText(rec, "fuzz"), "fuzz", scenario, error),
                "the fields text is a scenario", error);
  fuzz::Require(scenario.steps.size() == 1 &&
                    std::memcmp(&scenario.steps[0].record, &rec, sizeof rec) == 0,
                "the scenario rebuilds the record");
  return 0;
}
