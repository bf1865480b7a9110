#pragma once
// Common base of the two renderers: one rapidjson document and one text buffer,
// plus the add-or-update operations that every item adder is built from.
//
// Lookup is by exact name, first match wins. Updating an existing member keeps
// its position; a missing member is appended. Names passed as const char* are
// stored by reference (callers pass literals); the item templates copy the key.
// String values are always copied into the document's pool.

#include <string>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>

class cMetadataJson {
 public:
  using Value = rapidjson::Value;

  cMetadataJson();

  void AddUpdateMember(const char* name, unsigned int value, Value& obj);
  void AddUpdateMember(const char* name, int value, Value& obj);
  void AddUpdateMember(const char* name, float value, Value& obj);
  void AddUpdateMember(const char* name, bool value, Value& obj);
  void AddUpdateMember(const char* name, const std::string& value, Value& obj);

  // Root operations: a root that is not an object is made an empty one first.
  void AddUpdateIntegerMember(const char* name, int value);
  void AddUpdateBooleanMember(const char* name, bool value);
  void AddUpdateStringMember(const char* name, std::string& value);

  void AddArrayMember(const char* name);
  void AddArrayMemberInObject(const char* name, Value& obj);
  // Ensures obj has an array member `name` (appended when missing) and
  // empties it. Returns that array, owned by the document, or null when obj
  // is not an object or the member has another type.
  Value* FreshArrayMember(const char* name, Value& obj);
  // Append-only: may create a second member of the same name.
  void AddStringMember(const char* name, std::string& value, Value& obj);

  void AddUpdateObjectMemberWithFloatFactor(std::string& title, int data, int ffactor,
                                            std::string& desc, Value& obj);
  void AddUpdateObjectMemberToObjectWithFloatFactor(const char* key, std::string& title, int data,
                                                    int ffactor, std::string& desc,
                                                    Value& parent);

  // Item object {"Title","Data","Desc"} written into obj, if obj is an object.
  template <typename T>
  void AddUpdateObjectMember(std::string& title, T data, std::string& desc, Value& obj) {
    if (!obj.IsObject()) return;
    AddUpdateMember("Title", title, obj);
    AddUpdateMember("Data", data, obj);
    AddUpdateMember("Desc", desc, obj);
  }

  // Item object under parent[key]: updated in place if present, else appended.
  template <typename T>
  void AddUpdateObjectMemberToObject(const char* key, std::string& title, T data,
                                     std::string& desc, Value& parent) {
    if (!parent.IsObject()) return;
    Value::MemberIterator it = parent.FindMember(key);
    if (it != parent.MemberEnd()) {
      AddUpdateObjectMember(title, data, desc, it->value);
      return;
    }
    Value item(rapidjson::kObjectType);
    AddUpdateObjectMember(title, data, desc, item);
    parent.AddMember(Value(key, Allocator()), item, Allocator());
  }

  // Starts a rendering: a new document with its own pool (the previous pool
  // and everything in it is released), an empty object as root, buffer emptied.
  void NewDocument();
  // Compact text of the document into the buffer. A NaN or infinity stops the
  // writer: the text ends where that number would have stood.
  void Serialize();

  const char* GetString() const { return mBuffer.GetString(); }
  std::size_t GetSize() const { return mBuffer.GetSize(); }
  rapidjson::Document& Doc() { return mDoc; }

 protected:
  rapidjson::Document::AllocatorType& Allocator() { return mDoc.GetAllocator(); }
  // Find-or-create an object member of the root; a non-object member of that
  // name is replaced by an empty object. Null when the root is not an object.
  Value* RootObjectMember(const char* name);

  rapidjson::Document mDoc;
  rapidjson::StringBuffer mBuffer;

 private:
  template <typename V>
  void SetMember(const char* name, V&& value, Value& obj);
  void MakeRootObject();
};
