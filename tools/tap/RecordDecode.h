#pragma once
// plovrest-tap --decode FILE: a captured decoder record shown as the daemon
// renders it, or as its fields.

#include <string>

#include "tap/TapOptions.h"

namespace tap {

// Prints to standard output; returns the exit status (errors on stderr).
int DecodeRecordFile(const TapOptions& options);

}  // namespace tap
