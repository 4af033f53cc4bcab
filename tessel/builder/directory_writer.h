// SPDX-License-Identifier: MIT
// Writing the directory of a store.
#ifndef TESSEL_BUILDER_DIRECTORY_WRITER_H
#define TESSEL_BUILDER_DIRECTORY_WRITER_H

#include <cstdint>
#include <vector>

#include "tessel/store/directory.h"

namespace tessel {

/// The bytes that readDirectory() reads as these tables and checksums. Empty
/// when a count or the names are too large for the format.
std::vector<unsigned char> writeDirectory(const std::vector<TableInfo>& tables,
                                          const std::vector<std::uint32_t>& groupSums);

}  // namespace tessel

#endif  // TESSEL_BUILDER_DIRECTORY_WRITER_H
