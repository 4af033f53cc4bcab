// SPDX-License-Identifier: MIT
#include "loomkit/system/crc32.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "loomkit/platform/crc_fold.h"
#include "loomkit/system/crc32_stream.h"
#include "loomkit/text/binary.h"

namespace {

constexpr std::uint32_t polynomial = 0xEDB88320;

constexpr std::uint32_t tableEntry(std::uint32_t index) {
  for (int round = 0; round < 8; ++round) index = index >> 1 ^ (index & 1 ? polynomial : 0);
  return index;
}

// The bytes are taken eight at a time: table n gives what a byte n places before the
// end of the eight contributes (M. Kounavis and F. Berry, "A Systematic Approach to
// Building High Performance Software-Based CRC Generators", 2005).
constexpr std::size_t slices = 8;
constexpr auto sliceTables = [] {
  std::array<std::array<std::uint32_t, 256>, slices> tables{};
  for (std::uint32_t i = 0; i < 256; ++i) tables[0][i] = tableEntry(i);
  for (std::size_t n = 1; n < slices; ++n)
    for (std::size_t i = 0; i < 256; ++i)
      tables[n][i] = tables[n - 1][i] >> 8 ^ tables[0][tables[n - 1][i] & 0xFF];
  return tables;
}();

std::uint32_t sliceCrc32(std::uint32_t state, const unsigned char* p) {
  const auto& t = sliceTables;
  const std::uint32_t low = state ^ loomkit::loadLe32(p);
  const std::uint32_t high = loomkit::loadLe32(p + 4);
  return t[7][low & 0xFF] ^ t[6][low >> 8 & 0xFF] ^ t[5][low >> 16 & 0xFF] ^ t[4][low >> 24] ^
         t[3][high & 0xFF] ^ t[2][high >> 8 & 0xFF] ^ t[1][high >> 16 & 0xFF] ^ t[0][high >> 24];
}

// The state after `size` further bytes. `table` is that of single bytes.
std::uint32_t advance(std::uint32_t state, const std::uint32_t* table, const void* data,
                      std::size_t size) {
  const auto* p = static_cast<const unsigned char*>(data);
  if (size >= loomkit::platform::minCrcFold && loomkit::platform::canFoldCrc32()) {
    const std::size_t folded = size / 16 * 16;
    state = loomkit::platform::foldCrc32(state, p, folded);
    p += folded;
    size -= folded;
  }
  for (; size >= slices; size -= slices, p += slices) state = sliceCrc32(state, p);
  for (; size != 0; --size, ++p) state = table[(state ^ *p) & 0xFF] ^ state >> 8;
  return state;
}

constexpr std::uint32_t startState = ~std::uint32_t{0};

}  // namespace

GCRC32::GCRC32() { std::copy(sliceTables[0].begin(), sliceTables[0].end(), table); }

unsigned long GCRC32::get(const void* data, int size) const {
  if (size <= 0) return 0;
  return ~advance(startState, table, data, static_cast<std::size_t>(size));
}

unsigned long GCRC32::get(const std::string& text) const {
  if (text.empty()) return 0;
  return ~advance(startState, table, text.data(), text.size());
}

void GCRC32Stream::update(const void* data, std::size_t size) {
  state = advance(state, sliceTables[0].data(), data, size);
}
