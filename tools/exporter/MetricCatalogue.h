#pragma once
// The exporter's metric families, derived from the catalogue of the documents
// (every title, unit, code table and path comes from there) and from the
// decoder-state schema (the state and source texts). The only list kept here
// is which catalogue entries are exported.

#include <string>
#include <vector>

namespace exporter {

enum class MetricType { Gauge, Counter, Info };

struct Family {
  std::string name;  // full sample name, e.g. "plovrest_dialnorm_decibels", "plovrest_documents_total"
  MetricType type;
  std::string help;
  std::vector<std::string> labels;  // besides "slot"
};

// How one document path of an exported catalogue item becomes samples.
struct ItemPath {
  std::string itemId;                   // catalogue item id, e.g. "Dialnorm"
  std::string document;                 // "status" or "presentation"
  std::string title;                    // the item's title (tells items on one path apart)
  std::string valueFamily;              // gauge of "Data"; empty for texts
  std::string infoFamily;               // _info with the "Desc" text; empty for plain numbers
  double scale = 1;                     // "Data" times scale is the value in base units
  std::vector<std::string> indexLabels; // label per "[i]" of the path, in order, e.g. {"stream"}
  std::vector<bool> variable;           // per index of the path: true for "[i]", false for a fixed one
};

// A plain member exported as a gauge (counts and codes of the document's head).
struct MemberPath {
  std::string document;
  std::string key;     // member of the document's root
  std::string family;
};

class MetricCatalogue {
 public:
  // Builds the families from the compiled-in catalogue and schemas. Never
  // fails for the catalogue the program was built with; Error() is not
  // empty when an exported id is missing or a unit has no base unit.
  MetricCatalogue();

  const std::vector<Family>& Families() const { return mFamilies; }
  // Paths with their items, keyed "document:normalised path" (see PathKey).
  const std::vector<std::pair<std::string, ItemPath>>& ItemPaths() const { return mItemPaths; }
  const std::vector<MemberPath>& Members() const { return mMembers; }
  // The designed decoder-state texts and decoding sources, in schema order.
  const std::vector<std::string>& States() const { return mStates; }
  const std::vector<std::string>& Sources() const { return mSources; }
  // The stream-type texts of the catalogue, by row.
  const std::vector<std::string>& StreamTypes() const { return mStreamTypes; }
  const std::string& Error() const { return mError; }

  // docs/reference/metrics.md: every family with its type, labels and help.
  std::string Markdown() const;

 private:
  Family& Add(const std::string& name, MetricType type, const std::string& help,
             const std::vector<std::string>& labels = {});
  std::vector<Family> mFamilies;
  std::vector<std::pair<std::string, ItemPath>> mItemPaths;
  std::vector<MemberPath> mMembers;
  std::vector<std::string> mStates, mSources, mStreamTypes;
  std::string mError;
};

// "document:path" with every "[n]" and "[i]" written "[#]", so that a
// concrete path and its catalogue pattern give the same key.
std::string PathKey(const std::string& document, const std::string& path);

// "NumDynObjects" -> "num_dyn_objects", "Ac4ChCfg" -> "ac4_ch_cfg".
std::string SnakeCase(const std::string& id);

// The process-wide catalogue of families (built on first use, thread-safe).
const MetricCatalogue& Catalogue();

}  // namespace exporter
