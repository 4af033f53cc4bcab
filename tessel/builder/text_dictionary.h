// SPDX-License-Identifier: MIT
// TextDictionary: the different texts of a column, while they are few.
#ifndef TESSEL_BUILDER_TEXT_DICTIONARY_H
#define TESSEL_BUILDER_TEXT_DICTIONARY_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tessel {

/// Numbers texts from 0 in the order in which they come first.
class TextDictionary {
 public:
  /// More texts, or longer ones together, are not few.
  static constexpr std::size_t maxCount = 65536;
  static constexpr std::size_t maxBytes = std::size_t{4} << 20;

  /// Adds a text that is not there yet. Once they are not few any more, the
  /// dictionary forgets them all and takes no others.
  void add(std::string_view text);

  [[nodiscard]] bool isFew() const { return few; }
  [[nodiscard]] std::size_t count() const { return begins.size(); }
  /// Where each text begins in bytes(); the next one begins where it ends.
  [[nodiscard]] const std::vector<std::uint32_t>& textBegins() const { return begins; }
  [[nodiscard]] const std::string& bytes() const { return heap; }

  /// The number of a text. Requires: it has been added, and they are few.
  [[nodiscard]] std::uint32_t find(std::string_view text) const;

 private:
  struct Slot {
    std::uint32_t hash;
    std::uint32_t number;  // counted from 1; 0: free
  };

  [[nodiscard]] std::string_view textAt(std::uint32_t number) const;
  [[nodiscard]] std::size_t slotOf(std::uint32_t hash, std::string_view text) const;
  void grow();

  bool few = true;
  std::vector<Slot> slots;  // a power of two, at most half of them taken
  std::vector<std::uint32_t> begins;
  std::string heap;
};

}  // namespace tessel

#endif  // TESSEL_BUILDER_TEXT_DICTIONARY_H
