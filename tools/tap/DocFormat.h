#pragma once
// Readable forms of the daemon's JSON documents.
//
// The table view lists every item object of a document, that is every object
// with a "Title" member ({"Title", "Data", "Desc"}), as one row: its key path,
// title, data and description. Plain members (numbers, strings, booleans)
// become rows without a title. Paths use "." and "[i]"; the one-element
// "ExData" arrays that hold a section's items are left out of the path, so
// "StatusInfo.ExData[0].Type" reads "StatusInfo.Type".

#include <string>
#include <vector>

#include <rapidjson/document.h>

namespace tap {

struct ItemRow {
  std::string key;
  std::string title;
  std::string data;
  std::string desc;
};

std::vector<ItemRow> TableRows(const rapidjson::Value& doc);

// Aligned columns KEY, TITLE, DATA, DESCRIPTION (no trailing blanks).
std::string FormatTable(const std::vector<ItemRow>& rows);

// A scalar as shown in a cell: strings as they are, the rest as JSON text.
std::string CellText(const rapidjson::Value& value);

}  // namespace tap
