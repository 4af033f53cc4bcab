// SPDX-License-Identifier: MIT
#include "loomkit/text/char_class.h"

#include <gtest/gtest.h>

#include <cctype>

namespace {

TEST(CharClass, IsTheAsciiPartOfTheLibrarysClasses) {
  for (int c = 0; c < 256; ++c) {
    const char byte = static_cast<char>(c);
    const bool ascii = c < 0x80;
    EXPECT_EQ(loomkit::isAsciiSpace(byte), ascii && std::isspace(c) != 0) << c;
    EXPECT_EQ(loomkit::isAsciiDigit(byte), ascii && std::isdigit(c) != 0) << c;
    EXPECT_EQ(loomkit::isAsciiUpper(byte), ascii && std::isupper(c) != 0) << c;
    EXPECT_EQ(loomkit::isAsciiLower(byte), ascii && std::islower(c) != 0) << c;
    EXPECT_EQ(loomkit::isAsciiAlpha(byte), ascii && std::isalpha(c) != 0) << c;
    EXPECT_EQ(loomkit::isAsciiAlnum(byte), ascii && std::isalnum(c) != 0) << c;
    EXPECT_EQ(loomkit::isAsciiXDigit(byte), ascii && std::isxdigit(c) != 0) << c;
    EXPECT_EQ(loomkit::isAsciiWord(byte), ascii && (std::isalnum(c) != 0 || c == '_')) << c;
  }
}

TEST(CharClass, HexDigitsHaveTheirValues) {
  const char lower[] = "0123456789abcdef";
  const char upper[] = "0123456789ABCDEF";
  for (unsigned i = 0; i < 16; ++i) {
    EXPECT_EQ(loomkit::hexDigitValue(lower[i]), i);
    EXPECT_EQ(loomkit::hexDigitValue(upper[i]), i);
  }
}

TEST(CharClass, SkipsWhiteSpace) {
  EXPECT_STREQ(loomkit::skipAsciiSpace(" \t\n\v\f\ra "), "a ");
  EXPECT_STREQ(loomkit::skipAsciiSpace("  "), "");
}

}  // namespace
