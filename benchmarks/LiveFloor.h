#pragma once
// The transport floor of bench_live: a bare forwarder with the daemon's
// sockets, socket options and message sizes, but no rendering. It receives
// each record on a SUB socket as the reader does and publishes, on the
// daemon's topics, the decoder-state message and stored documents of the
// sizes the daemon publishes for that record. Its own endpoints (the same
// transports as the daemon's) let it run beside the daemon in one run.

#include <czmq.h>

#include <memory>
#include <string>
#include <vector>

#include "Record/DolbyMetadataRecord.h"

namespace live_floor {

// Where the floor's decoder side publishes and the floor's subscribers read.
constexpr const char* kDecoderEndpoint = "tcp://169.254.2.4:2102";
constexpr const char* kOutputEndpoint = "ipc:///run/shm/mq/benchFloorPub.ipc";
// Given on bench_live's command line to run the forwarder (a child process).
constexpr const char* kForwarderOption = "--floor-forwarder";

// The forwarder's body: renders each record once, keeps the texts, then
// forwards until SIGTERM. Returns the process's exit status.
int RunForwarder(const std::vector<std::unique_ptr<kv_dolby_metadata_t>>& records);

// The forwarder's peers in bench_live: a PUB socket standing for the
// decoder and a SUB socket on the forwarder's output (all topics).
struct Peers {
  Peers();
  ~Peers();
  Peers(const Peers&) = delete;
  Peers& operator=(const Peers&) = delete;
  zsock_t* decoder = nullptr;
  zsock_t* out = nullptr;
};

}  // namespace live_floor
