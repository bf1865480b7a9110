#include "record/RecordReadBack.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "common/JsonText.h"
#include "record/RecordSchema.h"

namespace tools {
namespace {

using rapidjson::Value;

class Reader {
 public:
  Reader(const uint8_t* base, rapidjson::Document::AllocatorType& alloc)
      : mBase(base), mAlloc(alloc), mCovered(kRecordSize, false) {}

  // The description of one value; null when all its bytes are zero.
  Value Read(const Type& type, std::size_t offset) {
    switch (type.kind) {
      case Kind::Struct: return ReadStruct(type, offset);
      case Kind::Array: return ReadArray(type, offset);
      case Kind::Text: return ReadText(type, offset);
      default: return ReadScalar(type, offset);
    }
  }

  // Adds the named field to `obj` unless it is empty.
  void AddField(const Field& field, std::size_t base, Value& obj) {
    Value v = Read(*field.type, base + field.offset);
    if (!v.IsNull()) obj.AddMember(Value(rapidjson::StringRef(field.name)), v, mAlloc);
  }

  // Non-zero bytes that no field accounted for, as {"offset","hex"} runs.
  Value RawRuns() const {
    Value runs(rapidjson::kArrayType);
    std::size_t i = 0;
    while (i < kRecordSize) {
      if (mCovered[i] || mBase[i] == 0) {
        ++i;
        continue;
      }
      // A run holds uncovered bytes only; it bridges up to three zero bytes
      // between non-zero ones and ends at a covered byte.
      std::size_t end = i + 1, zeros = 0;
      for (std::size_t k = i + 1; k < kRecordSize && !mCovered[k] && zeros < 4; ++k) {
        if (mBase[k] == 0) {
          ++zeros;
        } else {
          zeros = 0;
          end = k + 1;
        }
      }
      std::string hex;
      char buf[3];
      for (std::size_t k = i; k < end; ++k) {
        std::snprintf(buf, sizeof buf, "%02x", mBase[k]);
        hex += buf;
      }
      Value run(rapidjson::kObjectType);
      run.AddMember("offset", static_cast<uint64_t>(i), mAlloc);
      run.AddMember("hex", Value(hex.c_str(), static_cast<rapidjson::SizeType>(hex.size()), mAlloc),
                    mAlloc);
      runs.PushBack(run, mAlloc);
      i = end;
    }
    return runs;
  }

 private:
  void Cover(std::size_t offset, std::size_t size) {
    for (std::size_t k = 0; k < size; ++k) mCovered[offset + k] = true;
  }

  // A NaN other than the one "nan" encodes to: only raw bytes keep its bits.
  static bool IsUnusualNan(const uint8_t* p) {
    float f;
    std::memcpy(&f, p, sizeof f);
    if (!std::isnan(f)) return false;
    const float canonical = std::numeric_limits<float>::quiet_NaN();
    return std::memcmp(p, &canonical, sizeof f) != 0;
  }

  bool AllZero(std::size_t offset, std::size_t size) const {
    for (std::size_t k = 0; k < size; ++k)
      if (mBase[offset + k] != 0) return false;
    return true;
  }

  Value ReadStruct(const Type& type, std::size_t offset) {
    Value obj(rapidjson::kObjectType);
    for (unsigned i = 0; i < type.fieldCount; ++i) AddField(type.fields[i], offset, obj);
    if (obj.MemberCount() == 0) return Value();
    return obj;
  }

  Value ReadArray(const Type& type, std::size_t offset) {
    std::vector<Value> items;
    int last = -1;
    for (unsigned i = 0; i < type.count; ++i) {
      items.push_back(Read(*type.element, offset + i * type.element->size));
      if (!items.back().IsNull()) last = static_cast<int>(i);
    }
    if (last < 0) return Value();
    Value arr(rapidjson::kArrayType);
    const bool scalars = type.element->kind != Kind::Struct && type.element->kind != Kind::Array &&
                         type.element->kind != Kind::Text;
    for (int i = 0; i <= last; ++i) {
      // Inside the kept range an empty scalar reads 0; an empty object or
      // array stays null ("leave as is", which on an empty record is zero).
      if (items[i].IsNull() && scalars) items[i] = Value(0);
      arr.PushBack(items[i], mAlloc);
    }
    return arr;
  }

  Value ReadText(const Type& type, std::size_t offset) {
    const char* text = reinterpret_cast<const char*>(mBase + offset);
    // The encoder writes at most width - 1 characters and clears the rest, so
    // only those bytes belong to the text; anything after them is left to the
    // raw runs and survives a round trip.
    const std::size_t length = strnlen(text, type.size - 1);
    Cover(offset, length);
    if (length < type.size - 1 || text[length] == '\0') Cover(offset + length, 1);
    if (length == 0) return Value();
    return Value(text, static_cast<rapidjson::SizeType>(length), mAlloc);
  }

  Value ReadScalar(const Type& type, std::size_t offset) {
    const uint8_t* p = mBase + offset;
    if (type.kind == Kind::F32 && IsUnusualNan(p)) return Value();  // left to the raw runs
    Cover(offset, type.size);
    if (AllZero(offset, type.size)) return Value();
    switch (type.kind) {
      case Kind::U8: return Value(static_cast<unsigned>(*p));
      case Kind::U16: {
        uint16_t x;
        std::memcpy(&x, p, sizeof x);
        return Value(static_cast<unsigned>(x));
      }
      case Kind::I16: {
        int16_t x;
        std::memcpy(&x, p, sizeof x);
        return Value(static_cast<int>(x));
      }
      case Kind::U32: {
        uint32_t x;
        std::memcpy(&x, p, sizeof x);
        return Value(x);
      }
      case Kind::I32: {
        int32_t x;
        std::memcpy(&x, p, sizeof x);
        return Value(x);
      }
      case Kind::F32: {
        float f;
        std::memcpy(&f, p, sizeof f);
        if (std::isnan(f)) return Value("nan");
        if (std::isinf(f)) return f > 0 ? Value("inf") : Value("-inf");
        return Value(ShortestFloat(f));
      }
      default: return Value();
    }
  }

  const uint8_t* mBase;
  rapidjson::Document::AllocatorType& mAlloc;
  std::vector<bool> mCovered;
};

}  // namespace

void ReadBackRecord(const kv_dolby_metadata_t& rec, rapidjson::Document& out) {
  out.SetObject();
  auto& alloc = out.GetAllocator();
  Reader reader(reinterpret_cast<const uint8_t*>(&rec), alloc);
  const Type& record = RecordType();
  for (unsigned i = 0; i < record.fieldCount; ++i) {
    const Field& f = record.fields[i];
    if (f.blockMdType >= 0) continue;
    const std::string name = f.name;
    const bool always = name == "protoVer" || name == "typeId" || name == "mdType";
    Value v = reader.Read(*f.type, f.offset);
    if (v.IsNull() && always) v = Value(0);
    if (!v.IsNull()) out.AddMember(Value(rapidjson::StringRef(f.name)), v, alloc);
  }
  if (const Field* block = BlockField(rec.mdType)) reader.AddField(*block, 0, out);
  Value raw = reader.RawRuns();
  if (!raw.Empty()) out.AddMember("raw", raw, alloc);
}

std::string RecordScenarioText(const kv_dolby_metadata_t& rec, const std::string& description) {
  rapidjson::Document fields;
  ReadBackRecord(rec, fields);
  rapidjson::Document scenario;
  scenario.SetObject();
  auto& alloc = scenario.GetAllocator();
  scenario.AddMember("description",
                     Value(description.c_str(), static_cast<rapidjson::SizeType>(description.size()), alloc), alloc);
  scenario.AddMember("record", Value(fields, alloc), alloc);
  return PrettyJson(scenario) + "\n";
}

std::string CapturedScenarioText(const std::vector<CapturedRecord>& records, std::size_t firstNumber,
                                 const std::string& description) {
  rapidjson::Document scenario;
  scenario.SetObject();
  auto& alloc = scenario.GetAllocator();
  scenario.AddMember("description",
                     Value(description.c_str(), static_cast<rapidjson::SizeType>(description.size()), alloc), alloc);
  Value steps(rapidjson::kArrayType);
  for (std::size_t i = 0; i < records.size(); ++i) {
    rapidjson::Document fields;
    ReadBackRecord(records[i].record, fields);
    // Receive times are whole microseconds.
    const double hold = i + 1 < records.size() ? std::round((records[i + 1].time - records[i].time) * 1e6) / 1e6 : 1.0;
    const std::string label = "record " + std::to_string(firstNumber + i);
    Value step(rapidjson::kObjectType);
    step.AddMember("label", Value(label.c_str(), static_cast<rapidjson::SizeType>(label.size()), alloc), alloc);
    step.AddMember("hold", std::min(std::max(hold, 0.001), 3600.0), alloc);
    step.AddMember("reset", true, alloc);
    step.AddMember("record", Value(fields, alloc), alloc);
    steps.PushBack(step, alloc);
  }
  scenario.AddMember("steps", steps, alloc);
  return PrettyJson(scenario) + "\n";
}

}  // namespace tools
