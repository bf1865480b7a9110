#include "exporter/MetricCatalogue.h"

#include <cctype>
#include <cstring>

#include <rapidjson/document.h>

#include "Catalogue.h"
#include "schema/SchemaTexts.h"

namespace exporter {
namespace {

// The catalogue items and root members that become metrics: what the
// facility watches per program, substream or presentation. Titles, units,
// tables and paths are the catalogue's.
constexpr const char* kExportedItems[] = {
    "Dialnorm", "Ac4Dialnorm",                                           // dialogue normalisation
    "Acmod", "ChannelConfig", "OutputChannelConfig", "Ac4ChannelConfig",  // coding mode, channels
    "Ac4SpeakerConfig", "Ac4ChCfg",
    "Datarate", "Ac4AverageBitrate",  // data rate
    "Lfeon",                          // LFE
    "FrameRate", "Ac4FrameRate",      // frame rate
    "NumDynObjects", "PrgCount", "Ac4PresentationCount", "Ac4NumSubstreams",  // counts
    "AtmosPresent", "SignalType", "Pair"};
constexpr const char* kExportedMembers[] = {"TypeId", "MdId", "NoOfPrograms", "NoOfStreams", "NoPresentations",
                                            "ActivePANo"};

// Base units: the suffix of a unit's metric and the factor to it.
struct BaseUnit {
  const char* unit;
  const char* suffix;
  double scale;
};
constexpr BaseUnit kBaseUnits[] = {{"", "", 1}, {"dB", "_decibels", 1}, {"kbps", "_bytes_per_second", 125},
                                   {"fps", "_frames_per_second", 1}, {"frames", "_frames", 1}};

std::string Str(const rapidjson::Value& v, const char* key) {
  const auto m = v.FindMember(key);
  return m != v.MemberEnd() && m->value.IsString() ? m->value.GetString() : "";
}

std::string Kinds(const rapidjson::Value& v) {
  std::string out;
  for (const auto& k : v["kinds"].GetArray()) out += (out.empty() ? "" : ", ") + std::string(k.GetString());
  return out;
}

// "Streams[i][0].BitstreamInfo" -> label per "[i]" from the key before it.
void IndexLabels(const std::string& path, ItemPath& out) {
  std::string key;
  for (std::size_t p = 0; p < path.size(); ++p) {
    const char c = path[p];
    if (c == '[') {
      const bool variable = path.compare(p, 3, "[i]") == 0;
      out.variable.push_back(variable);
      if (variable) {
        std::string label = SnakeCase(key);
        if (label.size() > 1 && label.back() == 's') label.pop_back();
        out.indexLabels.push_back(label);
      }
      p = path.find(']', p);
      if (p == std::string::npos) return;
    } else if (c == '.') {
      key.clear();
    } else {
      key += c;
    }
  }
}

// "bytes_per_second" -> "bytes per second".
std::string Words(std::string text) {
  for (char& c : text)
    if (c == '_') c = ' ';
  return text;
}

std::vector<std::string> SchemaEnum(const char* schema, const char* property) {
  std::vector<std::string> out;
  for (unsigned i = 0; i < tools::kDocSchemaCount; ++i) {
    if (std::strcmp(tools::kDocSchemaTexts[i].name, schema) != 0) continue;
    rapidjson::Document d;
    d.Parse(tools::kDocSchemaTexts[i].text);
    if (d.HasParseError() || !d.HasMember("properties")) return out;
    for (const auto& t : d["properties"][property]["enum"].GetArray()) out.push_back(t.GetString());
  }
  return out;
}

}  // namespace

std::string SnakeCase(const std::string& id) {
  std::string out;
  for (std::size_t i = 0; i < id.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(id[i]);
    const bool upper = std::isupper(c) != 0;
    const bool afterLower = i > 0 && (std::islower(static_cast<unsigned char>(id[i - 1])) ||
                                      std::isdigit(static_cast<unsigned char>(id[i - 1])));
    if (upper && afterLower) out += '_';
    out += static_cast<char>(std::tolower(c));
  }
  return out;
}

std::string PathKey(const std::string& document, const std::string& path) {
  std::string out = document + ":";
  for (std::size_t p = 0; p < path.size(); ++p) {
    if (path[p] == '[') {
      const std::size_t end = path.find(']', p);
      if (end == std::string::npos) break;
      out += "[#]";
      p = end;
    } else {
      out += path[p];
    }
  }
  return out;
}

Family& MetricCatalogue::Add(const std::string& name, MetricType type, const std::string& help,
                            const std::vector<std::string>& labels) {
  for (Family& f : mFamilies)
    if (f.name == name) return f;  // one family serves several items (status and presentation paths)
  mFamilies.push_back({name, type, help, labels});
  return mFamilies.back();
}

static void AddLabels(Family& family, const std::vector<std::string>& labels) {
  for (const std::string& l : labels) {
    bool known = false;
    for (const std::string& k : family.labels) known = known || k == l;
    if (!known) family.labels.push_back(l);
  }
}

MetricCatalogue::MetricCatalogue() {
  mStates = SchemaEnum("decoder-state", "Status");
  mSources = SchemaEnum("decoder-state", "Event");
  for (unsigned r = 0; r < catalogue::table::StreamTypes.size; ++r)
    mStreamTypes.push_back(catalogue::table::StreamTypes.texts[r]);

  Add("plovrest_up", MetricType::Gauge,
      "1 while the daemon's endpoint delivers messages (one within the last 5 s), else 0");
  Add("plovrest_build_info", MetricType::Info, "The exporter's version", {"version"});
  Add("plovrest_decoder_state", MetricType::Gauge,
      "1 for the decoder state the daemon published last (DolbyProcStatus \"Status\"), 0 for the other designed states",
      {"state"});
  Add("plovrest_decoding_source", MetricType::Gauge,
      "1 for the decoding source of the last decoder-state message (\"Event\"; \"none\" when empty), 0 for the others",
      {"source"});
  Add("plovrest_stream_type", MetricType::Gauge,
      "1 for the stream type of the last status document (" + std::string(catalogue::table::StreamTypes.rule) +
          "), 0 for the others",
      {"type"});
  Add("plovrest_documents_total", MetricType::Counter, "Messages received per topic", {"topic"});
  Add("plovrest_document_bytes_total", MetricType::Counter, "Payload bytes received per topic", {"topic"});
  Add("plovrest_documents_cut_total", MetricType::Counter,
      "Documents that end where a NaN or infinite number stands, per topic", {"topic"});
  Add("plovrest_documents_invalid_total", MetricType::Counter,
      "Documents that are not JSON or that their JSON Schema rejects, per topic", {"topic"});
  Add("plovrest_field_changes_total", MetricType::Counter,
      "Changes per topic and field (JSON pointer) between successive documents, \"TS\" aside",
      {"topic", "field"});
  Add("plovrest_field_last_change_timestamp_seconds", MetricType::Gauge,
      "When each field last changed, seconds since the epoch", {"topic", "field"});
  Add("plovrest_changes_dropped_fields_total", MetricType::Counter,
      "Changes of fields beyond the number of fields counted one by one, counted here",
      {"topic"});

  rapidjson::Document cat;
  cat.Parse(catalogue::CatalogueJson().c_str());
  for (const char* member : kExportedMembers) {
    bool found = false;
    for (const auto& m : cat["members"].GetArray()) {
      if (Str(m, "id") != member) continue;
      found = true;
      const std::string name = "plovrest_" + SnakeCase(member);
      for (const auto& p : m["paths"].GetArray())
        mMembers.push_back({Str(p, "document"), Str(p, "path"), name});
      Add(name, MetricType::Gauge,
          "The document's \"" + Str(m, "key") + "\" (" + Kinds(m) + ")");
    }
    if (!found) mError = std::string("no catalogue member ") + member;
  }
  for (const char* id : kExportedItems) {
    const rapidjson::Value* item = nullptr;
    for (const auto& i : cat["items"].GetArray())
      if (Str(i, "id") == id) item = &i;
    if (item == nullptr) {
      mError = std::string("no catalogue item ") + id;
      continue;
    }
    const std::string unit = Str(*item, "unit");
    const BaseUnit* base = nullptr;
    for (const BaseUnit& b : kBaseUnits)
      if (unit == b.unit) base = &b;
    if (base == nullptr) {
      mError = "unit '" + unit + "' of " + id + " has no base unit";
      continue;
    }
    const std::string table = Str(*item, "table");
    const std::string type = Str(*item, "dataType");
    const std::string title = Str(*item, "title");
    const std::string what = "\"" + title + "\" (" + Kinds(*item) + ")";
    ItemPath path;
    path.itemId = id;
    path.title = title;
    std::string stem = "plovrest_" + SnakeCase(id);
    // "_count" is the suffix of a summary's or histogram's count: a count
    // item is named by what it counts ("prg_count" -> "prgs").
    if (stem.size() > 6 && stem.compare(stem.size() - 6, 6, "_count") == 0) stem.replace(stem.size() - 6, 6, "s");
    if (type != "string") {
      path.valueFamily = table.empty() ? stem + base->suffix : stem + "_code";
      path.scale = table.empty() ? base->scale : 1;
      Add(path.valueFamily, MetricType::Gauge,
          table.empty() ? what + (unit.empty() ? "" : " in " + Words(base->suffix + 1))
                        : what + ": the code of table " + table);
    }
    if (!table.empty() || type == "string") {
      path.infoFamily = stem + "_info";
      Add(path.infoFamily, MetricType::Info,
          what + ": its text (\"Desc\")" + (table.empty() ? "" : " from table " + table));
    }
    for (const auto& p : (*item)["paths"].GetArray()) {
      ItemPath one = path;
      one.document = Str(p, "document");
      IndexLabels(Str(p, "path"), one);
      if (!one.valueFamily.empty()) AddLabels(Add(one.valueFamily, MetricType::Gauge, ""), one.indexLabels);
      if (!one.infoFamily.empty()) AddLabels(Add(one.infoFamily, MetricType::Info, ""), one.indexLabels);
      mItemPaths.emplace_back(PathKey(one.document, Str(p, "path")), one);
    }
    if (!path.infoFamily.empty()) AddLabels(Add(path.infoFamily, MetricType::Info, ""), {"text"});
  }
  if (mStates.empty()) mError = "no decoder states in the decoder-state schema";
}

std::string MetricCatalogue::Markdown() const {
  std::string md =
      "# Metrics of plovrest-exporter\n\n"
      "Generated by `plovrest-exporter --metrics-doc` from the catalogue of the documents and the\n"
      "decoder-state schema; do not edit. Every series has the label `slot` (the card's slot,\n"
      "from the daemon's settings file). `_info` series are always 1 and carry a text in `text`.\n\n"
      "| metric | type | labels | meaning |\n|---|---|---|---|\n";
  for (const Family& f : mFamilies) {
    std::string labels;
    for (const std::string& l : f.labels) labels += (labels.empty() ? "`" : ", `") + l + "`";
    const char* type = f.type == MetricType::Counter ? "counter" : f.type == MetricType::Info ? "info" : "gauge";
    std::string help = f.help;
    for (std::size_t p = 0; (p = help.find('|', p)) != std::string::npos; p += 2) help.replace(p, 1, "\\|");
    md += "| `" + f.name + "` | " + type + " | " + labels + " | " + help + " |\n";
  }
  md += "\nDecoder states (`state`): ";
  for (std::size_t i = 0; i < mStates.size(); ++i) md += (i ? ", " : "") + ("\"" + mStates[i] + "\"");
  md += ".\nStream types (`type`): ";
  for (std::size_t i = 0; i < mStreamTypes.size(); ++i) md += (i ? ", " : "") + ("\"" + mStreamTypes[i] + "\"");
  md += ".\n";
  return md;
}

const MetricCatalogue& Catalogue() {
  static const MetricCatalogue kCatalogue;
  return kCatalogue;
}

}  // namespace exporter
