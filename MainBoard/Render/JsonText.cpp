#include "JsonText.h"

#include <cstdint>
#include <cstring>

#include <rapidjson/internal/dtoa.h>
#include <rapidjson/internal/ieee754.h>
#include <rapidjson/internal/itoa.h>

namespace json_text {
namespace {

using rapidjson::SizeType;
using rapidjson::Value;

// The escape of each byte as the Writer writes it: 0 for none, 'u' for
// \u00XX, else the letter after the backslash.
constexpr char kEscape[256] = {
    'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'b', 't', 'n', 'u', 'f', 'r', 'u', 'u',  // 00
    'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u', 'u',  // 10
    0,   0,   '"', 0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,    // 20
    0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,    // 30
    0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,    // 40
    0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   '\\', 0,  0,   0,    // 50
};  // 60 to FF: none
constexpr char kHexDigits[] = "0123456789ABCDEF";

// True when one of the eight bytes of w is a control character, a quote or a
// backslash (a stray true only sends the word to the byte-wise path).
inline bool WordNeedsEscape(uint64_t w) {
  constexpr uint64_t kOnes = 0x0101010101010101ull;
  constexpr uint64_t kHigh = 0x8080808080808080ull;
  const uint64_t quote = w ^ (kOnes * '"');
  const uint64_t slash = w ^ (kOnes * '\\');
  const uint64_t control = (w - kOnes * 0x20) & ~w;
  return ((control | ((quote - kOnes) & ~quote) | ((slash - kOnes) & ~slash)) & kHigh) != 0;
}

class TextWriter {
 public:
  explicit TextWriter(rapidjson::StringBuffer& out) : mOut(out) {}

  bool Write(const Value& v) {
    switch (v.GetType()) {
      case rapidjson::kNullType: Literal("null", 4); return true;
      case rapidjson::kFalseType: Literal("false", 5); return true;
      case rapidjson::kTrueType: Literal("true", 4); return true;
      case rapidjson::kStringType: String(v.GetString(), v.GetStringLength(), 0); return true;
      case rapidjson::kNumberType: return Number(v);
      case rapidjson::kObjectType: return Object(v);
      case rapidjson::kArrayType: return Array(v);
    }
    return true;
  }

 private:
  void Put(char c) { *mOut.Push(1) = c; }
  void Literal(const char* text, std::size_t length) { std::memcpy(mOut.Push(length), text, length); }

  // "text" followed by `after` (when not 0), escaped as the Writer does.
  void String(const char* text, SizeType length, char after) {
    const std::size_t reserved = std::size_t(length) * 6 + 3;  // every byte as \u00XX
    char* const start = mOut.Push(reserved);
    char* out = start;
    *out++ = '"';
    SizeType i = 0;
    for (; i + 8 <= length; i += 8) {
      uint64_t word;
      std::memcpy(&word, text + i, 8);
      if (WordNeedsEscape(word)) break;
      std::memcpy(out, &word, 8);
      out += 8;
    }
    for (; i < length; ++i) {
      const unsigned char c = static_cast<unsigned char>(text[i]);
      const char escape = kEscape[c];
      if (escape == 0) {
        *out++ = static_cast<char>(c);
        continue;
      }
      *out++ = '\\';
      *out++ = escape;
      if (escape == 'u') {
        *out++ = '0';
        *out++ = '0';
        *out++ = kHexDigits[c >> 4];
        *out++ = kHexDigits[c & 15];
      }
    }
    *out++ = '"';
    if (after != 0) *out++ = after;
    mOut.Pop(reserved - static_cast<std::size_t>(out - start));
  }

  // A number in the Writer's forms: int, unsigned, 64-bit or shortest double.
  bool Number(const Value& v) {
    constexpr std::size_t kReserved = 25;  // the Writer's own buffer for a number
    if (v.IsDouble() && rapidjson::internal::Double(v.GetDouble()).IsNanOrInf()) return false;
    char* const start = mOut.Push(kReserved);
    char* end;
    if (v.IsDouble()) {
      end = rapidjson::internal::dtoa(v.GetDouble(), start);
    } else if (v.IsInt()) {
      end = rapidjson::internal::i32toa(v.GetInt(), start);
    } else if (v.IsUint()) {
      end = rapidjson::internal::u32toa(v.GetUint(), start);
    } else if (v.IsInt64()) {
      end = rapidjson::internal::i64toa(v.GetInt64(), start);
    } else {
      end = rapidjson::internal::u64toa(v.GetUint64(), start);
    }
    mOut.Pop(kReserved - static_cast<std::size_t>(end - start));
    return true;
  }

  bool Object(const Value& v) {
    Put('{');
    bool first = true;
    for (Value::ConstMemberIterator m = v.MemberBegin(); m != v.MemberEnd(); ++m) {
      if (!first) Put(',');
      first = false;
      String(m->name.GetString(), m->name.GetStringLength(), ':');
      if (!Write(m->value)) return false;
    }
    Put('}');
    return true;
  }

  bool Array(const Value& v) {
    Put('[');
    for (Value::ConstValueIterator e = v.Begin(); e != v.End(); ++e) {
      if (e != v.Begin()) Put(',');
      if (!Write(*e)) return false;
    }
    Put(']');
    return true;
  }

  rapidjson::StringBuffer& mOut;
};

}  // namespace

bool Write(const rapidjson::Value& value, rapidjson::StringBuffer& out) { return TextWriter(out).Write(value); }

}  // namespace json_text
