#pragma once
// The JSON Schemas of docs/schema/ (file name without ".schema.json" is the
// name), compiled into the tools.

#include "common/EmbeddedText.h"

namespace tools {

// Generated from docs/schema/*.schema.json at build time.
extern const EmbeddedText kDocSchemaTexts[];
extern const unsigned kDocSchemaCount;

}  // namespace tools
