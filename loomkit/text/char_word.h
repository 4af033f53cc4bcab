// SPDX-License-Identifier: MIT
// CharWord: eight characters of a text in one machine word, for readers of many short
// columns.
//
//   const loomkit::CharWord word("     125");
//   word.blanksInFront();                      // 5
//   word.withZeros(5).areDigits();             // true
#ifndef LOOMKIT_TEXT_CHAR_WORD_H
#define LOOMKIT_TEXT_CHAR_WORD_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "loomkit/text/binary.h"

namespace loomkit {

/// Eight characters; the first one is the lowest byte.
class CharWord {
 public:
  static constexpr std::size_t size = 8;

  /// The first eight characters of a text. Requires: it has as many.
  explicit CharWord(std::string_view text) noexcept {
    std::memcpy(&bits, text.data(), size);
    if constexpr (std::endian::native != std::endian::little)
      bits = RecordReader(&bits, size).get(Le64{0});
  }

  [[nodiscard]] bool isBlank() const noexcept { return bits == blanks; }
  /// How many blanks it begins with, and ends with.
  [[nodiscard]] std::size_t blanksInFront() const noexcept {
    return static_cast<std::size_t>(std::countr_zero(bits ^ blanks)) / 8;
  }
  [[nodiscard]] std::size_t blanksBehind() const noexcept {
    return static_cast<std::size_t>(std::countl_zero(bits ^ blanks)) / 8;
  }
  /// A character. Requires: `place` is below 8.
  [[nodiscard]] char at(std::size_t place) const noexcept {
    return static_cast<char>(bits >> 8 * place & 0xFF);
  }
  /// The same word with '0' in place of its first `count` characters. Requires: `count`
  /// is below 8.
  [[nodiscard]] CharWord withZeros(std::size_t count) const noexcept {
    return CharWord((bits ^ zeros) >> 8 * count << 8 * count ^ zeros);
  }
  /// Whether all are digits: less '0', they fill the low halves of their bytes, and
  /// still do so with 6 added.
  [[nodiscard]] bool areDigits() const noexcept {
    constexpr std::uint64_t highHalves = 0xF0F0F0F0F0F0F0F0;
    constexpr std::uint64_t sixes = 0x0606060606060606;
    const std::uint64_t values = bits ^ zeros;
    return ((values | (values + sixes)) & highHalves) == 0;
  }
  /// The number of eight digits: neighbours are put together to two digits, to four,
  /// and to eight. Of no use unless areDigits() is true.
  [[nodiscard]] std::uint32_t number() const noexcept {
    std::uint64_t sums = bits ^ zeros;
    sums = (sums * (10 * 256 + 1) >> 8) & 0x00FF00FF00FF00FF;
    sums = (sums * (100 * 65536 + 1) >> 16) & 0x0000FFFF0000FFFF;
    return static_cast<std::uint32_t>(sums * (10000 * (std::uint64_t{1} << 32) + 1) >> 32);
  }

 private:
  static constexpr std::uint64_t blanks = 0x2020202020202020;
  static constexpr std::uint64_t zeros = 0x3030303030303030;

  explicit CharWord(std::uint64_t word) noexcept : bits(word) {}

  std::uint64_t bits = 0;
};

}  // namespace loomkit

#endif  // LOOMKIT_TEXT_CHAR_WORD_H
