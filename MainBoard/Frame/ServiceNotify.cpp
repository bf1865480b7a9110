#include "Frame/ServiceNotify.h"

#include <systemd/sd-daemon.h>

#include <cstdio>
#include <cstdlib>

#include "Reader/ReaderActivity.h"
#include "Render/Catalogue.h"

namespace {

constexpr unsigned kStatusIntervalMs = 1000;
constexpr auto kRelaxed = std::memory_order_relaxed;

}  // namespace

cServiceNotifier::cServiceNotifier() : mbEnabled(std::getenv("NOTIFY_SOCKET") != nullptr) {
  uint64_t usec = 0;
  if (mbEnabled && sd_watchdog_enabled(0, &usec) > 0) mWatchdogMs = static_cast<unsigned>(usec / 2000);
}

void cServiceNotifier::Send(const char* text) const { sd_notify(0, text); }

void cServiceNotifier::Tend(unsigned nowMs) {
  if (!mbEnabled || mbStopping) return;
  const std::uint32_t passes = cReaderActivity::muPasses.load(kRelaxed);
  if (!mbReady) {
    if (passes == 0 || !cReaderActivity::mbEndpointBound.load(kRelaxed)) return;
    mbReady = true;
    Send("READY=1");
    mKeepAlive = cKeepAliveRule(mWatchdogMs, nowMs, passes);
    mStatusMs = nowMs;
    mStatusRecords = cReaderActivity::muRecords.load(kRelaxed);
  }
  if (mKeepAlive.Due(nowMs, passes)) Send("WATCHDOG=1");
  if (mStatusTimer.HasTimedOut()) {
    mStatusTimer.Restart(kStatusIntervalMs);
    RefreshStatus(nowMs);
  }
}

void cServiceNotifier::RefreshStatus(unsigned nowMs) {
  const std::uint32_t records = cReaderActivity::muRecords.load(kRelaxed);
  const unsigned elapsedMs = nowMs - mStatusMs;
  const unsigned perSecond = elapsedMs == 0 ? 0 : ((records - mStatusRecords) * 1000u + elapsedMs / 2) / elapsedMs;
  mStatusMs = nowMs;
  mStatusRecords = records;
  std::string status = StatusText(cReaderActivity::mpDecoderState.load(kRelaxed),
                                  cReaderActivity::miMdType.load(kRelaxed),
                                  cReaderActivity::miTypeId.load(kRelaxed), perSecond);
  if (status == mStatus) return;
  mStatus = std::move(status);
  Send(("STATUS=" + mStatus).c_str());
}

void cServiceNotifier::Stopping() {
  if (!mbEnabled || mbStopping) return;
  mbStopping = true;
  Send("STOPPING=1");
}

std::string cServiceNotifier::StatusText(const char* state, int mdType, int typeId, unsigned perSecond) {
  const char* kind = typeId < 0 ? "no stream yet"
                                : catalogue::table::StreamTypes.texts[catalogue::StreamTypeCode(static_cast<unsigned>(mdType), typeId)];
  char text[160];
  std::snprintf(text, sizeof text, "%s; %s; %u records/s", state != nullptr ? state : "Starting", kind,
                perSecond);
  return text;
}
