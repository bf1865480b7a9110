#pragma once
// The catalogue of the documents (Catalogue.def) compiled in: texts in
// catalogue::text, code tables in catalogue::table, items in catalogue::item
// and plain members in catalogue::member. Everything is constexpr with
// static storage; a lookup is one bounds check and one array index.

#include <cstddef>
#include <string>

namespace catalogue {

// A code table: codes 0 to size-1 (or, with codes, the listed codes) map to
// texts; a code outside shows `unknown`, or the code in decimal when it is null.
struct Table {
  const char* id;
  const char* kinds;    // stream kinds that use it, blank-separated
  const char* unknown;  // text of a code outside the table; null: the code in decimal
  const char* const* texts;
  unsigned size;
  const unsigned* codes;  // null: texts[c] is code c; else texts[k] is codes[k]
  const char* rule;       // not null: a rule picks the row (what it is in words)
  int first;              // code of texts[0] (dump only; Find takes the row)

  // The text of code (static storage), or null when the code is outside the table.
  constexpr const char* Find(unsigned code) const {
    if (codes == nullptr) return code < size ? texts[code] : nullptr;
    for (unsigned k = 0; k < size; ++k)
      if (codes[k] == code) return texts[k];
    return nullptr;
  }
  // The text of code, or `unknown` outside the table (null: show the code).
  constexpr const char* Text(unsigned code) const {
    const char* text = Find(code);
    return text != nullptr ? text : unknown;
  }
};

// An item object {"Title", "Data", "Desc"} stored under `key`.
struct Item {
  const char* id;
  const char* key;
  const char* title;
  const Table& table;      // "Desc" of a code (NoTable: the value itself)
  const char* otherTitle;  // title for a code outside the table; null keeps title
  const char* absent;      // "Desc" when the record marks the value absent; null: never
  const char* dataType;    // JSON type of "Data"
  const char* unit;
  const char* kinds;
  const char* paths;  // blank-separated "document:path" entries

  // The title of an item showing code.
  constexpr const char* TitleOf(unsigned code) const {
    return otherTitle != nullptr && table.Find(code) == nullptr ? otherTitle : title;
  }
};

// A plain member or container of a document.
struct Member {
  const char* id;
  const char* key;
  const char* dataType;
  const char* kinds;
  const char* paths;
};

// A counter or ID of the documents: Base is the number of the first entry.
struct Index {
  const char* id;
  const char* kinds;
  int base;
  const char* paths;  // blank-separated "document:path" entries
  const char* meaning;
};

// What a screen must know about an item or table: kind "data", "absent" or
// "oddity" (see Catalogue.def).
struct Note {
  const char* subject;
  const char* kind;
  const char* text;
};

namespace text {
#define CATALOGUE_TEXT(Id, Text) inline constexpr char Id[] = Text;
#include "Catalogue.def"
}  // namespace text

namespace table {
namespace detail {
template <typename T, std::size_t N>
constexpr unsigned CountOf(const T (&)[N]) {
  return static_cast<unsigned>(N);
}
struct CodeText {
  unsigned code;
  const char* text;
};
template <std::size_t N>
struct Sparse {
  unsigned codes[N];
  const char* texts[N];
};
template <std::size_t N>
constexpr Sparse<N> Split(const CodeText (&pairs)[N]) {
  Sparse<N> out{};
  for (std::size_t k = 0; k < N; ++k) {
    out.codes[k] = pairs[k].code;
    out.texts[k] = pairs[k].text;
  }
  return out;
}
}  // namespace detail
// The texts start with a null so that a table may be empty (NoTable).
#define CATALOGUE_SHIFTED(Id, Kinds, Unknown, First, ...)              \
  inline constexpr const char* Id##Texts[] = {nullptr, ##__VA_ARGS__}; \
  inline constexpr Table Id{#Id, Kinds, Unknown, Id##Texts + 1, detail::CountOf(Id##Texts) - 1, nullptr, nullptr, First};
#define CATALOGUE_TABLE(Id, Kinds, Unknown, ...) CATALOGUE_SHIFTED(Id, Kinds, Unknown, 0, ##__VA_ARGS__)
#define CATALOGUE_RULE(Id, Kinds, Rule, ...)                    \
  inline constexpr const char* Id##Texts[] = {__VA_ARGS__};     \
  inline constexpr Table Id{#Id, Kinds, nullptr, Id##Texts, detail::CountOf(Id##Texts), nullptr, Rule, 0};
#define CATALOGUE_SPARSE(Id, Kinds, Unknown, ...)                                                    \
  inline constexpr detail::CodeText Id##Pairs[] = {__VA_ARGS__};                                     \
  inline constexpr detail::Sparse<detail::CountOf(Id##Pairs)> Id##Split = detail::Split(Id##Pairs); \
  inline constexpr Table Id{#Id, Kinds, Unknown, Id##Split.texts, detail::CountOf(Id##Pairs), Id##Split.codes, nullptr, 0};
#include "Catalogue.def"
}  // namespace table

namespace item {
using namespace text;
using namespace table;
#define CATALOGUE_ITEM(Id, Key, Title, Tab, OtherTitle, Absent, Type, Unit, Kinds, Paths) \
  inline constexpr Item Id{#Id, Key, Title, Tab, OtherTitle, Absent, Type, Unit, Kinds, Paths};
#include "Catalogue.def"
}  // namespace item

namespace member {
#define CATALOGUE_MEMBER(Id, Key, Type, Kinds, Paths) inline constexpr Member Id{#Id, Key, Type, Kinds, Paths};
#include "Catalogue.def"
}  // namespace member

namespace numbering {
#define CATALOGUE_INDEX(Id, Kinds, Base, Paths, Meaning) inline constexpr Index Id{#Id, Kinds, Base, Paths, Meaning};
#include "Catalogue.def"
}  // namespace numbering

// Row of table::StreamTypes for a record's codec block and header typeId:
// PCM by its typeId, an unknown block as PCM, the Dolby Digital (Plus)
// block refined by typeId.
unsigned StreamTypeCode(unsigned mdType, int typeId);

// Speaker types that number the LFE entries of table::SpeakerTypes.
constexpr unsigned kSpeakerTypeLfe = 4;
constexpr unsigned kSpeakerTypeLfe2 = 17;
// The position (x, y, z from -1 to 1) at which the UI draws a speaker type;
// the origin for types without a position of their own and outside the
// table. Returns a pointer to three floats, static storage.
const float* SpeakerPosition(unsigned type);

// The whole catalogue as pretty-printed JSON (texts, tables, items, members,
// indexes, notes),
// in the order of Catalogue.def, ending with a newline.
std::string CatalogueJson();

}  // namespace catalogue
