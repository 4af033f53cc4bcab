// SPDX-License-Identifier: MIT
// Names, types and index definitions: what the library's structures say, in the
// terms of a table file.
#include <algorithm>

#include "loomkit/db/xbase/xbase_data.h"
#include "loomkit/text/char_class.h"
#include "loomkit/text/string_util.h"
#include "loomkit/xbase/dbf_layout.h"

namespace {

using loomkit::xbase::Field;

constexpr std::size_t longestName = loomkit::xbase::dbf::longestName;

std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(loomkit::whiteSpaceSet);
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(loomkit::whiteSpaceSet) + 1 - first);
}

// A column as it stands in a tag's expression: numbers as texts of their width,
// so that columns can be joined.
std::string columnExpression(const std::string& name, const Field& field) {
  if (field.type != 'N' && field.type != 'F') return name;
  char text[128];
  gsnprintf(text, sizeof text, "STR(%s,%d,%d)", name.c_str(), static_cast<int>(field.width),
            static_cast<int>(field.decimals));
  return text;
}

// The list ends at the first part of which no name is left.
std::vector<std::string> normalizedColumns(const std::string& columns) {
  std::vector<std::string> parts;
  gSplit(columns, ",", &parts);
  std::vector<std::string> names;
  for (const std::string& part : parts) {
    std::string name = gDbXBaseNormalize(trimmed(part));
    if (name.empty()) break;
    names.push_back(std::move(name));
  }
  return names;
}

}  // namespace

std::string gDbXBaseNormalize(const std::string& name) {
  if (name.empty() || !loomkit::isAsciiAlpha(name.front())) return {};
  const std::string head = name.substr(0, longestName);
  if (!std::all_of(head.begin(), head.end(), loomkit::isAsciiWord)) return {};
  if (std::none_of(head.begin(), head.end(), loomkit::isAsciiLower)) return name;
  std::string upper = head;
  std::transform(upper.begin(), upper.end(), upper.begin(), loomkit::asciiToUpper);
  return upper;
}

bool gDbXBaseTypesFit(GDbFieldType type, const Field& field) {
  const bool isNumber = field.type == 'N' || field.type == 'F';
  switch (type) {
    case GDbFieldInt:
    case GDbFieldUInt:
      return field.type == 'D' || field.type == 'L' || (isNumber && field.decimals == 0);
    case GDbFieldFloat:
      return isNumber;
    case GDbFieldString:
      return field.type == 'C' || field.type == 'M';
    default:
      return false;
  }
}

GDbXBaseIndex::GDbXBaseIndex(const GDbIndex& index, const loomkit::xbase::DataFile& table)
    : GDbIndex(index), columnNames(normalizedColumns(index.getColumns())) {
  for (const std::string& column : columnNames) {
    const int id = loomkit::xbase::fieldNumber(table, column);
    if (id < 0) return;
    const Field& field = table.fields[static_cast<std::size_t>(id)];
    if (field.type == 'M') return;
    fieldIds.push_back(id);
    if (!expression.empty()) expression += '+';
    expression += columnExpression(column, field);
  }
  valid = !fieldIds.empty();
}

bool GDbXBaseIndex::isLike(const GDbXBaseIndex& other) const {
  return columnNames == other.columnNames && isUnique() == other.isUnique() &&
         isDescending() == other.isDescending();
}

bool GDbXBaseIndex::serves(const GDbKey* keys, int count) const {
  if (count < 1 || fieldIds.size() != static_cast<std::size_t>(count)) return false;
  std::vector<int> own = fieldIds;
  std::vector<int> asked;
  asked.reserve(own.size());
  for (int i = 0; i < count; ++i) asked.push_back(keys[i].field);
  std::sort(own.begin(), own.end());
  std::sort(asked.begin(), asked.end());
  return own == asked;
}
