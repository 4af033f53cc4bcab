// SPDX-License-Identifier: MIT
// Whether the keys of an index differ.
#ifndef TESSEL_STORE_UNIQUE_CHECK_H
#define TESSEL_STORE_UNIQUE_CHECK_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tessel/store/store.h"

namespace tessel {

/// An index by the numbers of its table and of itself.
struct UniqueSuspect {
  std::size_t table;
  std::size_t index;
};

/// Two rows of the same key, the first one in front of the other.
struct Twins {
  std::uint32_t first;
  std::uint32_t second;
};

/// Compares the keys of all rows of an index whose hashes are the same. Two rows of
/// the same key go to `*twins`, which else is empty.
Error checkUnique(Store* store, UniqueSuspect suspect, std::optional<Twins>* twins);
/// The same in a file that is not open.
Error checkUnique(const std::string& path, UniqueSuspect suspect, std::optional<Twins>* twins);

}  // namespace tessel

#endif  // TESSEL_STORE_UNIQUE_CHECK_H
