#include "MetadataJson.h"

#include <cstdint>
#include <cstring>

#include <rapidjson/writer.h>

#include "ItemText.h"

using rapidjson::Value;

namespace {

// The kept block. Its pages are left untouched until a document needs them,
// so a stream of small documents keeps the daemon's resident memory small;
// once touched they stay, a fixed bound.
std::unique_ptr<char[]> KeptBlock(std::size_t bytes) { return std::unique_ptr<char[]>(new char[bytes]); }

}  // namespace

cMetadataJson::cMetadataJson(std::size_t poolBytes, std::size_t textBytes)
    : mPoolBlock(KeptBlock(poolBytes)),
      mPool(mPoolBlock.get(), poolBytes),
      mWriterStack(mWriterStackBlock, sizeof mWriterStackBlock),
      mDoc(&mPool),
      mItemStack(mItemStackBlock, sizeof mItemStackBlock),
      mItemBuilder(&mPool, kItemStackBytes / 4, &mItemStack) {
  mDoc.SetObject();
  mBuffer.Reserve(textBytes);
}

template <typename V>
void cMetadataJson::SetMember(const char* name, V&& value, Value& obj) {
  if (!obj.IsObject()) return;
  Value::MemberIterator it = obj.FindMember(name);
  if (it != obj.MemberEnd()) {
    it->value = value;
  } else {
    obj.AddMember(Value(rapidjson::StringRef(name)), value, Allocator());
  }
}

void cMetadataJson::AddUpdateMember(const char* name, unsigned int value, Value& obj) {
  SetMember(name, Value(value), obj);
}

void cMetadataJson::AddUpdateMember(const char* name, int value, Value& obj) {
  SetMember(name, Value(value), obj);
}

void cMetadataJson::AddUpdateMember(const char* name, float value, Value& obj) {
  SetMember(name, Value(static_cast<double>(value)), obj);
}

void cMetadataJson::AddUpdateMember(const char* name, bool value, Value& obj) {
  SetMember(name, Value(value), obj);
}

void cMetadataJson::AddUpdateMember(const char* name, std::string_view value, Value& obj) {
  if (!obj.IsObject()) return;
  SetMember(name, Value(value.data(), static_cast<rapidjson::SizeType>(value.size()), Allocator()), obj);
}

void cMetadataJson::MakeRootObject() {
  if (!mDoc.IsObject()) mDoc.SetObject();
}

void cMetadataJson::AddUpdateIntegerMember(const char* name, int value) {
  MakeRootObject();
  AddUpdateMember(name, value, mDoc);
}

void cMetadataJson::AddUpdateBooleanMember(const char* name, bool value) {
  MakeRootObject();
  AddUpdateMember(name, value, mDoc);
}

void cMetadataJson::AddUpdateStringMember(const char* name, std::string_view value) {
  MakeRootObject();
  AddUpdateMember(name, value, mDoc);
}

void cMetadataJson::AddArrayMember(const char* name) { AddArrayMemberInObject(name, mDoc); }

void cMetadataJson::AddArrayMemberInObject(const char* name, Value& obj) {
  if (!obj.IsObject() || obj.HasMember(name)) return;
  obj.AddMember(Value(rapidjson::StringRef(name)), Value(rapidjson::kArrayType), Allocator());
}

Value* cMetadataJson::FreshMember(const char* name, rapidjson::Type type, Value& obj) {
  if (!obj.IsObject()) return nullptr;
  Value::MemberIterator it = obj.FindMember(name);
  if (it == obj.MemberEnd()) {
    obj.AddMember(Value(rapidjson::StringRef(name)), Value(type), Allocator());
    return &(obj.MemberEnd() - 1)->value;
  }
  if (it->value.GetType() != type) return nullptr;
  if (type == rapidjson::kArrayType) {
    it->value.Clear();
  } else {
    it->value.RemoveAllMembers();
  }
  return &it->value;
}

Value* cMetadataJson::FreshArrayMember(const char* name, Value& obj) {
  return FreshMember(name, rapidjson::kArrayType, obj);
}

Value* cMetadataJson::FreshObjectMember(const char* name, Value& obj) {
  return FreshMember(name, rapidjson::kObjectType, obj);
}

void cMetadataJson::AddStringMember(const char* name, std::string_view value, Value& obj) {
  if (!obj.IsObject()) return;
  obj.AddMember(Value(rapidjson::StringRef(name)),
                Value(value.data(), static_cast<rapidjson::SizeType>(value.size()), Allocator()),
                Allocator());
}

Value* cMetadataJson::ItemMember(const char* key, Value& parent) {
  if (!parent.IsObject()) return nullptr;
  Value::MemberIterator it = parent.FindMember(key);
  if (it != parent.MemberEnd()) return &it->value;
  parent.AddMember(Value(rapidjson::StringRef(key)), Value(rapidjson::kObjectType), Allocator());
  return &(parent.MemberEnd() - 1)->value;
}

void cMetadataJson::AddUpdateObjectMemberWithFloatFactor(std::string_view title, int data, int ffactor,
                                                         std::string_view desc, Value& obj) {
  if (!obj.IsObject()) return;
  AddUpdateMember("Title", title, obj);
  AddUpdateMember("Data", data, obj);
  AddUpdateMember("FFactor", ffactor, obj);
  AddUpdateMember("Desc", desc, obj);
}

void cMetadataJson::AddUpdateObjectMemberToObjectWithFloatFactor(const char* key, std::string_view title,
                                                                 int data, int ffactor,
                                                                 std::string_view desc, Value& parent) {
  if (Value* item = ItemMember(key, parent)) {
    AddUpdateObjectMemberWithFloatFactor(title, data, ffactor, desc, *item);
  }
}

void cMetadataJson::AddObjectPositionItems(float x, float y, float z, Value& obj) {
  const item_text::DisplayPosition shown = item_text::ToDisplay(x, y, z);
  AddUpdateObjectMemberToObject("x", "Object Position x", shown.x, item_text::TwoDecimals(x), obj);
  AddUpdateObjectMemberToObject("y", "Object Position y", shown.y, item_text::TwoDecimals(y), obj);
  AddUpdateObjectMemberToObject("z", "Object Position z", shown.z, item_text::TwoDecimals(z), obj);
}

Value* cMetadataJson::RootObjectMember(const char* name) {
  if (!mDoc.IsObject()) return nullptr;
  Value::MemberIterator it = mDoc.FindMember(name);
  if (it == mDoc.MemberEnd()) {
    mDoc.AddMember(Value(rapidjson::StringRef(name)), Value(rapidjson::kObjectType), Allocator());
    return &(mDoc.MemberEnd() - 1)->value;
  }
  if (!it->value.IsObject()) it->value.SetObject();
  return &it->value;
}

void cMetadataJson::NewDocument() {
  // Values in a pool own nothing, so dropping the root frees nothing either;
  // the pool is then emptied in one step.
  mDoc.SetNull();
  mPool.Clear();
  mDoc.SetObject();
  mBuffer.Clear();
}

namespace {

// rapidjson's compact writer, except that a name or string without anything to
// escape (no control character, quote or backslash) is copied in one step
// instead of byte by byte; the text is the same.
using PoolWriter = rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>,
                                     rapidjson::MemoryPoolAllocator<>>;

class CompactWriter : public PoolWriter {
 public:
  CompactWriter(rapidjson::StringBuffer& out, rapidjson::MemoryPoolAllocator<>& stack)
      : PoolWriter(out, &stack) {}

  bool String(const Ch* str, rapidjson::SizeType length, bool copy = false) {
    if (NeedsEscape(str, length)) return PoolWriter::String(str, length, copy);
    Prefix(rapidjson::kStringType);
    char* out = os_->Push(length + 2);
    out[0] = '"';
    if (length != 0) std::memcpy(out + 1, str, length);
    out[length + 1] = '"';
    return EndValue(true);
  }
  bool Key(const Ch* str, rapidjson::SizeType length, bool copy = false) {
    return String(str, length, copy);
  }

 private:
  // True when some byte is a control character, a quote or a backslash;
  // eight bytes at a time (a stray true only takes the byte-wise path).
  static bool NeedsEscape(const char* str, std::size_t length) {
    constexpr uint64_t kOnes = 0x0101010101010101ull;
    constexpr uint64_t kHigh = 0x8080808080808080ull;
    std::size_t i = 0;
    for (; i + 8 <= length; i += 8) {
      uint64_t w;
      std::memcpy(&w, str + i, 8);
      const uint64_t quote = w ^ (kOnes * '"');
      const uint64_t slash = w ^ (kOnes * '\\');
      const uint64_t control = (w - kOnes * 0x20) & ~w;
      const uint64_t hit = (control | ((quote - kOnes) & ~quote) | ((slash - kOnes) & ~slash)) & kHigh;
      if (hit != 0) return true;
    }
    for (; i < length; ++i) {
      const unsigned char c = static_cast<unsigned char>(str[i]);
      if (c < 0x20 || c == '"' || c == '\\') return true;
    }
    return false;
  }
};

}  // namespace

void cMetadataJson::Serialize() {
  mBuffer.Clear();
  mWriterStack.Clear();
  CompactWriter writer(mBuffer, mWriterStack);
  mDoc.Accept(writer);
}
