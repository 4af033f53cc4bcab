// SPDX-License-Identifier: MIT
// Checking all of a store, beyond what is checked when it is read.
#ifndef TESSEL_STORE_CHECK_H
#define TESSEL_STORE_CHECK_H

#include <cstdint>
#include <functional>
#include <string>

#include "tessel/store/store.h"

namespace tessel {

/// Reads every block and compares its checksum; reads every text; compares every
/// index with the rows: their hashes, their order, that each row is there once,
/// and, where the index is unique, that the keys differ. Stores the first problem
/// in words in `*problem`. `progress` is told how many of how many steps are done.
Error checkStore(Store* store, const std::function<void(std::uint64_t, std::uint64_t)>& progress,
                 std::string* problem);

}  // namespace tessel

#endif  // TESSEL_STORE_CHECK_H
