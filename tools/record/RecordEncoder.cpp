#include "record/RecordEncoder.h"

#include <algorithm>
#include <cctype>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "common/JsonText.h"
#include "record/RecordSchema.h"

namespace tools {
namespace {

using rapidjson::Value;

struct Limits {
  int64_t min;
  int64_t max;
};

Limits LimitsOf(Kind kind) {
  switch (kind) {
    case Kind::U8: return {0, 255};
    case Kind::U16: return {0, 65535};
    case Kind::I16: return {-32768, 32767};
    case Kind::U32: return {0, 4294967295LL};
    case Kind::I32: return {std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()};
    default: return {0, 0};
  }
}

std::size_t EditDistance(const std::string& a, const std::string& b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t up = row[j];
      const bool same = std::tolower(static_cast<unsigned char>(a[i - 1])) ==
                        std::tolower(static_cast<unsigned char>(b[j - 1]));
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (same ? 0 : 1)});
      diagonal = up;
    }
  }
  return row[b.size()];
}

std::string UnknownField(const Type& type, const std::string& name, const std::string& path) {
  std::string best;
  std::size_t bestDistance = 4;
  for (unsigned i = 0; i < type.fieldCount; ++i) {
    const std::size_t d = EditDistance(name, type.fields[i].name);
    if (d < bestDistance) {
      bestDistance = d;
      best = type.fields[i].name;
    }
  }
  std::string message = path + ": unknown field";
  if (!best.empty()) message += " (did you mean \"" + best + "\"?)";
  return message;
}

class Writer {
 public:
  Writer(uint8_t* base, std::string& error) : mBase(base), mError(error) {}

  bool Write(const Type& type, const Value& v, std::size_t offset, const std::string& path) {
    switch (type.kind) {
      case Kind::Struct: return WriteStruct(type, v, offset, path);
      case Kind::Array: return WriteArray(type, v, offset, path);
      case Kind::Text: return WriteText(type, v, offset, path);
      case Kind::F32: return WriteFloat(v, offset, path);
      default: return WriteInteger(type, v, offset, path);
    }
  }

 private:
  bool Fail(const std::string& message) {
    mError = message;
    return false;
  }

  bool WriteStruct(const Type& type, const Value& v, std::size_t offset, const std::string& path) {
    if (!v.IsObject()) return Fail(path + ": expected an object, found " + JsonKind(v));
    for (auto m = v.MemberBegin(); m != v.MemberEnd(); ++m) {
      const std::string name(m->name.GetString(), m->name.GetStringLength());
      if (&type == &RecordType() && name == "raw") continue;  // applied after the fields
      const std::string fieldPath = path + "." + name;
      const Field* field = nullptr;
      for (unsigned i = 0; i < type.fieldCount && field == nullptr; ++i)
        if (name == type.fields[i].name) field = &type.fields[i];
      if (field == nullptr) return Fail(UnknownField(type, name, fieldPath));
      if (!Write(*field->type, m->value, offset + field->offset, fieldPath)) return false;
    }
    return true;
  }

  bool WriteArray(const Type& type, const Value& v, std::size_t offset, const std::string& path) {
    if (!v.IsArray()) return Fail(path + ": expected an array, found " + JsonKind(v));
    if (v.Size() > type.count)
      return Fail(path + ": " + std::to_string(v.Size()) + " elements, the record holds " +
                  std::to_string(type.count));
    for (rapidjson::SizeType i = 0; i < v.Size(); ++i) {
      if (v[i].IsNull()) continue;
      if (!Write(*type.element, v[i], offset + i * type.element->size,
                 path + "[" + std::to_string(i) + "]"))
        return false;
    }
    return true;
  }

  bool WriteText(const Type& type, const Value& v, std::size_t offset, const std::string& path) {
    if (!v.IsString()) return Fail(path + ": expected a string, found " + JsonKind(v));
    const std::size_t length = v.GetStringLength();
    if (std::memchr(v.GetString(), '\0', length) != nullptr)
      return Fail(path + ": the text contains a NUL character");
    if (length >= type.size)
      return Fail(path + ": text of " + std::to_string(length) + " bytes does not fit (at most " +
                  std::to_string(type.size - 1) + ")");
    std::memset(mBase + offset, 0, type.size);
    std::memcpy(mBase + offset, v.GetString(), length);
    return true;
  }

  bool WriteFloat(const Value& v, std::size_t offset, const std::string& path) {
    float f = 0;
    if (v.IsNumber()) {
      const double d = v.GetDouble();
      // The shortest text of FLT_MAX ("3.4028235e38") reads back as a double
      // a little above it that still rounds to FLT_MAX; only what rounds to
      // infinity is out of range.
      const double limit = std::ldexp(1.0, 128) - std::ldexp(1.0, 103);  // FLT_MAX + half a step
      if (!(std::fabs(d) < limit))
        return Fail(path + ": " + CompactJson(v) + " is out of range for a 32-bit float");
      f = std::fabs(d) <= FLT_MAX ? static_cast<float>(d) : d > 0 ? FLT_MAX : -FLT_MAX;
    } else if (v.IsString()) {
      const std::string s = v.GetString();
      if (s == "nan") {
        f = std::numeric_limits<float>::quiet_NaN();
      } else if (s == "inf") {
        f = std::numeric_limits<float>::infinity();
      } else if (s == "-inf") {
        f = -std::numeric_limits<float>::infinity();
      } else {
        return Fail(path + ": expected a number (or \"nan\", \"inf\", \"-inf\"), found \"" + s + "\"");
      }
    } else {
      return Fail(path + ": expected a number, found " + JsonKind(v));
    }
    std::memcpy(mBase + offset, &f, sizeof f);
    return true;
  }

  bool WriteInteger(const Type& type, const Value& v, std::size_t offset, const std::string& path) {
    const Limits limits = LimitsOf(type.kind);
    int64_t n = 0;
    if (v.IsBool()) {
      n = v.GetBool() ? 1 : 0;
    } else if (v.IsString() && type.nameCount > 0) {
      const std::string s = v.GetString();
      bool found = false;
      for (unsigned i = 0; i < type.nameCount && !found; ++i) {
        if (s == type.names[i].name) {
          n = type.names[i].value;
          found = true;
        }
      }
      if (!found) {
        std::string list;
        for (unsigned i = 0; i < type.nameCount; ++i) list += std::string(i ? ", " : "") + type.names[i].name;
        return Fail(path + ": unknown name \"" + s + "\" (names: " + list + ", or a number)");
      }
    } else if (v.IsInt64()) {
      n = v.GetInt64();
    } else if (v.IsUint64()) {
      return Fail(path + ": " + CompactJson(v) + " is out of range for " + KindName(type.kind));
    } else {
      const std::string found = v.IsNumber() ? CompactJson(v) : JsonKind(v);
      return Fail(path + ": expected " + KindName(type.kind) + ", found " + found);
    }
    if (n < limits.min || n > limits.max)
      return Fail(path + ": " + std::to_string(n) + " is out of range for " + KindName(type.kind) +
                  " (" + std::to_string(limits.min) + " to " + std::to_string(limits.max) + ")");
    switch (type.kind) {
      case Kind::U8: {
        const uint8_t x = static_cast<uint8_t>(n);
        std::memcpy(mBase + offset, &x, sizeof x);
        break;
      }
      case Kind::U16:
      case Kind::I16: {
        const uint16_t x = static_cast<uint16_t>(n);
        std::memcpy(mBase + offset, &x, sizeof x);
        break;
      }
      default: {
        const uint32_t x = static_cast<uint32_t>(n);
        std::memcpy(mBase + offset, &x, sizeof x);
        break;
      }
    }
    return true;
  }

  uint8_t* mBase;
  std::string& mError;
};

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool ApplyRaw(const Value& raw, const std::string& path, uint8_t* base, std::string& error) {
  if (!raw.IsArray()) {
    error = path + ": expected an array of {\"offset\": N, \"hex\": \"...\"}, found " + JsonKind(raw);
    return false;
  }
  for (rapidjson::SizeType i = 0; i < raw.Size(); ++i) {
    const std::string at = path + "[" + std::to_string(i) + "]";
    const Value& run = raw[i];
    if (!run.IsObject()) {
      error = at + ": expected an object, found " + JsonKind(run);
      return false;
    }
    for (auto m = run.MemberBegin(); m != run.MemberEnd(); ++m) {
      const std::string name = m->name.GetString();
      if (name != "offset" && name != "hex") {
        error = at + "." + name + ": unknown field (a raw run has \"offset\" and \"hex\")";
        return false;
      }
    }
    if (!run.HasMember("offset") || !run["offset"].IsUint64()) {
      error = at + ".offset: expected a byte offset in the record";
      return false;
    }
    if (!run.HasMember("hex") || !run["hex"].IsString()) {
      error = at + ".hex: expected a string of hexadecimal digits";
      return false;
    }
    const uint64_t offset = run["offset"].GetUint64();
    const std::string hex = run["hex"].GetString();
    if (hex.size() % 2 != 0) {
      error = at + ".hex: odd number of hexadecimal digits";
      return false;
    }
    if (offset > kRecordSize || hex.size() / 2 > kRecordSize - offset) {
      error = at + ": " + std::to_string(hex.size() / 2) + " bytes at offset " +
              std::to_string(offset) + " run past the record's end (" + std::to_string(kRecordSize) +
              " bytes)";
      return false;
    }
    for (std::size_t k = 0; k < hex.size(); k += 2) {
      const int hi = HexDigit(hex[k]);
      const int lo = HexDigit(hex[k + 1]);
      if (hi < 0 || lo < 0) {
        error = at + ".hex: '" + hex.substr(k, 2) + "' is not a hexadecimal byte";
        return false;
      }
      base[offset + k / 2] = static_cast<uint8_t>(hi * 16 + lo);
    }
  }
  return true;
}

}  // namespace

kv_dolby_metadata_t EmptyRecord() {
  kv_dolby_metadata_t rec;
  std::memset(&rec, 0, sizeof rec);
  rec.protoVer = kRecordProtoVersion;
  return rec;
}

bool ApplyRecordFields(const rapidjson::Value& fields, const std::string& path,
                       kv_dolby_metadata_t& rec, std::string& error) {
  if (!fields.IsObject()) {
    error = path + ": expected an object of record fields, found " + JsonKind(fields);
    return false;
  }
  const Type& record = RecordType();
  const Field* block = nullptr;
  for (unsigned i = 0; i < record.fieldCount; ++i) {
    const Field& f = record.fields[i];
    if (f.blockMdType < 0 || !fields.HasMember(f.name)) continue;
    if (block != nullptr) {
      error = path + ": both \"" + block->name + "\" and \"" + f.name +
              "\" are given; a record carries one codec block";
      return false;
    }
    block = &f;
  }

  uint8_t* base = reinterpret_cast<uint8_t*>(&rec);
  if (block != nullptr && !fields.HasMember("mdType"))
    rec.mdType = static_cast<dlb_padc_ui_md_type_t>(block->blockMdType);
  Writer writer(base, error);
  if (!writer.Write(record, fields, 0, path)) return false;
  if (fields.HasMember("raw") && !ApplyRaw(fields["raw"], path + ".raw", base, error)) return false;
  return true;
}

}  // namespace tools
