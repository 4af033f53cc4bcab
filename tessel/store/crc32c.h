// SPDX-License-Identifier: MIT
// CRC-32C (Castagnoli, RFC 3720 appendix B.4), the store's checksum and the hash
// of its keys.
#ifndef TESSEL_STORE_CRC32C_H
#define TESSEL_STORE_CRC32C_H

#include <cstddef>
#include <cstdint>

namespace tessel {

/// The checksum of what `crc` is the checksum of and `size` more bytes; 0 is the
/// checksum of nothing. "123456789" gives 0xE3069283.
std::uint32_t crc32c(std::uint32_t crc, const void* data, std::size_t size) noexcept;

/// The same by a table, for machines that have no instruction for it.
std::uint32_t crc32cByTable(std::uint32_t crc, const void* data, std::size_t size) noexcept;

}  // namespace tessel

#endif  // TESSEL_STORE_CRC32C_H
