// SPDX-License-Identifier: MIT
// What a table has beside its rows, for copies of it.
#ifndef LOOM_TABLE_SHAPE_H
#define LOOM_TABLE_SHAPE_H

#include <string>
#include <vector>

#include "db_host.h"
#include "loomkit/db/field.h"
#include "row_source.h"

namespace loom {

/// Keys and indexes, as far as their columns are copied.
struct TableShape {
  std::vector<std::string> primaryKey = {};  ///< its columns; none: there is no key
  std::vector<std::string> notNull = {};     ///< columns that hold no NULL, of an SQL table
  std::vector<GDbIndex> indexes = {};
  /// What is known to be there and is not among these, such as "trigger t_log".
  std::vector<std::string> rest = {};
};

/// The shape of a copy of `source`, which has rows of a table of `host`.
[[nodiscard]] TableShape shapeOf(const DbHost& host, const RowSource& source);

/// The columns of an index.
[[nodiscard]] std::vector<std::string> columnsOf(const GDbIndex& index);

/// Tells on standard error what a copy of the table does not have; nothing for nothing.
void reportLeftOut(const std::string& table, const std::vector<std::string>& what);

}  // namespace loom

#endif  // LOOM_TABLE_SHAPE_H
