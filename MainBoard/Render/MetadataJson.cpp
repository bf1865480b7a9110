#include "MetadataJson.h"

#include <rapidjson/writer.h>

using rapidjson::Value;

cMetadataJson::cMetadataJson() { mDoc.SetObject(); }

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

void cMetadataJson::AddUpdateMember(const char* name, std::string value, Value& obj) {
  if (!obj.IsObject()) return;
  SetMember(name, Value(value.c_str(), static_cast<rapidjson::SizeType>(value.size()), Allocator()),
            obj);
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

void cMetadataJson::AddUpdateStringMember(const char* name, std::string& value) {
  MakeRootObject();
  AddUpdateMember(name, value, mDoc);
}

void cMetadataJson::AddArrayMember(const char* name) { AddArrayMemberInObject(name, mDoc); }

void cMetadataJson::AddArrayMemberInObject(const char* name, Value& obj) {
  if (!obj.IsObject() || obj.HasMember(name)) return;
  obj.AddMember(Value(rapidjson::StringRef(name)), Value(rapidjson::kArrayType), Allocator());
}

void cMetadataJson::AddStringMember(const char* name, std::string& value, Value& obj) {
  if (!obj.IsObject()) return;
  obj.AddMember(Value(rapidjson::StringRef(name)),
                Value(value.c_str(), static_cast<rapidjson::SizeType>(value.size()), Allocator()),
                Allocator());
}

void cMetadataJson::AddUpdateObjectMemberWithFloatFactor(std::string& title, int data, int ffactor,
                                                         std::string& desc, Value& obj) {
  if (!obj.IsObject()) return;
  AddUpdateMember("Title", title, obj);
  AddUpdateMember("Data", data, obj);
  AddUpdateMember("FFactor", ffactor, obj);
  AddUpdateMember("Desc", desc, obj);
}

void cMetadataJson::AddUpdateObjectMemberToObjectWithFloatFactor(const char* key, std::string& title,
                                                                 int data, int ffactor,
                                                                 std::string& desc, Value& parent) {
  if (!parent.IsObject()) return;
  Value::MemberIterator it = parent.FindMember(key);
  if (it != parent.MemberEnd()) {
    AddUpdateObjectMemberWithFloatFactor(title, data, ffactor, desc, it->value);
    return;
  }
  Value item(rapidjson::kObjectType);
  AddUpdateObjectMemberWithFloatFactor(title, data, ffactor, desc, item);
  parent.AddMember(Value(rapidjson::StringRef(key)), item, Allocator());
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
  // The default allocator of a fresh document is its own pool with 64 KiB
  // chunks; swapping it in releases the previous pool in one step.
  rapidjson::Document fresh;
  mDoc.Swap(fresh);
  mDoc.SetObject();
  mBuffer.Clear();
}

void cMetadataJson::Serialize() {
  mBuffer.Clear();
  rapidjson::Writer<rapidjson::StringBuffer> writer(mBuffer);
  mDoc.Accept(writer);
}
