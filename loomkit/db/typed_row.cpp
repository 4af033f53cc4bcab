// SPDX-License-Identifier: MIT
#include "loomkit/db/typed_row.h"

#include <charconv>

#include "loomkit/db/record_access.h"

using loomkit::RecordAccess;

namespace {

template <typename Number>
std::string numberText(Number value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value).ptr;
  return {text, end};
}

std::string hexText(std::string_view bytes) {
  constexpr char digits[] = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

}  // namespace

GDbTypedRow::GDbTypedRow(const GDbRecord& row, const GDbStructure& table)
    : record(&row), structure(&table) {}

int GDbTypedRow::getNumFields() const { return record->getNumFields(); }

int GDbTypedRow::getFieldId(const std::string& name) const { return structure->getFieldId(name); }

GDbFieldType GDbTypedRow::getFieldType(int field) const {
  return field >= 0 && field < getNumFields() ? record->getFieldType(field) : GDbFieldNone;
}

std::string GDbTypedRow::getFieldName(int field) const {
  return field >= 0 && field < structure->getNumFields() ? structure->getField(field).getName()
                                                         : std::string();
}

bool GDbTypedRow::isNull(int field) const {
  if (getFieldType(field) == GDbFieldNone) return true;
  return RecordAccess::isNull(*record, field) || RecordAccess::value(*record, field) == nullptr;
}

bool GDbTypedRow::holds(int field, GDbFieldType type) const {
  return getFieldType(field) == type && !isNull(field);
}

std::optional<int> GDbTypedRow::getInt(int field) const {
  if (!holds(field, GDbFieldInt) || RecordAccess::isWide(*record, field)) return std::nullopt;
  return record->getIntField(field);
}

std::optional<unsigned> GDbTypedRow::getUInt(int field) const {
  if (!holds(field, GDbFieldUInt)) return std::nullopt;
  return record->getUIntField(field);
}

std::optional<std::int64_t> GDbTypedRow::getInt64(int field) const {
  if (const auto value = getUInt(field)) return *value;
  if (!holds(field, GDbFieldInt)) return std::nullopt;
  return RecordAccess::getInt64(*record, field);
}

std::optional<double> GDbTypedRow::getFloat(int field) const {
  if (!holds(field, GDbFieldFloat)) return std::nullopt;
  return record->getFloatField(field);
}

std::optional<std::string_view> GDbTypedRow::getString(int field) const {
  if (!holds(field, GDbFieldString)) return std::nullopt;
  return record->getStringField(field);
}

std::optional<std::string_view> GDbTypedRow::getBlob(int field) const {
  if (!holds(field, GDbFieldBlob)) return std::nullopt;
  const void* data = nullptr;
  unsigned size = 0;
  record->getBlobField(field, &data, &size);
  return std::string_view(static_cast<const char*>(data), size);
}

std::optional<double> GDbTypedRow::getNumber(int field) const {
  if (const auto value = getInt64(field)) return static_cast<double>(*value);
  return getFloat(field);
}

std::string GDbTypedRow::getText(int field) const {
  if (const auto value = getInt64(field)) return numberText(*value);
  if (const auto value = getFloat(field)) return numberText(*value);
  if (const auto value = getString(field)) return std::string(*value);
  if (const auto value = getBlob(field)) return hexText(*value);
  return {};
}
