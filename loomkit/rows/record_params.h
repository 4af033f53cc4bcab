// SPDX-License-Identifier: MIT
// Extension: GRpnRecordParams, the columns of a record as the parameters of an
// expression.
//
//   auto columns = loomkit::make<GRpnRecordParams>();
//   eval.setParamSet(columns);
//   for (const GDbTypedRow& row : scan) {
//     columns->setRow(row);
//     double total = 0;
//     if (eval.evalFloat("$price $count *", &total)) use(total);
//   }
#ifndef LOOMKIT_ROWS_RECORD_PARAMS_H
#define LOOMKIT_ROWS_RECORD_PARAMS_H

#include <optional>

#include "loomkit/db/typed_row.h"
#include "loomkit/platform/export.h"
#include "loomkit/rpn/param_set.h"
#include "loomkit/rpn/ref.h"

/// A parameter set over one record at a time: `$name` is the column of that name,
/// by the rules of the record's structure for letter case. An integer or floating
/// value is a number, a NULL is a void value, a text is a string, and a blob is a
/// string of its bytes in hexadecimal. A value is read only when an expression asks
/// for it.
///
/// A name that is no column is looked up in the set that the constructor was
/// given. Without one, and before the first record, it is an "unknown parameter".
///
/// The set is counted like its base class and is used from the thread that runs
/// expressions.
class LOOMKIT_API GRpnRecordParams : public GRpnParamSet {
 public:
  /// A set without a record, with one reference, which belongs to the creator.
  /// `others` has the parameters that are no columns; the set keeps a reference of
  /// its own to it. Null: there are none.
  explicit GRpnRecordParams(GRpnParamSet* others = nullptr);

  /// Makes the columns of `row` the parameters. The record and its structure stay
  /// the caller's and must be there as long as expressions run on them.
  void setRow(const GDbTypedRow& row);
  /// The same for a record and the structure of its table.
  void setRecord(const GDbRecord& record, const GDbStructure& structure);
  /// Forgets the record: no column is known any more.
  void clear();

  /// Gives the value of a column; see GRpnParamSet::lookup().
  bool lookup(const char* name, unsigned length, GRpnValue* value, GRpnErrMsg* err) override;

 protected:
  ~GRpnRecordParams() override;

 private:
  std::optional<GDbTypedRow> row;
  loomkit::Ref<GRpnParamSet> others;
};

#endif  // LOOMKIT_ROWS_RECORD_PARAMS_H
