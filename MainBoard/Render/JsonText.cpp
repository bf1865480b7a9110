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

// Writes into a stretch of the buffer taken at the start (all of its free
// capacity) and given back, less what was written, at the end; one check of
// the room left per string or number.
class TextWriter {
 public:
  explicit TextWriter(rapidjson::StringBuffer& out) : mOut(out) { Take(kMinRoom); }
  ~TextWriter() { mOut.Pop(static_cast<std::size_t>(mEnd - mCursor)); }
  TextWriter(const TextWriter&) = delete;
  TextWriter& operator=(const TextWriter&) = delete;

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
  static constexpr std::size_t kMinRoom = 4096;

  // Takes at least `room` bytes (more when the buffer has them free).
  void Take(std::size_t room) {
    const std::size_t free = mOut.stack_.GetCapacity() - mOut.GetSize();
    if (free > room) room = free;
    mCursor = mOut.Push(room);
    mEnd = mCursor + room;
  }
  // Makes sure that n bytes can be written at mCursor.
  void Need(std::size_t n) {
    if (static_cast<std::size_t>(mEnd - mCursor) >= n) return;
    mOut.Pop(static_cast<std::size_t>(mEnd - mCursor));
    Take(n > kMinRoom ? n : kMinRoom);
  }
  void Put(char c) {
    Need(1);
    *mCursor++ = c;
  }
  void Literal(const char* text, std::size_t length) {
    Need(length);
    std::memcpy(mCursor, text, length);
    mCursor += length;
  }

  // "text" followed by `after` (when not 0), escaped as the Writer does.
  void String(const char* text, SizeType length, char after) {
    Need(std::size_t(length) * 6 + 3);  // every byte as \u00XX
    char* out = mCursor;
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
    mCursor = out;
  }

  // A number in the Writer's forms: int, unsigned, 64-bit or shortest double.
  bool Number(const Value& v) {
    if (v.IsDouble() && rapidjson::internal::Double(v.GetDouble()).IsNanOrInf()) return false;
    Need(25);  // the Writer's own buffer for a number
    if (v.IsDouble()) {
      mCursor = rapidjson::internal::dtoa(v.GetDouble(), mCursor);
    } else if (v.IsInt()) {
      mCursor = rapidjson::internal::i32toa(v.GetInt(), mCursor);
    } else if (v.IsUint()) {
      mCursor = rapidjson::internal::u32toa(v.GetUint(), mCursor);
    } else if (v.IsInt64()) {
      mCursor = rapidjson::internal::i64toa(v.GetInt64(), mCursor);
    } else {
      mCursor = rapidjson::internal::u64toa(v.GetUint64(), mCursor);
    }
    return true;
  }

  bool Object(const Value& v) {
    Put('{');
    for (Value::ConstMemberIterator m = v.MemberBegin(); m != v.MemberEnd(); ++m) {
      if (m != v.MemberBegin()) Put(',');
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
  char* mCursor = nullptr;  // next byte to write
  char* mEnd = nullptr;     // end of the stretch taken
};

}  // namespace

bool Write(const rapidjson::Value& value, rapidjson::StringBuffer& out) { return TextWriter(out).Write(value); }

}  // namespace json_text
