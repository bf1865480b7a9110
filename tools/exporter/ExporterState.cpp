#include "exporter/ExporterState.h"

#include <algorithm>

#include "Catalogue.h"
#include "Record/DolbyMetadataRecord.h"
#include "Shared/Topics.h"
#include "common/JsonText.h"

namespace exporter {
namespace {

// Walks a document, handing each item object ("Data" member) with its path
// in the catalogue's form and the indices of every "[n]" on it.
struct Walker {
  const std::multimap<std::string, const ItemPath*>& index;
  std::vector<std::pair<std::string, const ItemPath*>>& found;  // (title, item) per hit
  std::vector<std::vector<unsigned>>& foundIndices;
  std::vector<const rapidjson::Value*>& foundValues;
  std::string key;  // "document:" + path with "[#]"
  std::vector<unsigned> indices;

  void Visit(const rapidjson::Value& v) {
    if (v.IsObject()) {
      if (v.HasMember("Data")) {
        const auto range = index.equal_range(key);
        const auto title = v.FindMember("Title");
        const std::string t = title != v.MemberEnd() && title->value.IsString() ? title->value.GetString() : "";
        const ItemPath* chosen = nullptr;
        for (auto it = range.first; it != range.second; ++it)
          if (chosen == nullptr || it->second->title == t) chosen = it->second;
        if (chosen != nullptr) {
          found.emplace_back(t, chosen);
          foundIndices.push_back(indices);
          foundValues.push_back(&v);
        }
      }
      const std::size_t mark = key.size();
      for (auto m = v.MemberBegin(); m != v.MemberEnd(); ++m) {
        if (key.back() != ':') key += '.';
        key += m->name.GetString();
        Visit(m->value);
        key.resize(mark);
      }
    } else if (v.IsArray()) {
      const std::size_t mark = key.size();
      key += "[#]";
      for (rapidjson::SizeType i = 0; i < v.Size(); ++i) {
        indices.push_back(i);
        Visit(v[i]);
        indices.pop_back();
      }
      key.resize(mark);
    }
  }
};

const std::multimap<std::string, const ItemPath*>& PathIndex() {
  static const std::multimap<std::string, const ItemPath*> kIndex = [] {
    std::multimap<std::string, const ItemPath*> index;
    for (const auto& p : Catalogue().ItemPaths()) index.emplace(p.first, &p.second);
    return index;
  }();
  return kIndex;
}

bool IsStatusTopic(const std::string& topic) {
  return topic == topic::kDolbyMetadataGrp || topic == topic::kDolbyMetadataGrpRepub;
}

int IntMember(const rapidjson::Value& doc, const char* key, int otherwise) {
  const auto m = doc.FindMember(key);
  return m != doc.MemberEnd() && m->value.IsInt() ? m->value.GetInt() : otherwise;
}

}  // namespace

ExporterState::ExporterState(std::string slot, std::string version)
    : mSlot(std::move(slot)), mVersion(std::move(version)) {}

void ExporterState::TakeState(const rapidjson::Value& doc) {
  const auto status = doc.FindMember("Status");
  const auto event = doc.FindMember("Event");
  if (status != doc.MemberEnd() && status->value.IsString()) mState = status->value.GetString();
  if (event != doc.MemberEnd() && event->value.IsString()) mSource = event->value.GetString();
}

void ExporterState::TakeDocument(const std::string& document, const rapidjson::Value& doc) {
  std::vector<Sample>& samples = mDocSamples[document];
  samples.clear();
  std::vector<std::pair<std::string, const ItemPath*>> found;
  std::vector<std::vector<unsigned>> indices;
  std::vector<const rapidjson::Value*> values;
  Walker walker{PathIndex(), found, indices, values, document + ":", {}};
  walker.Visit(doc);
  for (std::size_t k = 0; k < found.size(); ++k) {
    const ItemPath& item = *found[k].second;
    Labels labels;
    std::size_t label = 0;
    for (std::size_t i = 0; i < item.variable.size() && i < indices[k].size(); ++i)
      if (item.variable[i] && label < item.indexLabels.size())
        labels.emplace_back(item.indexLabels[label++], std::to_string(indices[k][i]));
    const rapidjson::Value& data = (*values[k])["Data"];
    if (!item.valueFamily.empty() && (data.IsNumber() || data.IsBool()))
      samples.push_back({item.valueFamily, labels, data.IsBool() ? (data.GetBool() ? 1.0 : 0.0) : data.GetDouble() * item.scale});
    const auto desc = values[k]->FindMember("Desc");
    if (!item.infoFamily.empty() && desc != values[k]->MemberEnd() && desc->value.IsString()) {
      labels.emplace_back("text", desc->value.GetString());
      samples.push_back({item.infoFamily, labels, 1});
    }
  }
  for (const MemberPath& m : Catalogue().Members()) {
    const auto v = doc.FindMember(m.key.c_str());
    if (m.document == document && v != doc.MemberEnd() && v->value.IsNumber())
      samples.push_back({m.family, {}, v->value.GetDouble()});
  }
}

const std::vector<std::string>& ExporterState::Topics() {
  static const std::vector<std::string> kTopics = {topic::kDolbyProcStatus, topic::kDolbyMetadataGrp,
                                                   topic::kDolbyMetadataGrpRepub, topic::kDolbyPAData};
  return kTopics;
}

void ExporterState::Take(const tap::Message& message, const tap::DocCheck& verdict, double now) {
  const auto& topics = Topics();
  if (std::find(topics.begin(), topics.end(), message.topic) == topics.end()) return;
  rapidjson::Document doc;
  std::string error;
  const bool json = verdict.kind != tap::DocCheck::Kind::Cut && tools::ParseJsonText(message.payload, doc, error) &&
                    doc.IsObject();
  std::lock_guard<std::mutex> lock(mMutex);
  mLastMessage = now;
  TopicCounts& counts = mTopics[message.topic];
  counts.documents += 1;
  counts.bytes += static_cast<double>(message.payload.size());
  if (verdict.kind == tap::DocCheck::Kind::Cut) counts.cut += 1;
  if (verdict.kind == tap::DocCheck::Kind::Invalid || verdict.kind == tap::DocCheck::Kind::Schema ||
      verdict.kind == tap::DocCheck::Kind::Empty)
    counts.invalid += 1;
  if (!json) return;
  if (message.topic == topic::kDolbyProcStatus) {
    TakeState(doc);
  } else if (IsStatusTopic(message.topic)) {
    TakeDocument("status", doc);
    const int mdId = IntMember(doc, "MdId", -1);
    const int typeId = IntMember(doc, "TypeId", -1);
    mStreamRow = mdId < 0 || typeId < 0 ? -1
                                        : static_cast<int>(catalogue::StreamTypeCode(static_cast<unsigned>(mdId), typeId));
    if (mdId != DLB_PADC_UI_MD_TYPE_ED2) mDocSamples.erase("presentation");
  } else if (message.topic == topic::kDolbyPAData) {
    TakeDocument("presentation", doc);
  }
  mChanges.Compare(message.topic, doc, message.time);
}

std::string ExporterState::Metrics(bool openMetrics, double now) const {
  std::lock_guard<std::mutex> lock(mMutex);
  const MetricCatalogue& cat = Catalogue();
  Exposition out(mSlot);
  out.Add("plovrest_up", {}, mLastMessage >= 0 && now - mLastMessage < kUpWindow ? 1 : 0);
  out.Add("plovrest_build_info", {{"version", mVersion}}, 1);
  for (const std::string& s : cat.States()) out.Add("plovrest_decoder_state", {{"state", s}}, s == mState ? 1 : 0);
  for (const std::string& s : cat.Sources())
    out.Add("plovrest_decoding_source", {{"source", s.empty() ? "none" : s}}, s == mSource && !mState.empty() ? 1 : 0);
  for (std::size_t r = 0; r < cat.StreamTypes().size(); ++r)
    out.Add("plovrest_stream_type", {{"type", cat.StreamTypes()[r]}}, static_cast<int>(r) == mStreamRow ? 1 : 0);
  for (const auto& d : mDocSamples)
    for (const Sample& s : d.second) out.Add(s.family, s.labels, s.value);
  for (const auto& t : mTopics) {
    const Labels topic = {{"topic", t.first}};
    out.Add("plovrest_documents_total", topic, t.second.documents);
    out.Add("plovrest_document_bytes_total", topic, t.second.bytes);
    out.Add("plovrest_documents_cut_total", topic, t.second.cut);
    out.Add("plovrest_documents_invalid_total", topic, t.second.invalid);
  }
  for (const auto& c : mChanges.Counts()) {
    const Labels labels = {{"topic", c.first.first}, {"field", c.first.second}};
    out.Add("plovrest_field_changes_total", labels, c.second.count);
    out.Add("plovrest_field_last_change_timestamp_seconds", labels, c.second.last);
  }
  for (const auto& d : mChanges.Dropped()) out.Add("plovrest_changes_dropped_fields_total", {{"topic", d.first}}, d.second);
  return out.Text(openMetrics);
}

std::string ExporterState::Changes() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mChanges.JsonLines();
}

}  // namespace exporter
