// SPDX-License-Identifier: MIT
// Memory that the processor finds with fewer looks into its page tables.
#ifndef LOOMKIT_PLATFORM_LARGE_PAGES_H
#define LOOMKIT_PLATFORM_LARGE_PAGES_H

#include <cstddef>

namespace loomkit::platform {

/// The size of a large page, and the alignment that memory for one needs.
inline constexpr std::size_t largePageSize = std::size_t{2} << 20;

/// Asks the system to back this memory with large pages. Random reads of many
/// megabytes are then up to a third faster, and the first touch costs more: the
/// system clears a whole large page at once. It is a wish: a system that has no
/// such pages does nothing, and nobody is told.
/// Requires: both are multiples of largePageSize, and nothing is in the memory yet.
void preferLargePages(void* memory, std::size_t size);

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_LARGE_PAGES_H
