// SPDX-License-Identifier: MIT
// Extension: the records of a table for which an expression over their columns is
// true.
//
//   GDbFilteredScan cheap(table, "$price 10 <");
//   for (const GDbTypedRow& row : cheap) std::puts(row.getText(0).c_str());
//   if (cheap.getStatus() != GDbNoError || cheap.hasFailed()) ...
#ifndef LOOMKIT_ROWS_ROW_FILTER_H
#define LOOMKIT_ROWS_ROW_FILTER_H

#include <cstddef>
#include <iterator>
#include <optional>
#include <string>

#include "loomkit/db/table_scan.h"
#include "loomkit/platform/export.h"
#include "loomkit/rows/record_params.h"
#include "loomkit/rpn/eval.h"

/// Evaluates one expression for one record after another; GRpnRecordParams says
/// what the columns are in it. For the thread that runs expressions.
class LOOMKIT_API GDbRowFilter {
 public:
  /// A filter by `expression`; an empty one admits every record. `others` has the
  /// parameters that are no columns, as for GRpnRecordParams.
  explicit GDbRowFilter(const std::string& expression, GRpnParamSet* others = nullptr);
  GDbRowFilter(const GDbRowFilter&) = delete;
  GDbRowFilter& operator=(const GDbRowFilter&) = delete;
  ~GDbRowFilter();

  /// Whether the expression is true for `row`; see GRpnEval::evalBool(). Nothing
  /// when it fails, which the evaluator has then reported.
  [[nodiscard]] std::optional<bool> admits(const GDbTypedRow& row);

  /// The evaluator, to which a host may give functions and an error handler of its
  /// own. Its parameter set is the filter's.
  GRpnEval& getEval() { return eval; }
  /// The expression, as it was given.
  [[nodiscard]] const std::string& getExpression() const { return expression; }

 private:
  std::string expression;
  GRpnEval eval;
  loomkit::Ref<GRpnRecordParams> columns;
};

/// A GDbTableScan with a GDbRowFilter: a range over the records that the filter
/// admits, one in memory. The range ends at the end of the table or at the first
/// failure, of the table or of the expression. The table must outlive the scan; for
/// the rest see both classes.
class LOOMKIT_API GDbFilteredScan {
 public:
  /// A scan of `table`, which stays the caller's, through the filter `expression`.
  GDbFilteredScan(GDbTable* table, const std::string& expression, GRpnParamSet* others = nullptr);
  GDbFilteredScan(const GDbFilteredScan&) = delete;
  GDbFilteredScan& operator=(const GDbFilteredScan&) = delete;
  ~GDbFilteredScan();

  /// A single-pass iterator; a row is valid until the next increment.
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = GDbTypedRow;
    using difference_type = std::ptrdiff_t;
    using pointer = const GDbTypedRow*;
    using reference = const GDbTypedRow&;

    Iterator() = default;
    explicit Iterator(GDbFilteredScan* owner) : scan(owner) {}
    reference operator*() const { return *scan->at; }
    pointer operator->() const { return &*scan->at; }
    Iterator& operator++() {
      ++scan->at;
      if (!scan->findAdmitted()) scan = nullptr;
      return *this;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) { return a.scan == b.scan; }
    friend bool operator!=(const Iterator& a, const Iterator& b) { return a.scan != b.scan; }

   private:
    GDbFilteredScan* scan = nullptr;
  };

  /// Starts the scan anew, and moves onto the first record that is admitted.
  Iterator begin();
  Iterator end() { return {}; }

  /// The filter, whose evaluator a host may furnish before begin().
  GDbRowFilter& getFilter() { return filter; }
  /// The table's failure that has ended the scan, or 0.
  [[nodiscard]] GDbStatus getStatus() const { return scan.getStatus(); }
  /// Whether a failure of the expression has ended the scan.
  [[nodiscard]] bool hasFailed() const { return failed; }

 private:
  bool findAdmitted();

  GDbTableScan scan;
  GDbTableScan::Iterator at;
  GDbRowFilter filter;
  bool failed = false;
};

#endif  // LOOMKIT_ROWS_ROW_FILTER_H
