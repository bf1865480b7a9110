#pragma once
// The endpoints the tap subscribes to by name, built from the device's
// endpoint constants (MqEndpoints.h).

#include <string>

namespace tap {

// The daemon's publishing endpoint (its documents and the decoder state).
std::string DaemonEndpoint();

// The decoder's publishing endpoint: the one that carries its records.
std::string DecoderEndpoint();

}  // namespace tap
