// SPDX-License-Identifier: MIT
// CRC-32 by the processor's carry-less multiplication, where it has one.
#ifndef LOOMKIT_PLATFORM_CRC_FOLD_H
#define LOOMKIT_PLATFORM_CRC_FOLD_H

#include <cstddef>
#include <cstdint>

namespace loomkit::platform {

/// The fewest bytes that foldCrc32() takes.
inline constexpr std::size_t minCrcFold = 64;

/// True if this machine has what foldCrc32() needs.
bool canFoldCrc32() noexcept;

/// The CRC state (not complemented) after `size` bytes from `data`, starting
/// from `state`, for the reflected polynomial 0xEDB88320. Requires:
/// canFoldCrc32(); `size` is a multiple of 16 and at least minCrcFold.
std::uint32_t foldCrc32(std::uint32_t state, const unsigned char* data, std::size_t size) noexcept;

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_CRC_FOLD_H
