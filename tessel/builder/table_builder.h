// SPDX-License-Identifier: MIT
// TableBuilder: gathers the rows of a table, then writes them and the indexes.
#ifndef TESSEL_BUILDER_TABLE_BUILDER_H
#define TESSEL_BUILDER_TABLE_BUILDER_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "tessel/builder/column_builder.h"
#include "tessel/builder/entry_sorter.h"
#include "tessel/builder/range_collector.h"
#include "tessel/store/directory.h"
#include "tessel/store/key_hash.h"

namespace tessel {

/// One value of a row: the member of its column's type counts.
struct RowValue {
  std::uint32_t integer = 0;  ///< the bits of an integer
  double floating = 0;
  std::string_view text;
};

/// A table that grows row by row. Failures are the workspace's and the file's.
class TableBuilder {
 public:
  TableBuilder(Workspace* ownedElsewhere, const std::vector<TslType>& types);

  /// Requires: no row has been added; the numbers are those of fields, none of
  /// them twice.
  void addIndex(const char* name, bool unique, const std::vector<std::int32_t>& columns);
  /// Shares the memory among the indexes. Requires: every index has been added.
  void start();

  [[nodiscard]] std::uint32_t rowCount() const { return rows; }
  /// Requires: a value for each column; fewer rows than layout::maxRows.
  void addRow(const std::vector<RowValue>& values);

  /// Writes all sections and fills in all of the table but its names. An index
  /// of `suspects` is unique and has neighbours of the same hash: whether their
  /// keys are the same, the file must tell. False when a row is wider than the
  /// format can tell; nothing more can then be done with the file.
  bool write(OutputFile* out, TableInfo* table, std::vector<std::size_t>* suspects);

 private:
  // While there are ranges, the entries are empty.
  struct IndexBuilder {
    Index index;
    EntrySorter entries;
    std::optional<RangeCollector> ranges;
  };

  [[nodiscard]] KeyHash hashOf(const Index& index, const std::vector<RowValue>& values) const;
  [[nodiscard]] std::int64_t integerOf(const Index& index,
                                       const std::vector<RowValue>& values) const;
  void writeRows(OutputFile* out, const TableInfo& table);
  static void giveUpRanges(IndexBuilder* builder);
  static void writeRanges(OutputFile* out, IndexBuilder* builder);
  void writeEntries(OutputFile* out, IndexBuilder* builder, bool* hashesMeet);

  Workspace* workspace;
  std::vector<TslType> columnTypes;
  std::vector<ColumnBuilder> columns;
  std::vector<IndexBuilder> indexes;
  std::uint32_t rows = 0;
};

}  // namespace tessel

#endif  // TESSEL_BUILDER_TABLE_BUILDER_H
