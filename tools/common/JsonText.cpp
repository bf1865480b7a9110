#include "common/JsonText.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>
#include <vector>

#include <sys/stat.h>

#include "common/FileError.h"

#include <rapidjson/error/en.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace tools {

namespace {

// Depth of the deepest array or object in `root` (a scalar counts 0), walked
// with an explicit stack.
int NestingDepth(const rapidjson::Value& root) {
  std::vector<std::pair<const rapidjson::Value*, int>> pending{{&root, 0}};
  int deepest = 0;
  while (!pending.empty()) {
    const auto [value, depth] = pending.back();
    pending.pop_back();
    if (value->IsArray()) {
      deepest = std::max(deepest, depth + 1);
      for (const auto& element : value->GetArray()) pending.emplace_back(&element, depth + 1);
    } else if (value->IsObject()) {
      deepest = std::max(deepest, depth + 1);
      for (const auto& member : value->GetObject()) pending.emplace_back(&member.value, depth + 1);
    }
  }
  return deepest;
}

}  // namespace

bool ParseJsonText(const std::string& text, rapidjson::Document& doc, std::string& error) {
  doc.Parse<rapidjson::kParseIterativeFlag>(text.c_str(), text.size());
  if (!doc.HasParseError()) {
    if (NestingDepth(doc) <= kMaxJsonDepth) return true;
    error = "nested deeper than " + std::to_string(kMaxJsonDepth) + " levels";
    doc.SetNull();
    return false;
  }
  const std::size_t offset = doc.GetErrorOffset();
  std::size_t line = 1, column = 1;
  for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
    if (text[i] == '\n') {
      ++line;
      column = 1;
    } else {
      ++column;
    }
  }
  error = "line " + std::to_string(line) + ", column " + std::to_string(column) + ": " +
          rapidjson::GetParseError_En(doc.GetParseError());
  return false;
}

std::string CompactJson(const rapidjson::Value& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return std::string(buffer.GetString(), buffer.GetSize());
}

std::string PrettyJson(const rapidjson::Value& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
  writer.SetIndent(' ', 2);
  writer.SetFormatOptions(rapidjson::kFormatSingleLineArray);
  value.Accept(writer);
  return std::string(buffer.GetString(), buffer.GetSize());
}

double ShortestFloat(float value) {
  char buf[48];
  for (int precision = 6; precision <= 9; ++precision) {
    std::snprintf(buf, sizeof buf, "%.*g", precision, static_cast<double>(value));
    if (std::strtof(buf, nullptr) == value) return std::strtod(buf, nullptr);
  }
  return static_cast<double>(value);
}

const char* JsonKind(const rapidjson::Value& value) {
  switch (value.GetType()) {
    case rapidjson::kNullType: return "null";
    case rapidjson::kFalseType:
    case rapidjson::kTrueType: return "a boolean";
    case rapidjson::kObjectType: return "an object";
    case rapidjson::kArrayType: return "an array";
    case rapidjson::kStringType: return "a string";
    case rapidjson::kNumberType: return value.IsDouble() ? "a fractional number" : "a number";
  }
  return "a value";
}

bool ReadFile(const std::string& path, std::string& contents, std::string& error) {
  struct stat st {};
  if (::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
    error = path + ": is a directory";
    return false;
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = FileError(path, errno);
    return false;
  }
  std::ostringstream ss;
  ss << in.rdbuf();
  if (in.bad()) {
    error = path + ": read error";
    return false;
  }
  contents = ss.str();
  return true;
}

}  // namespace tools
