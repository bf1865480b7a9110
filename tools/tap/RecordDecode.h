#pragma once
// plovrest-tap --decode FILE: a record file (one decoder record) or a capture
// (records with receive times, see record/Capture.h) shown as the daemon
// renders it, or as its fields.

#include <string>

#include "tap/TapOptions.h"

namespace tap {

// Writes the documents (or the fields) to standard output and everything
// else to standard error; returns the exit status (tools/common/ExitStatus.h).
int DecodeRecordFile(const TapOptions& options);

}  // namespace tap
