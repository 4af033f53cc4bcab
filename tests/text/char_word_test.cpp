// SPDX-License-Identifier: MIT
#include "loomkit/text/char_word.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using loomkit::CharWord;

std::string textOf(CharWord word) {
  std::string text;
  for (std::size_t i = 0; i < CharWord::size; ++i) text += word.at(i);
  return text;
}

TEST(CharWord, TakesTheFirstEightCharacters) {
  EXPECT_EQ(textOf(CharWord("abcdefgh")), "abcdefgh");
  EXPECT_EQ(textOf(CharWord("\xFF\x01"
                            "cdefghij")),
            "\xFF\x01"
            "cdefgh");
}

TEST(CharWord, CountsBlanksAtBothEnds) {
  struct Row {
    const char* text;
    std::size_t inFront;
    std::size_t behind;
  };
  const Row rows[] = {{"        ", 8, 8}, {"a       ", 0, 7}, {"       a", 7, 0},
                      {"  a b   ", 2, 3}, {"abcdefgh", 0, 0}, {"\t       ", 0, 7},
                      {"!      !", 0, 0}};
  for (const Row& row : rows) {
    const CharWord word(row.text);
    EXPECT_EQ(word.blanksInFront(), row.inFront) << row.text;
    EXPECT_EQ(word.blanksBehind(), row.behind) << row.text;
    EXPECT_EQ(word.isBlank(), row.inFront == 8) << row.text;
  }
}

TEST(CharWord, PutsZerosInPlaceOfItsFirstCharacters) {
  const CharWord word("abcdefgh");
  EXPECT_EQ(textOf(word.withZeros(0)), "abcdefgh");
  EXPECT_EQ(textOf(word.withZeros(1)), "0bcdefgh");
  EXPECT_EQ(textOf(word.withZeros(7)), "0000000h");
}

TEST(CharWord, KnowsDigitsFromEachOtherCharacterAtEachPlace) {
  for (std::size_t place = 0; place < CharWord::size; ++place) {
    for (int c = 0; c < 256; ++c) {
      std::string text = "90909090";
      text[place] = static_cast<char>(c);
      EXPECT_EQ(CharWord(text).areDigits(), c >= '0' && c <= '9') << place << ' ' << c;
    }
  }
}

TEST(CharWord, ReadsEightDigits) {
  for (const std::uint32_t number : {0U, 1U, 9U, 10U, 12345678U, 87654321U, 99999999U, 90000009U}) {
    std::string text = std::to_string(number);
    text.insert(0, CharWord::size - text.size(), '0');
    EXPECT_EQ(CharWord(text).number(), number);
  }
}

}  // namespace
