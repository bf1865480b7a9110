// A control message (topic up to the first NUL, then the payload) through the main loop's
// callback: shared values change only by their own topics, to values a valid message can
// give; only an application command asks the process to stop.

#include <cstdio>
#include <string>

#include "FuzzSupport.h"
#include "JsonParseHbMonMessages.h"
#include "Logger.h"
#include "Control/DlbSubHandler.h"
#include "Control/JsonParser.h"
#include "Shared/Topics.h"
#include "Shared/ReaderSwitches.h"

namespace {

using S = cDlbStatusSwitches;
constexpr auto kRelaxed = std::memory_order_relaxed;

struct Shared { bool zoom, sys, detected; int source, zp, next; int64_t factor; };

Shared Take() {
  return {S::mbDolbyZoomStatus.load(kRelaxed), cJsonParseSysStatus::mbSysStatus.load(kRelaxed),
          cJsonParseSysStatus::mbDolbyDecoderDetected.load(kRelaxed), S::miDecodingSource.load(kRelaxed),
          S::miVidLnNoForZP.load(kRelaxed), S::miVidLnNoForNextToZP.load(kRelaxed),
          S::mlEd2MAFactor.load(kRelaxed)};
}

// Values no message sets, so any change shows.
void Preset() {
  S::mbDolbyZoomStatus.store(true, kRelaxed);
  S::miDecodingSource.store(2, kRelaxed);
  S::miVidLnNoForZP.store(-7, kRelaxed);
  S::miVidLnNoForNextToZP.store(-8, kRelaxed);
  S::mlEd2MAFactor.store(-9, kRelaxed);
  cJsonParseSysStatus::mbSysStatus.store(true, kRelaxed);
  cJsonParseSysStatus::mbDolbyDecoderDetected.store(true, kRelaxed);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The video-line topic prints its values on standard output.
  if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
  Logger::GetInstance()->mbMuted = true;
  return cJsonParser::GetInstance() == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const size_t nul = bytes.find('\0');
  const std::string topicName = bytes.substr(0, nul);
  const std::string payload = nul == std::string::npos ? "" : bytes.substr(nul + 1);
  const char* message = nul == std::string::npos ? nullptr : payload.c_str();
  auto is = [&](const char* name) { return topicName == name; };

  Preset();
  const Shared before = Take();
  const int result = mqReader(topicName.c_str(), message);
  const Shared after = Take();

  fuzz::Require(result == 0 || (result == -1 && is(topic::kHbAppCmd)), "only HbAppCmd stops", topicName);
  const bool zoomTopic = is(topic::kAppPresetConfiguration) || is(topic::kHwmDlbZoom) ||
                         is(topic::kHwmDolbyPreset) || is(topic::kHwmDolbyDecodeStop);
  fuzz::Require(zoomTopic || (after.zoom == before.zoom && after.source == before.source),
                "decoding switch changes only by its topics", topicName);
  fuzz::Require(after.source >= 0 && after.source <= 2, "decoding source 0, 1 or 2");
  const bool lines = after.zp != before.zp || after.next != before.next || after.factor != before.factor;
  fuzz::Require(!lines || is(topic::kHwmDlbZoomVideoLines), "video lines change only by their topic",
                topicName);
  // A valid message sets all three at once, the factor from an unsigned 32-bit
  // number: the preset -9 cannot stay when the line values changed.
  fuzz::Require(!lines || (after.factor >= 0 && after.factor <= 0xFFFFFFFFL),
                "video lines set together, factor in range", payload);
  const bool status = is(topic::kHbSysStatusEvent) || is(topic::kHbProcsStatus);
  fuzz::Require(status || (after.sys == before.sys && after.detected == before.detected),
                "process-monitor flags change only by its topics", topicName);
  return 0;
}
