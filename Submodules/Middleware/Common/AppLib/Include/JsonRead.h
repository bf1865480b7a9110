#pragma once
// Reading the JSON control messages the daemon receives: one parse routine
// for every parser, and member look-up.

#include <exception>

#include <rapidjson/document.h>

namespace json {

// The member `key` of `obj` (an object), or null when it has none. The
// pointer lives as long as `obj`.
inline const rapidjson::Value* Member(const rapidjson::Value& obj, const char* key) {
  auto it = obj.FindMember(key);
  return it == obj.MemberEnd() ? nullptr : &it->value;
}

// Parses `text` (iteratively: deep nesting cannot exhaust the stack) and,
// when it is valid JSON with an object at the top, returns read(object).
// Returns `failed` for null text, invalid JSON, another top-level value, or
// any exception thrown on the way (memory running out included). The
// document lives only during the call; `read` copies what it keeps.
template <typename Result, typename Read>
Result ReadObject(const char* text, Result failed, Read read) {
  if (text == nullptr) return failed;
  try {
    rapidjson::Document doc;
    doc.Parse<rapidjson::kParseIterativeFlag>(text);
    if (doc.HasParseError() || !doc.IsObject()) return failed;
    return read(static_cast<const rapidjson::Value&>(doc));
  } catch (const std::exception&) {
    return failed;
  }
}

}  // namespace json
