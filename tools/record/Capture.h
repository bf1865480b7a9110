#pragma once
// Capture files: decoder records with the time each was received, as
// plovrest-tap --capture appends them and plovrest-sim --replay plays them.
//
// Layout: the 8 bytes "PLVCAP1\n", then entries of 8 + 33,704 bytes: the
// receive time in microseconds since the epoch (uint64, little-endian) and
// the record's bytes as received.

#include <cstdint>
#include <string>
#include <vector>

#include "Record/DolbyMetadataRecord.h"

namespace tools {

struct CapturedRecord {
  double time = 0;  // seconds since the epoch, when received
  kv_dolby_metadata_t record;
};

enum class CaptureStatus { Ok, NoFile, BadFile };

// Opens `path` for appending: creates it with the capture header when it
// does not exist or is empty; an existing file must be a whole capture.
// Returns Ok and sets `out` (owned by the caller, fclose it) or the failure
// with `error` ("<path>: <reason>").
CaptureStatus OpenCaptureForAppend(const std::string& path, std::FILE*& out, std::string& error);

// Appends one entry and flushes it, so that a capture stays whole when the
// tap is stopped. False when the write fails.
bool AppendCaptured(std::FILE* file, double time, const std::string& record);

// Reads a capture. NoFile for a file that cannot be read, BadFile for one
// that is not a capture. A capture whose last entry is cut (a tap stopped
// mid-write, a truncated copy) gives its complete entries, and `warning`
// says how many bytes were left over; otherwise `warning` is empty.
CaptureStatus ReadCapture(const std::string& path, std::vector<CapturedRecord>& out, std::string& error,
                          std::string& warning);

// Whether `bytes` (a whole file) starts like a capture.
bool LooksLikeCapture(const std::string& bytes);

}  // namespace tools
