// SPDX-License-Identifier: MIT
#include "loomkit/text/letter_case.h"

#include <gtest/gtest.h>

namespace {

TEST(LetterCase, LowersLettersAndNothingElse) {
  EXPECT_EQ(loomkit::lowerCased(""), "");
  EXPECT_EQ(loomkit::lowerCased("abc"), "abc");
  EXPECT_EQ(loomkit::lowerCased("AZ@[az"), "az@[az");
  EXPECT_EQ(loomkit::lowerCased("\xC4\xFFX"), "\xC4\xFFx");
  EXPECT_EQ(loomkit::lowerCased(std::string_view("A\0B", 3)), std::string("a\0b", 3));
}

}  // namespace
