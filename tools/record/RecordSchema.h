#pragma once
// The decoder record described as data: every named field of
// kv_dolby_metadata_t with its JSON name, byte offset and type. The scenario
// encoder and the read-back both walk this description, so any field of the
// record can be written from JSON and read back by the same name.
//
// JSON names are the record's own member names ("typeId", "ddp.acmod",
// "ac4.presentations[2].dialogGain", "ed2.dynamicObjects[0].position[3][1]").

#include <cstddef>
#include <cstdint>

namespace tools {

enum class Kind { U8, U16, I16, U32, I32, F32, Text, Array, Struct };

// A symbolic value accepted in place of a number ("typeId": "ddp").
struct NamedValue {
  const char* name;
  int64_t value;
};

struct Field;

struct Type {
  Kind kind;
  std::size_t size;  // bytes: scalar width, text width, whole array or struct
  const Type* element = nullptr;  // Array: element type
  unsigned count = 0;             // Array: element count
  const Field* fields = nullptr;  // Struct: members
  unsigned fieldCount = 0;
  const NamedValue* names = nullptr;  // scalar: accepted symbolic values
  unsigned nameCount = 0;
};

struct Field {
  const char* name;
  std::size_t offset;  // from the start of the enclosing struct
  const Type* type;
  // The record's codec blocks overlay one another from offset 52: at most one
  // of them may be written at a time, and `blockMdType` is the mdType that
  // selects it (-1 for an ordinary field).
  int blockMdType = -1;
};

// The whole record: header fields and the four codec blocks.
const Type& RecordType();

// The record member of the codec block for an mdType, or null (mdType > 3).
const Field* BlockField(uint32_t mdType);

const char* KindName(Kind kind);

}  // namespace tools
