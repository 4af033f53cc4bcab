// SPDX-License-Identifier: MIT
#include "tessel/store/crc32c.h"

#include <array>

#include "loomkit/platform/crc32c.h"
#include "loomkit/text/binary.h"

namespace tessel {
namespace {

// Eight bytes at a time, M. E. Kounavis and F. L. Berry, "A Systematic Approach
// to Building High Performance Software-Based CRC Generators", 2005: table k
// holds what a byte does to the state when k zero bytes follow it.
using Tables = std::array<std::array<std::uint32_t, 256>, 8>;

constexpr Tables makeTables() {
  constexpr std::uint32_t polynomial = 0x82f63b78;
  Tables tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t state = byte;
    for (int bit = 0; bit < 8; ++bit) state = (state >> 1) ^ ((state & 1) != 0 ? polynomial : 0);
    tables[0][byte] = state;
  }
  for (std::size_t k = 1; k < tables.size(); ++k)
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t state = tables[k - 1][byte];
      tables[k][byte] = (state >> 8) ^ tables[0][state & 0xff];
    }
  return tables;
}

constexpr Tables tables = makeTables();

std::uint32_t stepByTable(std::uint32_t state, const unsigned char* data, std::size_t size) {
  for (; size >= 8; data += 8, size -= 8) {
    const std::uint32_t low = state ^ loomkit::loadLe32(data);
    const std::uint32_t high = loomkit::loadLe32(data + 4);
    state = tables[7][low & 0xff] ^ tables[6][low >> 8 & 0xff] ^ tables[5][low >> 16 & 0xff] ^
            tables[4][low >> 24] ^ tables[3][high & 0xff] ^ tables[2][high >> 8 & 0xff] ^
            tables[1][high >> 16 & 0xff] ^ tables[0][high >> 24];
  }
  for (; size != 0; ++data, --size) state = (state >> 8) ^ tables[0][(state ^ *data) & 0xff];
  return state;
}

}  // namespace

std::uint32_t crc32c(std::uint32_t crc, const void* data, std::size_t size) noexcept {
  if (!loomkit::platform::canStepCrc32c()) return crc32cByTable(crc, data, size);
  return ~loomkit::platform::stepCrc32c(~crc, static_cast<const unsigned char*>(data), size);
}

std::uint32_t crc32cByTable(std::uint32_t crc, const void* data, std::size_t size) noexcept {
  return ~stepByTable(~crc, static_cast<const unsigned char*>(data), size);
}

}  // namespace tessel
