// SPDX-License-Identifier: MIT
// GDbStructure: the description of a table, its columns and its indexes.
//
//   GDbStructure structure;
//   structure.appendField(GDbField("id", GDbFieldInt, 0, 0, true, false));
//   structure.appendField(GDbField("name", GDbFieldString, -1, 0, false, true));
#ifndef LOOMKIT_DB_STRUCTURE_H
#define LOOMKIT_DB_STRUCTURE_H

#include <cstdint>
#include <string>
#include <vector>

#include "loomkit/db/field.h"
#include "loomkit/platform/export.h"

/// A table's columns in order, so that field numbers are indices into them, and
/// its indexes. A value class with deep copies: whoever makes one owns it, and one
/// that GDbTable::getStructure() stores belongs to its caller. Nothing fails but
/// getFieldId(). For one thread at a time.
class LOOMKIT_API GDbStructure {
 public:
  /// No columns and no indexes. `ignoreCase` and `maxNameLen` rule getFieldId():
  /// with `ignoreCase`, upper and lower case letters are the same; `maxNameLen` is
  /// how many bytes of a searched name count. A database whose names are
  /// cut off gives the length of its names.
  GDbStructure(bool ignoreCase = false, unsigned maxNameLen = 0xFFFFFFFF);
  GDbStructure(const GDbStructure&);
  GDbStructure& operator=(const GDbStructure&);
  ~GDbStructure();

  /// Appends a copy of the column, whose number is the count before the call. A
  /// second column of the same name is appended as well; getFieldId() finds the
  /// first. References from getField() end with the call.
  void appendField(const GDbField& field);
  /// Appends a copy of the index. Its columns need not be there yet.
  void addIndex(const GDbIndex& index);

  /// How many columns there are.
  [[nodiscard]] int getNumFields() const { return static_cast<int>(fields.size()); }
  /// One column. It stays the structure's, and is valid until a column is appended
  /// or the structure is assigned to or ends. Requires: `field` is at least 0 and
  /// below getNumFields().
  [[nodiscard]] const GDbField& getField(int field) const {
    return fields[static_cast<std::size_t>(field)];
  }
  /// The number of the first field of that name, -1 when there is none. Only
  /// the searched name is cut to the significant length: a longer stored name
  /// is never found.
  [[nodiscard]] int getFieldId(const std::string& name) const;
  /// All columns by their numbers, and all indexes in the order of adding. They stay
  /// the structure's, and are valid as long as it is.
  [[nodiscard]] const std::vector<GDbField>& getFields() const { return fields; }
  [[nodiscard]] const std::vector<GDbIndex>& getIndices() const { return indices; }

 private:
  bool ignoreCase;
  std::uint32_t maxNameLen;
  std::vector<GDbField> fields;
  std::vector<GDbIndex> indices;
};

#endif  // LOOMKIT_DB_STRUCTURE_H
