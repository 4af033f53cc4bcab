// SPDX-License-Identifier: MIT
// CRC-32C by the processor's own instruction, where it has one.
#ifndef LOOMKIT_PLATFORM_CRC32C_H
#define LOOMKIT_PLATFORM_CRC32C_H

#include <cstddef>
#include <cstdint>

namespace loomkit::platform {

/// True if this machine has what stepCrc32c() needs.
bool canStepCrc32c() noexcept;

/// The CRC state (not complemented) after `size` bytes from `data`, starting
/// from `state`, for the reflected polynomial 0x82F63B78. Requires:
/// canStepCrc32c().
std::uint32_t stepCrc32c(std::uint32_t state, const unsigned char* data, std::size_t size) noexcept;

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_CRC32C_H
