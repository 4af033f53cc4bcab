// SPDX-License-Identifier: MIT
// IndexGuard: no index goes on after a change that memory ran out for.
#ifndef LOOMKIT_XBASE_INDEX_GUARD_H
#define LOOMKIT_XBASE_INDEX_GUARD_H

#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/index_file.h"

namespace loomkit::xbase {

/// Gives up all index files of a table when it ends without done(). An exception that
/// passes by would otherwise leave keys of a record that was never written, and a flush
/// would call them right. A file that is given up stays marked as being changed, so that
/// the next opening builds it anew.
class IndexGuard {
 public:
  explicit IndexGuard(DataFile& table) noexcept : data(table) {}
  IndexGuard(const IndexGuard&) = delete;
  IndexGuard& operator=(const IndexGuard&) = delete;
  ~IndexGuard() {
    if (isDone) return;
    for (const auto& index : data.indexes) index->space.giveUp();
  }

  /// The table and its indexes agree, or a code says that they do not.
  void done() noexcept { isDone = true; }

 private:
  DataFile& data;
  bool isDone = false;
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_INDEX_GUARD_H
