// SPDX-License-Identifier: MIT
// From a store's result set to records. Private to the backend.
#ifndef LOOMKIT_DB_TESSEL_TESSEL_RECORD_H
#define LOOMKIT_DB_TESSEL_TESSEL_RECORD_H

#include "loomkit/db/record.h"
#include "loomkit/db/tessel/tessel.h"

namespace loomkit {

/// A result set that goes back to the store on every way out.
class TesselResult {
 public:
  TesselResult() = default;
  TesselResult(const TesselResult&) = delete;
  TesselResult& operator=(const TesselResult&) = delete;
  ~TesselResult() {
    if (filled) tsl_free_result_set(&set);
  }

  /// For a lookup to fill in; what it has filled in is released from then on.
  TslResultSet* forCall() { return &set; }
  void setFilled() { filled = true; }

  [[nodiscard]] int size() const { return set.rowCount; }
  [[nodiscard]] const TslRow& row(int i) const { return set.rows[i]; }

 private:
  TslResultSet set = {0, 0, nullptr};
  bool filled = false;
};

/// Copies a row into a record of a single block, for deleteRecord(): nothing of
/// it refers to the store's memory.
GDbRecord* makeTesselRecord(const TslRow& row);

}  // namespace loomkit

#endif  // LOOMKIT_DB_TESSEL_TESSEL_RECORD_H
