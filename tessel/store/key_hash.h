// SPDX-License-Identifier: MIT
// KeyHash: the hash of a key, by which an index is in order.
#ifndef TESSEL_STORE_KEY_HASH_H
#define TESSEL_STORE_KEY_HASH_H

#include <cstddef>
#include <cstdint>

#include "loomkit/text/binary.h"
#include "tessel/store/crc32c.h"

namespace tessel {

/// The CRC-32C of a key's values, in the order of the index's columns: integers
/// as 4 bytes, floating values as 8, texts as their bytes and a NUL. Little-endian.
/// It does not depend on how a column is stored.
class KeyHash {
 public:
  void addInteger(std::uint32_t pattern) noexcept {
    unsigned char bytes[4];
    loomkit::storeLe32(bytes, pattern);
    state = crc32c(state, bytes, sizeof bytes);
  }
  /// Equal numbers have equal hashes: both zeros are one.
  void addFloating(double value) noexcept {
    const double number = value == 0 ? 0 : value;
    std::uint64_t bits = 0;
    static_assert(sizeof bits == sizeof number);
    std::memcpy(&bits, &number, sizeof bits);
    unsigned char bytes[8];
    loomkit::storeLe64(bytes, bits);
    state = crc32c(state, bytes, sizeof bytes);
  }
  /// A text may come in pieces, and ends with endText().
  void addText(const void* text, std::size_t size) noexcept { state = crc32c(state, text, size); }
  void endText() noexcept { state = crc32c(state, "", 1); }

  [[nodiscard]] std::uint32_t value() const noexcept { return state; }

 private:
  std::uint32_t state = 0;
};

}  // namespace tessel

#endif  // TESSEL_STORE_KEY_HASH_H
