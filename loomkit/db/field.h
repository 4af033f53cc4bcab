// SPDX-License-Identifier: MIT
// What a table is made of: the type tags of values, and the descriptions of a
// column (GDbField) and of an index (GDbIndex).
//
//   GDbStructure structure;   // structure.h
//   structure.appendField(GDbField("id", GDbFieldInt, 0, 0, true, false));
//   structure.addIndex(GDbIndex("by_id", "id", true, false));
#ifndef LOOMKIT_DB_FIELD_H
#define LOOMKIT_DB_FIELD_H

#include <cstdint>
#include <string>

#include "loomkit/platform/export.h"

/// The tag of a value in GDbField, GDbKey and GDbRecord alike.
enum GDbFieldType : int {
  GDbFieldNone = 0,    ///< no value may be stored under it
  GDbFieldInt = 1,     ///< 32-bit signed
  GDbFieldUInt = 2,    ///< 32-bit unsigned
  GDbFieldFloat = 3,   ///< 64-bit IEEE double
  GDbFieldString = 4,  ///< NUL-terminated bytes in the database's text encoding
  GDbFieldBlob = 5     ///< length and bytes
};

/// A further bit of an entry in a record's type array: the column is SQL NULL.
/// The tag below it still says how the stored placeholder is read.
/// GDbRecord::getFieldType() masks the bit out; GDbTypedRow::isNull() tests it.
inline constexpr int GDbFieldNullFlag = 0x10000;

/// Extension: a further bit of such an entry, on GDbFieldInt only. The integer of the
/// database needs more than 32 bits: the field has the lower 32 of them, and
/// GDbTypedRow::getInt64() gives all. GDbRecord::getFieldType() masks the bit out.
inline constexpr int GDbFieldWideFlag = 0x20000;

/// The description of one column: a value class, changed by assignment only. Each
/// object holds its own name; copies share nothing. Nothing fails: no argument is
/// checked before a database creates a table from the description. Several threads
/// may read one object while none assigns to it.
///
///   GDbField field("price", GDbFieldFloat, 12, 2, false, true);
class LOOMKIT_API GDbField {
 public:
  /// No name, GDbFieldNone, and everything else 0 or false.
  GDbField();
  GDbField(const GDbField&);
  /// `width` in characters: -1 for text without a bound, 0 where unknown.
  /// `decDigits` are the digits behind the decimal point: -1 where a floating
  /// column has no fixed number. The lower 16 bits of it are kept. `isPrimKey`:
  /// the column belongs to the primary key, which may have several columns.
  /// `isKey`: the column is to have an index of its own.
  GDbField(const std::string& name, GDbFieldType type, int width, int decDigits, bool isPrimKey,
           bool isKey);
  GDbField& operator=(const GDbField&);
  ~GDbField();

  /// The column's name. The text stays the field's, and is valid until the field
  /// is assigned to or ends.
  [[nodiscard]] const std::string& getName() const { return name; }
  /// The type of the column's values.
  [[nodiscard]] GDbFieldType getType() const { return type; }
  /// The width in characters: -1 for text without a bound, 0 where unknown.
  [[nodiscard]] int getWidth() const { return width; }
  /// The digits behind the decimal point: -1 where there is no fixed number.
  [[nodiscard]] int getDecDigits() const { return decDigits; }
  /// Whether the column belongs to the primary key.
  [[nodiscard]] bool isPrimKey() const { return primKey; }
  /// Whether the column is to have an index of its own.
  [[nodiscard]] bool isKey() const { return key; }

 private:
  std::string name;
  GDbFieldType type = GDbFieldNone;
  std::int32_t width = 0;
  std::int16_t decDigits = 0;
  bool primKey = false;
  bool key = false;
};

/// The description of one index: a value class, changed by assignment only.
/// Nothing fails: whether the columns exist is for the database to say that creates
/// the index. Several threads may read one object while none assigns to it.
///
///   GDbIndex index("by_place", "street,number", false, false);
class LOOMKIT_API GDbIndex {
 public:
  /// No name, no columns, neither unique nor descending.
  GDbIndex();
  GDbIndex(const GDbIndex&);
  /// `columns` are the names of the columns joined by commas, without quotes,
  /// in the order in which they count. `unique`: no two rows may have the
  /// same values in them. `descending`: the largest value comes first.
  GDbIndex(const std::string& name, const std::string& columns, bool unique, bool descending);
  GDbIndex& operator=(const GDbIndex&);
  ~GDbIndex();

  /// The index's name. This text and the next stay the index's, and are valid until
  /// it is assigned to or ends.
  [[nodiscard]] const std::string& getName() const { return name; }
  /// The names of the columns, joined by commas.
  [[nodiscard]] const std::string& getColumns() const { return columns; }
  /// Whether no two rows may have the same values in the columns.
  [[nodiscard]] bool isUnique() const { return unique; }
  /// Whether the largest value comes first.
  [[nodiscard]] bool isDescending() const { return descending; }

 private:
  std::string name;
  std::string columns;
  bool unique = false;
  bool descending = false;
};

#endif  // LOOMKIT_DB_FIELD_H
