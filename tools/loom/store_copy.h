// SPDX-License-Identifier: MIT
// Copying a table into a file of the table store.
#ifndef LOOM_STORE_COPY_H
#define LOOM_STORE_COPY_H

#include <cstdint>
#include <string>
#include <vector>

#include "loomkit/db/structure.h"
#include "row_source.h"

namespace loom {

/// True for a locator of the type "tessel".
bool isStoreLocator(const std::string& locator);

/// Writes the store of `locator` anew, with the tables that it has and with the
/// table `name`, a copy of `source` with the columns and indexes of `structure`. Each
/// of `indexes` is "COLUMN,..." or "COLUMN,...:unique", beside those. `total` is the
/// number of rows for the progress bar, 0 where it is not known. Returns the number of
/// records. Throws a Failure, which names row and column where the store cannot hold a
/// value; then the store is as it was.
unsigned long copyToStore(RowSource& source, GDbStructure structure, const std::string& locator,
                          const std::string& name, const std::vector<std::string>& indexes,
                          std::uint64_t total);

}  // namespace loom

#endif  // LOOM_STORE_COPY_H
