// SPDX-License-Identifier: MIT
// Copying a table into a directory of xBase tables.
#ifndef LOOM_XBASE_COPY_H
#define LOOM_XBASE_COPY_H

#include "table_copy.h"

namespace loom {

/// copyTable() into an xbase: database. The values are read twice, since each field is
/// made as wide as its widest value. The engine inserts only into a table that has an
/// index, so one over the first fit column is made where the source has none. A table
/// that could not be filled is deleted.
unsigned long copyToXBase(const CopyJob& job);

}  // namespace loom

#endif  // LOOM_XBASE_COPY_H
