// SPDX-License-Identifier: MIT
// Whether the keys of an index differ.
#ifndef TESSEL_STORE_UNIQUE_CHECK_H
#define TESSEL_STORE_UNIQUE_CHECK_H

#include <cstddef>
#include <string>

#include "tessel/store/store.h"

namespace tessel {

/// An index by the numbers of its table and of itself.
struct UniqueSuspect {
  std::size_t table;
  std::size_t index;
};

/// Compares the keys of all rows of an index whose hashes are the same.
Error checkUnique(Store* store, UniqueSuspect suspect, bool* unique);
/// The same in a file that is not open.
Error checkUnique(const std::string& path, UniqueSuspect suspect, bool* unique);

}  // namespace tessel

#endif  // TESSEL_STORE_UNIQUE_CHECK_H
