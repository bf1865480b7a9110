#pragma once
// The tap's web page: the files of tools/tap/web/, compiled in.

#include <string>

#include "common/EmbeddedText.h"

namespace tools {
// Generated from tools/tap/web/* at build time; named by file name.
extern const EmbeddedText kTapWebFiles[];
extern const unsigned kTapWebFileCount;
}  // namespace tools

namespace tap {

// The contents of file `name` ("index.html", "app.js", ...), or null.
const char* FindWebFile(const std::string& name);

}  // namespace tap
