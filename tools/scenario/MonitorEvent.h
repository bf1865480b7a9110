#pragma once
// Messages of the monitors that the simulator plays, written as short event
// texts on the command line, in scenario files and from key presses:
//
//   zoom on | zoom off | preset on | preset off | decode stop | app-preset
//   lines ZP NEXT FACTOR     (also "lines ZP,NEXT,FACTOR")
//   signal [SLOT]
//   decoder processing | decoder stopped | system fault
//   procs
//   appcmd N
//
// Each becomes one two-frame message (topic, JSON payload) on the publisher
// of the hardware monitor, the process monitor or the application server.

#include <string>

namespace tools {

enum class Peer { HardwareMonitor, ProcessMonitor, AppServer };

// "hwm", "hbmon", "appserver"
const char* PeerName(Peer peer);
bool PeerFromName(const std::string& name, Peer& out);

struct MonitorMessage {
  Peer peer = Peer::HardwareMonitor;
  std::string topic;
  std::string payload;
  // Non-empty for messages that describe a state (zoom selection, video
  // lines, system status...): the publisher keeps the last message of each
  // key and sends it again to every new subscriber. Commands have none.
  std::string latch;
};

bool ParseMonitorEvent(const std::string& text, MonitorMessage& out, std::string& error);

// One line per event form, for --help texts.
const char* MonitorEventSyntax();

}  // namespace tools
