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
/// its indexes. A value class with deep copies: whoever makes one owns it. Nothing
/// fails but getFieldId(). For one thread at a time.
class LOOMKIT_API GDbStructure {
 public:
  /// `ignoreCase` and `maxNameLen` rule getFieldId(): whether letter case
  /// counts, and how many characters of a searched name do.
  GDbStructure(bool ignoreCase = false, unsigned maxNameLen = 0xFFFFFFFF);
  GDbStructure(const GDbStructure&);
  GDbStructure& operator=(const GDbStructure&);
  ~GDbStructure();

  /// Appends a copy of the column, whose number is the count before the call.
  void appendField(const GDbField& field);
  /// Appends a copy of the index.
  void addIndex(const GDbIndex& index);

  /// How many columns there are.
  [[nodiscard]] int getNumFields() const { return static_cast<int>(fields.size()); }
  /// Requires: `field` is a field number.
  [[nodiscard]] const GDbField& getField(int field) const {
    return fields[static_cast<std::size_t>(field)];
  }
  /// The number of the first field of that name, -1 when there is none. Only
  /// the searched name is cut to the significant length: a longer stored name
  /// is never found.
  [[nodiscard]] int getFieldId(const std::string& name) const;
  /// All columns and all indexes; they stay the structure's.
  [[nodiscard]] const std::vector<GDbField>& getFields() const { return fields; }
  [[nodiscard]] const std::vector<GDbIndex>& getIndices() const { return indices; }

 private:
  bool ignoreCase;
  std::uint32_t maxNameLen;
  std::vector<GDbField> fields;
  std::vector<GDbIndex> indices;
};

#endif  // LOOMKIT_DB_STRUCTURE_H
