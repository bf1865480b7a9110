#include "scenario/MonitorEvent.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <vector>

#include "Shared/Topics.h"

namespace tools {
namespace {

std::vector<std::string> Words(const std::string& text) {
  std::string spaced = text;
  for (char& c : spaced)
    if (c == ',') c = ' ';
  std::istringstream in(spaced);
  std::vector<std::string> words;
  for (std::string w; in >> w;) words.push_back(w);
  return words;
}

bool ParseWhole(const std::string& word, std::int64_t min, std::int64_t max, std::int64_t& out) {
  errno = 0;
  char* end = nullptr;
  const long long v = std::strtoll(word.c_str(), &end, 10);
  if (word.empty() || *end != '\0' || errno == ERANGE || v < min || v > max) return false;
  out = v;
  return true;
}

MonitorMessage Message(Peer peer, const char* topic, std::string payload, const char* latch) {
  MonitorMessage m;
  m.peer = peer;
  m.topic = topic;
  m.payload = std::move(payload);
  m.latch = latch;
  return m;
}

std::string SignalStatusPayload(std::int64_t slot) {
  return "{\"Slot\":" + std::to_string(slot) +
         ",\"PresetCount\":2,\"EncodedStatus\":1,\"PaStatus\":1,\"ZoomableDolbyChannels\":2,"
         "\"DolbyChannels\":2,\"ClkSrcLockStatus\":1,\"PresetInputLockStatus\":1,"
         "\"IsVideoEnabled\":true,\"HdrType\":1,\"DolbyAutoMute\":false,\"Type\":1,\"Status\":1,"
         "\"Request\":1,\"SignalStatusStr\":\"Locked\",\"VidSignalStatusStr\":\"1080i50\"}";
}

const char* kProcsPayload =
    "{\"SystemStatus\":\"Okay\","
    "\"FpMeters\":{\"MissedHb\":0,\"Version\":\"sim\",\"LogLevel\":\"INFO\",\"State\":\"Running\"},"
    "\"FpMenu\":{\"MissedHb\":0,\"Version\":\"sim\",\"LogLevel\":\"INFO\",\"State\":\"Running\"}}";

}  // namespace

const char* PeerName(Peer peer) {
  switch (peer) {
    case Peer::HardwareMonitor: return "hwm";
    case Peer::ProcessMonitor: return "hbmon";
    case Peer::AppServer: return "appserver";
  }
  return "?";
}

bool PeerFromName(const std::string& name, Peer& out) {
  for (Peer p : {Peer::HardwareMonitor, Peer::ProcessMonitor, Peer::AppServer}) {
    if (name == PeerName(p)) {
      out = p;
      return true;
    }
  }
  return false;
}

const char* MonitorEventSyntax() {
  return "  zoom on|off, preset on|off, decode stop   Dolby Zoom / Dolby Preset selection (hwm)\n"
         "  app-preset                               preset configuration changed (appserver)\n"
         "  lines ZP NEXT FACTOR                     ED2 video lines and misalignment factor (hwm)\n"
         "  signal [SLOT]                            signal status of a slot, default 1 (hwm)\n"
         "  decoder processing|stopped               system status Okay with the decoder state (hbmon)\n"
         "  system fault                             system status not Okay (hbmon)\n"
         "  procs                                    process status (hbmon)\n"
         "  appcmd N                                 application command N, 9 = reboot (hbmon)\n";
}

bool ParseMonitorEvent(const std::string& text, MonitorMessage& out, std::string& error) {
  const std::vector<std::string> w = Words(text);
  const std::string quoted = "'" + text + "'";
  if (w.empty()) {
    error = "empty event";
    return false;
  }
  const std::string& verb = w[0];
  auto needArgs = [&](std::size_t n, const char* usage) {
    if (w.size() == n + 1) return true;
    error = quoted + ": expected \"" + usage + "\"";
    return false;
  };

  if (verb == "zoom" || verb == "preset") {
    if (!needArgs(1, verb == "zoom" ? "zoom on|off" : "preset on|off")) return false;
    if (w[1] == "on") {
      out = Message(Peer::HardwareMonitor, verb == "zoom" ? topic::kHwmDlbZoom : topic::kHwmDolbyPreset,
                    "{}", "select");
    } else if (w[1] == "off") {
      out = Message(Peer::HardwareMonitor, topic::kHwmDolbyDecodeStop, "{}", "select");
    } else {
      error = quoted + ": expected on or off after \"" + verb + "\"";
      return false;
    }
    return true;
  }
  if (verb == "decode") {
    if (!needArgs(1, "decode stop") || w[1] != "stop") {
      error = quoted + ": expected \"decode stop\"";
      return false;
    }
    out = Message(Peer::HardwareMonitor, topic::kHwmDolbyDecodeStop, "{}", "select");
    return true;
  }
  if (verb == "app-preset") {
    if (!needArgs(0, "app-preset")) return false;
    out = Message(Peer::AppServer, topic::kAppPresetConfiguration, "{}", "select");
    return true;
  }
  if (verb == "lines") {
    if (!needArgs(3, "lines ZP NEXT FACTOR")) return false;
    std::int64_t v[3];
    for (int i = 0; i < 3; ++i) {
      if (!ParseWhole(w[i + 1], 0, UINT32_MAX, v[i])) {
        error = quoted + ": '" + w[i + 1] + "' is not an unsigned 32-bit number";
        return false;
      }
    }
    out = Message(Peer::HardwareMonitor, topic::kHwmDlbZoomVideoLines,
                  "{\"VidLnZP\":" + std::to_string(v[0]) + ",\"VidLnNextToZP\":" +
                      std::to_string(v[1]) + ",\"Ed2MAFactor\":" + std::to_string(v[2]) + "}",
                  "lines");
    return true;
  }
  if (verb == "signal") {
    std::int64_t slot = 1;
    if (w.size() > 2 || (w.size() == 2 && !ParseWhole(w[1], 0, 3, slot))) {
      error = quoted + ": expected \"signal [SLOT]\" with a slot from 0 to 3";
      return false;
    }
    out = Message(Peer::HardwareMonitor, topic::kHwmSignalStatus, SignalStatusPayload(slot), "signal");
    return true;
  }
  if (verb == "decoder") {
    if (!needArgs(1, "decoder processing|stopped")) return false;
    if (w[1] != "processing" && w[1] != "stopped") {
      error = quoted + ": expected processing or stopped after \"decoder\"";
      return false;
    }
    const char* state = w[1] == "processing" ? "Processing" : "Stopped";
    out = Message(Peer::ProcessMonitor, topic::kHbSysStatusEvent,
                  std::string("{\"SystemStatus\":\"Okay\",\"DolbyDecoder\":{\"State\":\"") + state + "\"}}",
                  "system");
    return true;
  }
  if (verb == "system") {
    if (!needArgs(1, "system fault") || w[1] != "fault") {
      error = quoted + ": expected \"system fault\"";
      return false;
    }
    out = Message(Peer::ProcessMonitor, topic::kHbSysStatusEvent,
                  "{\"SystemStatus\":\"Fault\",\"DolbyDecoder\":{\"State\":\"Stopped\"}}", "system");
    return true;
  }
  if (verb == "procs") {
    if (!needArgs(0, "procs")) return false;
    out = Message(Peer::ProcessMonitor, topic::kHbProcsStatus, kProcsPayload, "procs");
    return true;
  }
  if (verb == "appcmd") {
    std::int64_t command = 0;
    if (!needArgs(1, "appcmd N")) return false;
    if (!ParseWhole(w[1], INT32_MIN, INT32_MAX, command)) {
      error = quoted + ": '" + w[1] + "' is not a 32-bit integer command";
      return false;
    }
    out = Message(Peer::ProcessMonitor, topic::kHbAppCmd, "{\"Command\":" + std::to_string(command) + "}", "");
    return true;
  }
  error = quoted + ": unknown event \"" + verb +
          "\" (zoom, preset, decode, app-preset, lines, signal, decoder, system, procs, appcmd)";
  return false;
}

}  // namespace tools
