#pragma once
// JSON text helpers shared by the tools: parsing with a readable error
// position, compact and indented output, and floats written in their
// shortest form (0.1f reads back as 0.1, not 0.10000000149011612).

#include <string>

#include <rapidjson/document.h>

namespace tools {

// Deepest nesting of arrays and objects a tool accepts: far more than any
// scenario or document needs, little enough for the recursive walks
// (writers, table rows) that follow a parse.
constexpr int kMaxJsonDepth = 64;

// Parses `text` into `doc` without recursion, so no input can overflow the
// stack. (Not with RapidJSON's full-precision flag: its exact path shifts by
// an undefined amount for a zero with a large negative exponent, "0e-96";
// the normal path is close enough for a float's shortest text to read back
// as the same float.) On a syntax error returns false and sets `error` to
// "line L, column C: <reason>"; a document nested deeper than kMaxJsonDepth
// is refused too ("nested deeper than 64 levels").
bool ParseJsonText(const std::string& text, rapidjson::Document& doc, std::string& error);

std::string CompactJson(const rapidjson::Value& value);
std::string PrettyJson(const rapidjson::Value& value);

// The shortest decimal that reads back as the same float, as a double.
double ShortestFloat(float value);

// The kind of a JSON value in words ("a string", "an array", ...), for errors.
const char* JsonKind(const rapidjson::Value& value);

// Reads a whole file. Returns false and sets `error` (with the OS reason).
bool ReadFile(const std::string& path, std::string& contents, std::string& error);

}  // namespace tools
