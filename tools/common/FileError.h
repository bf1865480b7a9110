#pragma once
// The one-line reason a file could not be opened, for the tools' messages.

#include <string>

namespace tools {

// "<path>: <cause>" for the error number `err` of a failed open of `path`:
// "no such folder '<folder>'" when a folder on the way is missing, the
// system's text otherwise ("No such file or directory", "Permission denied").
std::string FileError(const std::string& path, int err);

}  // namespace tools
