#include "record/Capture.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include <sys/stat.h>

#include "common/FileError.h"
#include "common/JsonText.h"

namespace tools {
namespace {

constexpr char kMagic[] = "PLVCAP1\n";
constexpr std::size_t kMagicSize = 8;
constexpr std::size_t kEntrySize = 8 + kRecordSize;

}  // namespace

bool LooksLikeCapture(const std::string& bytes) {
  return bytes.size() >= kMagicSize && bytes.compare(0, kMagicSize, kMagic) == 0;
}

CaptureStatus OpenCaptureForAppend(const std::string& path, std::FILE*& out, std::string& error) {
  out = nullptr;
  // Only the header and the size of an existing capture are looked at.
  struct stat st {};
  const bool exists = ::stat(path.c_str(), &st) == 0;
  if (exists && S_ISDIR(st.st_mode)) {
    error = path + ": is a directory";
    return CaptureStatus::NoFile;
  }
  const std::size_t size = exists ? static_cast<std::size_t>(st.st_size) : 0;
  std::string head(kMagicSize, '\0');
  if (size > 0) {
    std::FILE* in = std::fopen(path.c_str(), "rb");
    if (in == nullptr) {
      error = FileError(path, errno);
      return CaptureStatus::NoFile;
    }
    head.resize(std::fread(&head[0], 1, kMagicSize, in));
    std::fclose(in);
  }
  if (size > 0 && (!LooksLikeCapture(head) || (size - kMagicSize) % kEntrySize != 0)) {
    error = path + ": not a capture file (or one that ends inside a record); give a new file";
    return CaptureStatus::BadFile;
  }
  out = std::fopen(path.c_str(), "ab");
  if (out == nullptr) {
    error = FileError(path, errno);
    return CaptureStatus::NoFile;
  }
  if (size == 0 &&
      (std::fwrite(kMagic, 1, kMagicSize, out) != kMagicSize || std::fflush(out) != 0)) {
    error = FileError(path, errno);
    std::fclose(out);
    out = nullptr;
    return CaptureStatus::NoFile;
  }
  return CaptureStatus::Ok;
}

bool AppendCaptured(std::FILE* file, double time, const std::string& record) {
  if (record.size() != kRecordSize) return false;
  const std::uint64_t micros = time > 0 ? static_cast<std::uint64_t>(std::llround(time * 1e6)) : 0;
  unsigned char stamp[8];
  for (int i = 0; i < 8; ++i) stamp[i] = static_cast<unsigned char>(micros >> (8 * i));
  return std::fwrite(stamp, 1, sizeof stamp, file) == sizeof stamp &&
         std::fwrite(record.data(), 1, record.size(), file) == record.size() && std::fflush(file) == 0;
}

CaptureStatus ReadCapture(const std::string& path, std::vector<CapturedRecord>& out, std::string& error,
                          std::string& warning) {
  warning.clear();
  std::string bytes;
  if (!ReadFile(path, bytes, error)) return CaptureStatus::NoFile;
  if (!LooksLikeCapture(bytes)) {
    error = path + ": not a capture file (it does not start with \"PLVCAP1\")";
    return CaptureStatus::BadFile;
  }
  const std::size_t entries = (bytes.size() - kMagicSize) / kEntrySize;
  const std::size_t leftOver = (bytes.size() - kMagicSize) % kEntrySize;
  if (leftOver != 0)
    warning = path + ": ends inside record " + std::to_string(entries + 1) + " (" + std::to_string(leftOver) +
              " of " + std::to_string(kEntrySize) + " bytes); using the " + std::to_string(entries) +
              " complete record(s)";
  out.clear();
  for (std::size_t at = kMagicSize; at + kEntrySize <= bytes.size(); at += kEntrySize) {
    std::uint64_t micros = 0;
    for (int i = 7; i >= 0; --i) micros = (micros << 8) | static_cast<unsigned char>(bytes[at + i]);
    CapturedRecord entry;
    entry.time = static_cast<double>(micros) / 1e6;
    std::memcpy(&entry.record, bytes.data() + at + 8, kRecordSize);
    out.push_back(entry);
  }
  return CaptureStatus::Ok;
}

}  // namespace tools
