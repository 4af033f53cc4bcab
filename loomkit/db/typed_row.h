// SPDX-License-Identifier: MIT
// Extension: GDbTypedRow reads a record with every access checked, by number or
// by name, with NULL visible. The record's own getters check nothing.
//
//   GDbTypedRow row(*result.getRecord(0), *structure);
//   if (std::optional<int> id = row.getInt("id")) use(*id);
#ifndef LOOMKIT_DB_TYPED_ROW_H
#define LOOMKIT_DB_TYPED_ROW_H

#include <optional>
#include <string>
#include <string_view>

#include "loomkit/db/record.h"
#include "loomkit/db/structure.h"
#include "loomkit/platform/export.h"

/// A view of one record with the column names of its table. Owns neither:
/// both must outlive it. A getter gives nothing for a field that does not exist,
/// that is NULL, or that is of another type. Nothing else fails. For one thread at
/// a time.
class LOOMKIT_API GDbTypedRow {
 public:
  /// Requires: both outlive the view.
  GDbTypedRow(const GDbRecord& record, const GDbStructure& structure);

  /// How many fields the record has.
  [[nodiscard]] int getNumFields() const;
  /// The number of the field of that name by the structure's rules, or -1.
  [[nodiscard]] int getFieldId(const std::string& name) const;
  /// GDbFieldNone when there is no such field.
  [[nodiscard]] GDbFieldType getFieldType(int field) const;
  /// The column's name; empty when there is no such field.
  [[nodiscard]] std::string getFieldName(int field) const;
  /// True for NULL, and for a field that does not exist.
  [[nodiscard]] bool isNull(int field) const;
  [[nodiscard]] bool isNull(const std::string& name) const { return isNull(getFieldId(name)); }

  /// The value of a field of exactly that type.
  [[nodiscard]] std::optional<int> getInt(int field) const;
  [[nodiscard]] std::optional<unsigned> getUInt(int field) const;
  [[nodiscard]] std::optional<double> getFloat(int field) const;
  /// A text or a blob; the bytes stay the record's.
  [[nodiscard]] std::optional<std::string_view> getString(int field) const;
  [[nodiscard]] std::optional<std::string_view> getBlob(int field) const;
  /// Any integer or floating value.
  [[nodiscard]] std::optional<double> getNumber(int field) const;

  /// The same for the field of a name.
  [[nodiscard]] std::optional<int> getInt(const std::string& name) const {
    return getInt(getFieldId(name));
  }
  [[nodiscard]] std::optional<unsigned> getUInt(const std::string& name) const {
    return getUInt(getFieldId(name));
  }
  [[nodiscard]] std::optional<double> getFloat(const std::string& name) const {
    return getFloat(getFieldId(name));
  }
  [[nodiscard]] std::optional<std::string_view> getString(const std::string& name) const {
    return getString(getFieldId(name));
  }
  [[nodiscard]] std::optional<std::string_view> getBlob(const std::string& name) const {
    return getBlob(getFieldId(name));
  }
  [[nodiscard]] std::optional<double> getNumber(const std::string& name) const {
    return getNumber(getFieldId(name));
  }

  /// The value for a reader's eye: a number in the classic locale that reads
  /// back as itself, a text as it is, a blob in hexadecimal, NULL and a missing
  /// field as an empty text.
  [[nodiscard]] std::string getText(int field) const;

 private:
  [[nodiscard]] bool holds(int field, GDbFieldType type) const;

  const GDbRecord* record;
  const GDbStructure* structure;
};

#endif  // LOOMKIT_DB_TYPED_ROW_H
