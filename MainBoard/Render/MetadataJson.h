#pragma once
// Common base of the two renderers: one rapidjson document and one text buffer,
// plus the add-or-update operations that every item adder is built from.
//
// Lookup is by exact name, first match wins. Updating an existing member keeps
// its position; a missing member is appended. Names passed as const char* are
// stored by reference (callers pass literals); the item templates copy the key.
// String values are always copied into the document's pool.

#include <cstddef>
#include <memory>
#include <string>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>

class cMetadataJson {
 public:
  using Value = rapidjson::Value;

  // Bytes of pool and of text kept for the life of the renderer: enough for
  // the largest document either renderer makes, so that a render allocates
  // nothing from the heap.
  static constexpr std::size_t kDefaultPoolBytes = 512 * 1024;
  static constexpr std::size_t kDefaultTextBytes = 128 * 1024;
  static constexpr std::size_t kWriterStackBytes = 2048;

  // An empty object as root. The pool (poolBytes) and the text buffer
  // (textBytes) are allocated here, once, so that no render allocates them;
  // their pages are faulted in by the first document that needs them and
  // then stay (resident memory grows with the largest document seen, up to
  // these sizes). A document that outgrows the pool takes extra blocks from
  // the heap for that render only.
  explicit cMetadataJson(std::size_t poolBytes = kDefaultPoolBytes,
                         std::size_t textBytes = kDefaultTextBytes);
  cMetadataJson(const cMetadataJson&) = delete;
  cMetadataJson& operator=(const cMetadataJson&) = delete;

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
  void AddUpdateObjectMember(const std::string& title, T data, const std::string& desc,
                             Value& obj) {
    if (!obj.IsObject()) return;
    AddUpdateMember("Title", title, obj);
    AddUpdateMember("Data", data, obj);
    AddUpdateMember("Desc", desc, obj);
  }

  // Item object under parent[key]: updated in place if present, else appended.
  template <typename T>
  void AddUpdateObjectMemberToObject(const char* key, const std::string& title, T data,
                                     const std::string& desc, Value& parent) {
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

  // Starts a rendering: everything in the pool is dropped at once (the kept
  // block is reused, extra blocks go back to the heap), an empty object as
  // root, buffer emptied (its capacity stays).
  void NewDocument();
  // Compact text of the document into the buffer. A NaN or infinity stops the
  // writer: the text ends where that number would have stood.
  void Serialize();

  const char* GetString() const { return mBuffer.GetString(); }
  std::size_t GetSize() const { return mBuffer.GetSize(); }
  rapidjson::Document& Doc() { return mDoc; }
  // Bytes of pool the current document uses (kept block and extra blocks).
  std::size_t PoolUsed() const { return mPool.Size(); }

 protected:
  rapidjson::Document::AllocatorType& Allocator() { return mDoc.GetAllocator(); }
  // Find-or-create an object member of the root; a non-object member of that
  // name is replaced by an empty object. Null when the root is not an object.
  Value* RootObjectMember(const char* name);

 private:
  // Declared before mDoc, which lives in them.
  std::unique_ptr<char[]> mPoolBlock;
  rapidjson::MemoryPoolAllocator<> mPool;
  // The writer's stack of open objects and arrays, reused by every Serialize.
  alignas(16) char mWriterStackBlock[kWriterStackBytes];
  rapidjson::MemoryPoolAllocator<> mWriterStack;

 protected:
  rapidjson::Document mDoc;
  rapidjson::StringBuffer mBuffer;

 private:
  template <typename V>
  void SetMember(const char* name, V&& value, Value& obj);
  void MakeRootObject();
};
