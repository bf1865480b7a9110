#pragma once
// Common base of the two renderers: one rapidjson document and one text buffer,
// plus the add-or-update operations that every item adder is built from.
//
// Lookup is by exact name, first match wins. Updating an existing member keeps
// its position; a missing member is appended. Names passed as const char* are
// stored by reference (callers pass literals or text that outlives the
// document); AddUpdateObjectMemberToObject copies its key. String values are
// always copied into the document's pool. The renderer owns the document, its
// pool and its text; pointers and texts it returns stay valid until the next
// NewDocument.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>

#include "Catalogue.h"

class cMetadataJson {
 public:
  using Value = rapidjson::Value;

  // Bytes of pool and of text kept for the life of the renderer: enough for
  // the largest document either renderer makes, so that a render allocates
  // nothing from the heap.
  static constexpr std::size_t kDefaultPoolBytes = 512 * 1024;
  static constexpr std::size_t kDefaultTextBytes = 128 * 1024;

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

  // ---- members. Every operation below does nothing when obj is not an
  // object; the root forms first make a root that is not an object an empty
  // one. A string value is copied into the document's pool.

  // Sets member name of obj to value: updated in place if present (first
  // match), else appended.
  void AddUpdateMember(const char* name, unsigned int value, Value& obj);
  void AddUpdateMember(const char* name, int value, Value& obj);
  void AddUpdateMember(const char* name, float value, Value& obj);
  void AddUpdateMember(const char* name, bool value, Value& obj);
  void AddUpdateMember(const char* name, std::string_view value, Value& obj);

  // AddUpdateMember on the root.
  void AddUpdateIntegerMember(const char* name, int value);
  // A time stamp in seconds: 64 bits, so that it goes on past 2038-01-19.
  void AddUpdateTimeStampMember(const char* name, std::int64_t seconds);
  void AddUpdateBooleanMember(const char* name, bool value);
  void AddUpdateStringMember(const char* name, std::string_view value);

  // Appends an empty array member name to the root (AddArrayMember) or to obj,
  // unless a member of that name exists, of whatever type.
  void AddArrayMember(const char* name);
  void AddArrayMemberInObject(const char* name, Value& obj);
  // Find or create, then empty: ensures obj has an array (object) member name,
  // appended when missing, and empties it. Returns that member, owned by the
  // document, or null when obj is not an object or the member has another
  // type. The pointer stays valid until obj gets another member.
  Value* FreshArrayMember(const char* name, Value& obj);
  Value* FreshObjectMember(const char* name, Value& obj);
  // Appends a string member without looking for one of that name, so it may
  // create a second member of the same name.
  void AddStringMember(const char* name, std::string_view value, Value& obj);

  // ---- items: an item is an object {"Title", "Data", "Desc"} (with
  // "FFactor" before "Desc" in the float-factor form), members in that order.

  // Writes the item's members into obj itself.
  template <typename T>
  void AddUpdateObjectMember(std::string_view title, T data, std::string_view desc, Value& obj) {
    if (!obj.IsObject()) return;
    AddUpdateMember("Title", title, obj);
    AddUpdateMember("Data", data, obj);
    AddUpdateMember("Desc", desc, obj);
  }
  void AddUpdateObjectMemberWithFloatFactor(std::string_view title, int data, int ffactor,
                                            std::string_view desc, Value& obj);

  // The item adder of every document: the item under parent[key], updated in
  // place if that member exists (a member that is no object is left alone),
  // else appended as a new object under a copy of key. "Data" takes the type
  // T (int, unsigned int, float, bool, std::string_view; an enum goes as int,
  // a text pointer as bool).
  template <typename T>
  void AddUpdateObjectMemberToObject(const char* key, std::string_view title, T data,
                                     std::string_view desc, Value& parent) {
    if (!parent.IsObject()) return;
    Value::MemberIterator it = parent.FindMember(key);
    if (it != parent.MemberEnd()) {
      AddUpdateObjectMember(title, data, desc, it->value);
      return;
    }
    Value name(key, Allocator());
    parent.AddMember(name, NewItem(title, data, desc), Allocator());
  }
  // AddUpdateObjectMemberToObject with the key and title of a catalogue item.
  template <typename T>
  void AddItem(const catalogue::Item& item, T data, std::string_view desc, Value& parent) {
    AddUpdateObjectMemberToObject(item.key, item.title, data, desc, parent);
  }
  // The same in the float-factor form; the key is stored by reference.
  void AddUpdateObjectMemberToObjectWithFloatFactor(const char* key, std::string_view title, int data,
                                                    int ffactor, std::string_view desc, Value& parent);

  // Starts a rendering: everything in the pool is dropped at once (the kept
  // block is reused, extra blocks go back to the heap), an empty object as
  // root, buffer emptied (its capacity stays).
  void NewDocument();
  // Compact text of the document into the buffer. A NaN or infinity stops the
  // writer: the text ends where that number would have stood.
  void Serialize();

  // The text of the last Serialize (NUL-terminated) and its length in bytes;
  // owned by the renderer.
  const char* GetString() const { return mBuffer.GetString(); }
  std::size_t GetSize() const { return mBuffer.GetSize(); }
  // The document being built; owned by the renderer.
  rapidjson::Document& Doc() { return mDoc; }
  // Bytes of pool the current document uses (kept block and extra blocks).
  std::size_t PoolUsed() const { return mPool.Size(); }

 protected:
  rapidjson::Document::AllocatorType& Allocator() { return mDoc.GetAllocator(); }
  // Find-or-create an object member of the root; a non-object member of that
  // name is replaced by an empty object (which keeps nothing). Returns it,
  // owned by the document, or null when the root is not an object.
  Value* RootObjectMember(const char* name);
  // Appends to array (if it is one) a new object filled by fill(Value& entry).
  template <typename Fill>
  void AppendEntry(Value& array, Fill&& fill) {
    if (!array.IsArray()) return;
    Value entry(rapidjson::kObjectType);
    fill(entry);
    array.PushBack(entry, Allocator());
  }
  // The items "x", "y", "z" of an object position stored from 0 to 1: "Data"
  // as the display takes it (item_text::ToDisplay), "Desc" the stored value
  // with two decimals.
  void AddObjectPositionItems(float x, float y, float z, Value& obj);

 private:
  // Declared before mDoc, which lives in them.
  std::unique_ptr<char[]> mPoolBlock;
  rapidjson::MemoryPoolAllocator<> mPool;

 protected:
  rapidjson::Document mDoc;
  rapidjson::StringBuffer mBuffer;

 private:
  template <typename V>
  void SetMember(const char* name, V&& value, Value& obj);
  void MakeRootObject();
  // parent[key] (key by reference), appended as an empty object when missing.
  // Returns it, or null when parent is not an object.
  Value* ItemMember(const char* key, Value& parent);

  // A new item object, built through the SAX interface of a document so that
  // its member array holds exactly its three members (an object built member
  // by member starts at sixteen). Returns the builder's root, which the
  // caller moves into the document; strings are copied into the pool.
  template <typename T>
  Value& NewItem(std::string_view title, T data, std::string_view desc) {
    ItemEvents<T> events{title, data, desc};
    mItemStack.Clear();
    mItemBuilder.Populate(events);
    return mItemBuilder;
  }
  // A document whose values live in the renderer's pool and whose SAX stack
  // lives in a kept block.
  using ItemBuilder = rapidjson::GenericDocument<rapidjson::UTF8<>, rapidjson::MemoryPoolAllocator<>,
                                                 rapidjson::MemoryPoolAllocator<>>;
  // "Data" as the AddUpdateMember overload of the same type writes it.
  static void PutData(ItemBuilder& b, unsigned int v) { b.Uint(v); }
  static void PutData(ItemBuilder& b, int v) { b.Int(v); }
  static void PutData(ItemBuilder& b, float v) { b.Double(static_cast<double>(v)); }
  static void PutData(ItemBuilder& b, bool v) { b.Bool(v); }
  static void PutData(ItemBuilder& b, std::string_view v) {
    b.String(v.data(), static_cast<rapidjson::SizeType>(v.size()), true);
  }
  template <typename T>
  struct ItemEvents {
    std::string_view title;
    T data;
    std::string_view desc;
    bool operator()(ItemBuilder& b) const {
      b.StartObject();
      b.Key("Title", 5, false);
      b.String(title.data(), static_cast<rapidjson::SizeType>(title.size()), true);
      b.Key("Data", 4, false);
      PutData(b, data);
      b.Key("Desc", 4, false);
      b.String(desc.data(), static_cast<rapidjson::SizeType>(desc.size()), true);
      return b.EndObject(3);
    }
  };
  static constexpr std::size_t kItemStackBytes = 1024;
  alignas(16) char mItemStackBlock[kItemStackBytes];
  rapidjson::MemoryPoolAllocator<> mItemStack;
  ItemBuilder mItemBuilder;
  // Find or create a member of type `type` and empty it (FreshArrayMember).
  Value* FreshMember(const char* name, rapidjson::Type type, Value& obj);
};
