#include "Catalogue.h"

#include <cstring>
#include <initializer_list>
#include <utility>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include "Record/DolbyMetadataRecord.h"

namespace catalogue {

namespace {

static_assert(table::SpeakerTypes.size == kBedChannelCount + 1);
static_assert(table::Trims.size == DLB_PADC_TRIM_AUTO + 1);
static_assert(table::AudioCodingModes.size == 29);

// Where the UI draws each speaker type. The rear, top-middle and wide
// speakers have no position of their own and sit at the centre.
// clang-format off
constexpr float kSpeakerPositions[][3] = {
    { 0,  0, 0},  // -
    {-1,  1, 0},  // L
    { 1,  1, 0},  // R
    { 0,  1, 0},  // C
    { 0,  1, 0},  // LFE
    {-1, -1, 0},  // Ls
    { 1, -1, 0},  // Rs
    { 0,  0, 0},  // Lrs
    { 0,  0, 0},  // Rrs
    {-1,  1, 1},  // Lfh
    { 1,  1, 1},  // Rfh
    { 0,  0, 0},  // Ltm
    { 0,  0, 0},  // Rtm
    {-1, -1, 1},  // Lrh
    { 1, -1, 1},  // Rrh
    { 0,  0, 0},  // Lw
    { 0,  0, 0},  // Rw
    { 0,  1, 0}};  // LFE2
// clang-format on
static_assert(sizeof kSpeakerPositions / sizeof kSpeakerPositions[0] == table::SpeakerTypes.size);

// Rows of table::StreamTypes by codec block (mdType 0 to 3).
constexpr unsigned kBlockStreamTypes[] = {1, 2, 5, 6};
constexpr unsigned kDolbyDigitalPlusRow = 3;
constexpr unsigned kDolbyDigitalPlusIecRow = 4;

// ---- the lists the JSON is written from, in the order of Catalogue.def
struct NamedText {
  const char* id;
  const char* text;
};
#define CATALOGUE_TEXT(Id, Text) {#Id, text::Id},
constexpr NamedText kTexts[] = {
#include "Catalogue.def"
};

#define CATALOGUE_TABLE(Id, ...) &table::Id,
#define CATALOGUE_SPARSE(Id, ...) &table::Id,
#define CATALOGUE_RULE(Id, ...) &table::Id,
#define CATALOGUE_SHIFTED(Id, ...) &table::Id,
constexpr const Table* kTables[] = {
#include "Catalogue.def"
};
#define CATALOGUE_ITEM(Id, ...) &item::Id,
constexpr const Item* kItems[] = {
#include "Catalogue.def"
};
#define CATALOGUE_MEMBER(Id, ...) &member::Id,
constexpr const Member* kMembers[] = {
#include "Catalogue.def"
};
#define CATALOGUE_INDEX(Id, ...) &numbering::Id,
constexpr const Index* kIndexes[] = {
#include "Catalogue.def"
};
#define CATALOGUE_NOTE(Subject, Kind, Text) {#Subject, Kind, Text},
constexpr Note kNotes[] = {
#include "Catalogue.def"
};

using Writer = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

void NullableString(Writer& w, const char* text) {
  if (text == nullptr) {
    w.Null();
  } else {
    w.String(text);
  }
}

// The words of a blank-separated list, as an array.
void Words(Writer& w, const char* list) {
  w.StartArray();
  const char* p = list;
  while (*p != '\0') {
    const char* end = std::strchr(p, ' ');
    const std::size_t n = end ? static_cast<std::size_t>(end - p) : std::strlen(p);
    if (n != 0) w.String(p, static_cast<rapidjson::SizeType>(n));
    p += n;
    while (*p == ' ') ++p;
  }
  w.EndArray();
}

// "document:path" entries as {"document", "path"} objects.
void Paths(Writer& w, const char* list) {
  w.StartArray();
  const char* p = list;
  while (*p != '\0') {
    const char* end = std::strchr(p, ' ');
    const std::size_t n = end ? static_cast<std::size_t>(end - p) : std::strlen(p);
    const char* colon = static_cast<const char*>(std::memchr(p, ':', n));
    if (colon != nullptr) {
      w.StartObject();
      w.Key("document");
      w.String(p, static_cast<rapidjson::SizeType>(colon - p));
      w.Key("path");
      w.String(colon + 1, static_cast<rapidjson::SizeType>(p + n - colon - 1));
      w.EndObject();
    }
    p += n;
    while (*p == ' ') ++p;
  }
  w.EndArray();
}

// Members whose values are texts (null: JSON null), in the order given.
void TextMembers(Writer& w, std::initializer_list<std::pair<const char*, const char*>> members) {
  for (const auto& [key, text] : members) {
    w.Key(key);
    NullableString(w, text);
  }
}

void WriteTable(Writer& w, const Table& t) {
  w.StartObject();
  TextMembers(w, {{"id", t.id}});
  w.Key("kinds");
  Words(w, t.kinds);
  TextMembers(w, {{"unknown", t.unknown}});
  if (t.rule != nullptr) {
    w.Key("rule");
    w.String(t.rule);
  }
  if (t.first != 0) {
    w.Key("first");
    w.Int(t.first);
  }
  if (t.codes != nullptr) {
    w.Key("codes");
    w.StartArray();
    for (unsigned k = 0; k < t.size; ++k) w.Uint(t.codes[k]);
    w.EndArray();
  }
  w.Key("texts");
  w.StartArray();
  for (unsigned k = 0; k < t.size; ++k) w.String(t.texts[k]);
  w.EndArray();
  w.EndObject();
}

void WriteItem(Writer& w, const Item& i) {
  w.StartObject();
  TextMembers(w, {{"id", i.id}, {"key", i.key}, {"title", i.title}, {"otherTitle", i.otherTitle},
                  {"table", &i.table == &table::NoTable ? nullptr : i.table.id}, {"absent", i.absent},
                  {"dataType", i.dataType}, {"unit", i.unit}});
  w.Key("kinds");
  Words(w, i.kinds);
  w.Key("paths");
  Paths(w, i.paths);
  w.EndObject();
}

void WriteMember(Writer& w, const Member& m) {
  w.StartObject();
  TextMembers(w, {{"id", m.id}, {"key", m.key}, {"dataType", m.dataType}});
  w.Key("kinds");
  Words(w, m.kinds);
  w.Key("paths");
  Paths(w, m.paths);
  w.EndObject();
}

void WriteIndex(Writer& w, const Index& x) {
  w.StartObject();
  TextMembers(w, {{"id", x.id}});
  w.Key("kinds");
  Words(w, x.kinds);
  w.Key("base");
  w.Int(x.base);
  w.Key("paths");
  Paths(w, x.paths);
  TextMembers(w, {{"meaning", x.meaning}});
  w.EndObject();
}

}  // namespace

unsigned StreamTypeCode(unsigned mdType, int typeId) {
  if (typeId == stream_type::kPcm || mdType >= sizeof kBlockStreamTypes / sizeof kBlockStreamTypes[0]) return 0;
  if (mdType == DLB_PADC_UI_MD_TYPE_DDP) {
    if (typeId == stream_type::kDolbyDigitalPlus) return kDolbyDigitalPlusRow;
    if (typeId == stream_type::kDolbyDigitalPlusIec61937) return kDolbyDigitalPlusIecRow;
  }
  return kBlockStreamTypes[mdType];
}

const float* SpeakerPosition(unsigned type) {
  return kSpeakerPositions[type < table::SpeakerTypes.size ? type : 0];
}

std::string CatalogueJson() {
  rapidjson::StringBuffer buffer;
  Writer w(buffer);
  w.SetIndent(' ', 1);
  w.StartObject();
  w.Key("texts");
  w.StartObject();
  for (const NamedText& t : kTexts) {
    w.Key(t.id);
    w.String(t.text);
  }
  w.EndObject();
  w.Key("tables");
  w.StartArray();
  for (const Table* t : kTables) WriteTable(w, *t);
  w.EndArray();
  w.Key("items");
  w.StartArray();
  for (const Item* i : kItems) WriteItem(w, *i);
  w.EndArray();
  w.Key("members");
  w.StartArray();
  for (const Member* m : kMembers) WriteMember(w, *m);
  w.EndArray();
  w.Key("indexes");
  w.StartArray();
  for (const Index* x : kIndexes) WriteIndex(w, *x);
  w.EndArray();
  w.Key("notes");
  w.StartArray();
  for (const Note& n : kNotes) {
    w.StartObject();
    TextMembers(w, {{"subject", n.subject}, {"kind", n.kind}, {"text", n.text}});
    w.EndObject();
  }
  w.EndArray();
  w.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

}  // namespace catalogue
