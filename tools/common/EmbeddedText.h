#pragma once
// A text file compiled into a tool (see EmbedTexts.cmake): its name and its
// contents, both static.

namespace tools {

struct EmbeddedText {
  const char* name;
  const char* text;
};

}  // namespace tools
