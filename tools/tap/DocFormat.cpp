#include "tap/DocFormat.h"

#include <algorithm>

#include "common/JsonText.h"

namespace tap {
namespace {

using rapidjson::Value;

constexpr std::size_t kMaxKeyWidth = 48;
constexpr std::size_t kMaxTitleWidth = 40;
constexpr std::size_t kMaxDataWidth = 24;

std::string Join(const std::string& path, const std::string& name) {
  return path.empty() ? name : path + "." + name;
}

bool IsItem(const Value& v) { return v.IsObject() && v.HasMember("Title"); }

void Walk(const Value& v, const std::string& path, std::vector<ItemRow>& rows) {
  if (v.IsObject()) {
    if (IsItem(v)) {
      ItemRow row;
      row.key = path;
      row.title = CellText(v["Title"]);
      if (v.HasMember("Data")) row.data = CellText(v["Data"]);
      if (v.HasMember("Desc")) row.desc = CellText(v["Desc"]);
      rows.push_back(row);
    }
    for (auto m = v.MemberBegin(); m != v.MemberEnd(); ++m) {
      const std::string name(m->name.GetString(), m->name.GetStringLength());
      if (IsItem(v) && (name == "Title" || name == "Data" || name == "Desc")) continue;
      if (name == "ExData" && m->value.IsArray() && m->value.Size() == 1) {
        Walk(m->value[0], path, rows);
        continue;
      }
      Walk(m->value, Join(path, name), rows);
    }
    return;
  }
  if (v.IsArray()) {
    if (v.Empty()) {
      rows.push_back({path, "", "[]", ""});
      return;
    }
    for (rapidjson::SizeType i = 0; i < v.Size(); ++i)
      Walk(v[i], path + "[" + std::to_string(i) + "]", rows);
    return;
  }
  rows.push_back({path, "", CellText(v), ""});
}

std::string Pad(const std::string& s, std::size_t width) {
  return s.size() >= width ? s : s + std::string(width - s.size(), ' ');
}

}  // namespace

std::string CellText(const Value& value) {
  if (value.IsString()) return std::string(value.GetString(), value.GetStringLength());
  return tools::CompactJson(value);
}

std::vector<ItemRow> TableRows(const Value& doc) {
  std::vector<ItemRow> rows;
  Walk(doc, "", rows);
  return rows;
}

std::string FormatTable(const std::vector<ItemRow>& rows) {
  std::size_t keyWidth = 3, titleWidth = 5, dataWidth = 4;
  for (const auto& r : rows) {
    keyWidth = std::max(keyWidth, std::min(r.key.size(), kMaxKeyWidth));
    titleWidth = std::max(titleWidth, std::min(r.title.size(), kMaxTitleWidth));
    dataWidth = std::max(dataWidth, std::min(r.data.size(), kMaxDataWidth));
  }
  auto line = [&](const std::string& k, const std::string& t, const std::string& d, const std::string& s) {
    std::string out = Pad(k, keyWidth) + "  " + Pad(t, titleWidth) + "  " + Pad(d, dataWidth) + "  " + s;
    out.erase(out.find_last_not_of(' ') + 1);
    return out + "\n";
  };
  std::string text = line("KEY", "TITLE", "DATA", "DESCRIPTION");
  for (const auto& r : rows) text += line(r.key, r.title, r.data, r.desc);
  return text;
}

}  // namespace tap
