// SPDX-License-Identifier: MIT
// Extension: GDbTypedRow reads a record with every access checked, by number or
// by name, with NULL visible. The record's own getters check nothing.
//
//   GDbTypedRow row(*result.getRecord(0), *structure);
//   if (std::optional<int> id = row.getInt("id")) use(*id);
#ifndef LOOMKIT_DB_TYPED_ROW_H
#define LOOMKIT_DB_TYPED_ROW_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "loomkit/db/record.h"
#include "loomkit/db/structure.h"
#include "loomkit/platform/export.h"

/// A view of one record with the column names of its table. It owns neither:
/// both must outlive it. A getter gives nothing for a field that does not exist,
/// that is NULL, or that is of another type; a caller that must tell these apart
/// asks getFieldType() and isNull(). Nothing else fails. Copies are views of the
/// same record. For one thread at a time.
class LOOMKIT_API GDbTypedRow {
 public:
  /// A view of `record`, whose fields have the names of the columns of `structure`
  /// with the same numbers. Requires: both outlive the view.
  GDbTypedRow(const GDbRecord& record, const GDbStructure& structure);

  /// How many fields the record has.
  [[nodiscard]] int getNumFields() const;
  /// The number of the field of that name, or -1. The structure decides whether the
  /// case of letters counts. A loop over many rows asks once and then reads by
  /// number, since each reading by name searches the columns.
  [[nodiscard]] int getFieldId(const std::string& name) const;
  /// The type of a field, also when it is NULL; GDbFieldNone when there is no such
  /// field.
  [[nodiscard]] GDbFieldType getFieldType(int field) const;
  /// The column's name; empty when there is no such field.
  [[nodiscard]] std::string getFieldName(int field) const;
  /// True for NULL, for a field that does not exist, and for one whose value found no
  /// memory.
  [[nodiscard]] bool isNull(int field) const;
  [[nodiscard]] bool isNull(const std::string& name) const { return isNull(getFieldId(name)); }

  /// The value of a field of exactly that type: getInt() gives nothing for an
  /// unsigned field, and nothing for an integer of more than 32 bits.
  [[nodiscard]] std::optional<int> getInt(int field) const;
  [[nodiscard]] std::optional<unsigned> getUInt(int field) const;
  [[nodiscard]] std::optional<double> getFloat(int field) const;
  /// A text, up to its first NUL byte, or the bytes of a blob. They stay the record's,
  /// and are valid until it is released.
  [[nodiscard]] std::optional<std::string_view> getString(int field) const;
  [[nodiscard]] std::optional<std::string_view> getBlob(int field) const;
  /// The value of a signed or unsigned field, whole: of an SQL database, an integer may
  /// need 64 bits.
  [[nodiscard]] std::optional<std::int64_t> getInt64(int field) const;
  /// The value of a signed, unsigned or floating field. Integers beyond 2 to the power
  /// of 53 are rounded to the nearest double.
  [[nodiscard]] std::optional<double> getNumber(int field) const;

  /// The same for the field of a name; nothing when there is none of that name.
  [[nodiscard]] std::optional<int> getInt(const std::string& name) const {
    return getInt(getFieldId(name));
  }
  [[nodiscard]] std::optional<unsigned> getUInt(const std::string& name) const {
    return getUInt(getFieldId(name));
  }
  [[nodiscard]] std::optional<std::int64_t> getInt64(const std::string& name) const {
    return getInt64(getFieldId(name));
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
