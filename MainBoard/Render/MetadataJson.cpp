#include "MetadataJson.h"

#include "ItemText.h"
#include "JsonText.h"

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

void cMetadataJson::AddUpdateTimeStampMember(const char* name, std::int64_t seconds) {
  MakeRootObject();
  SetMember(name, Value(seconds), mDoc);
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
  AddItem(catalogue::item::PositionX, shown.x, item_text::TwoDecimals(x), obj);
  AddItem(catalogue::item::PositionY, shown.y, item_text::TwoDecimals(y), obj);
  AddItem(catalogue::item::PositionZ, shown.z, item_text::TwoDecimals(z), obj);
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

void cMetadataJson::Serialize() {
  mBuffer.Clear();
  json_text::Write(mDoc, mBuffer);
}
