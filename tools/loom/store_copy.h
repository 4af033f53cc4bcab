// SPDX-License-Identifier: MIT
// Copying a table into a file of the table store.
#ifndef LOOM_STORE_COPY_H
#define LOOM_STORE_COPY_H

#include <cstdint>
#include <string>
#include <vector>

#include "loomkit/db/table.h"

namespace loom {

/// How many records there are to copy, for the progress bar; 0 where nobody is
/// watching it, since counting reads the whole table.
std::uint64_t countForBar(GDbTable* table);

/// True for a locator of the type "tessel".
bool isStoreLocator(const std::string& locator);

/// Writes the store of `locator` anew, with the tables that it has and with the
/// table `name`, a copy of `source`. Each of `indexes` is "COLUMN,..." or
/// "COLUMN,...:unique", beside the indexes that the source tells of. Returns the
/// number of records. Throws a Failure; then the store is as it was.
unsigned long copyToStore(GDbTable* source, const std::string& locator, const std::string& name,
                          const std::vector<std::string>& indexes);

}  // namespace loom

#endif  // LOOM_STORE_COPY_H
