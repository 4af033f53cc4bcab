// SPDX-License-Identifier: MIT
// Extension: GDbTableScan, a table's records as a range.
//
//   GDbTableScan scan(table);
//   for (const GDbTypedRow& row : scan) std::puts(row.getText(0).c_str());
//   if (scan.getStatus() != GDbNoError) std::puts(gDbStrError(scan.getStatus()));
#ifndef LOOMKIT_DB_TABLE_SCAN_H
#define LOOMKIT_DB_TABLE_SCAN_H

#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>

#include "loomkit/db/record_set.h"
#include "loomkit/db/table.h"
#include "loomkit/db/typed_row.h"
#include "loomkit/platform/export.h"

/// One pass over a table, one record in memory. It uses the table's own scan
/// position: one scan of a table at a time, and no CSV lookup meanwhile. The
/// range ends at the end of the table or at the first failure, which
/// getStatus() then tells. The table must outlive the scan.
class LOOMKIT_API GDbTableScan {
 public:
  /// A scan of `table`, which stays the caller's. Nothing is read before begin().
  explicit GDbTableScan(GDbTable* table);
  ~GDbTableScan();

  /// A single-pass iterator; a row is valid until the next increment.
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = GDbTypedRow;
    using difference_type = std::ptrdiff_t;
    using pointer = const GDbTypedRow*;
    using reference = const GDbTypedRow&;

    Iterator() = default;
    explicit Iterator(GDbTableScan* owner) : scan(owner) {}
    reference operator*() const { return *scan->row; }
    pointer operator->() const { return &*scan->row; }
    Iterator& operator++() {
      if (!scan->advance(false)) scan = nullptr;
      return *this;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) { return a.scan == b.scan; }
    friend bool operator!=(const Iterator& a, const Iterator& b) { return a.scan != b.scan; }

   private:
    GDbTableScan* scan = nullptr;
  };

  /// Starts the scan anew, and moves onto the first record.
  Iterator begin() { return advance(true) ? Iterator(this) : Iterator(); }
  Iterator end() { return {}; }

  /// 0 while the scan goes on and at the end of the table; otherwise the failure
  /// that has ended it.
  [[nodiscard]] GDbStatus getStatus() const { return status; }

 private:
  bool advance(bool restart);

  GDbTable* table;
  GDbStatus status;
  std::unique_ptr<GDbStructure> structure;
  GDbRecordSet current;
  std::optional<GDbTypedRow> row;
};

#endif  // LOOMKIT_DB_TABLE_SCAN_H
