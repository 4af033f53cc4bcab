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

/// One pass over a table, with one record in memory, however long the table is. The
/// range ends at the end of the table or at the first failure, so that the caller
/// asks getStatus() after the loop. The table must outlive the scan.
///
/// The scan uses the table's own scan position. So a table has one scan at a time;
/// getFirstRecord() and getNextRecord() are not called meanwhile, and a CSV table
/// is not looked up either, because a lookup moves the position too.
///
/// For one thread at a time. The iterators point to the scan, which therefore
/// can be neither copied nor moved.
class LOOMKIT_API GDbTableScan {
 public:
  /// A scan of `table`, which stays the caller's. No record is read before begin();
  /// the structure of the table is, and when that fails the range is empty and
  /// getStatus() tells why. Requires: `table` is not null.
  explicit GDbTableScan(GDbTable* table);
  ~GDbTableScan();

  /// A single-pass iterator. The row that it points to is the scan's, and is valid
  /// until the next increment of any iterator of that scan, or the next begin(); the
  /// texts and blobs of the row are valid as long. What is to be kept is copied.
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = GDbTypedRow;
    using difference_type = std::ptrdiff_t;
    using pointer = const GDbTypedRow*;
    using reference = const GDbTypedRow&;

    /// The end of every range.
    Iterator() = default;
    /// Points to the record that `owner` is at. begin() makes these.
    explicit Iterator(GDbTableScan* owner) : scan(owner) {}
    /// The row. Requires: the iterator is not at the end.
    reference operator*() const { return *scan->row; }
    pointer operator->() const { return &*scan->row; }
    /// Reads the next record. At the end of the table, and after a failure, the
    /// iterator equals end(). Requires: it is not at the end already.
    Iterator& operator++() {
      if (!scan->advance(false)) scan = nullptr;
      return *this;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) { return a.scan == b.scan; }
    friend bool operator!=(const Iterator& a, const Iterator& b) { return a.scan != b.scan; }

   private:
    GDbTableScan* scan = nullptr;
  };

  /// Starts the scan anew, and moves onto the first record. Equals end() when the
  /// table is empty, and when it cannot be read.
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
