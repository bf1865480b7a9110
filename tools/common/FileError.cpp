#include "common/FileError.h"

#include <cerrno>
#include <cstring>

#include <sys/stat.h>

namespace tools {

std::string FileError(const std::string& path, int err) {
  const auto slash = path.find_last_of('/');
  if (err == ENOENT && slash != std::string::npos && slash > 0) {
    const std::string folder = path.substr(0, slash);
    struct stat st {};
    if (::stat(folder.c_str(), &st) != 0) return path + ": no such folder '" + folder + "'";
  }
  return path + ": " + std::strerror(err);
}

}  // namespace tools
