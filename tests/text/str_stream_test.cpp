// SPDX-License-Identifier: MIT
#include "loomkit/text/str_stream.h"

#include <gtest/gtest.h>

#include <locale>

namespace {

// A decimal comma and dots between thousands, whatever locales the machine has.
struct CommaPunct : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

class StrStream : public ::testing::Test {
 protected:
  StrStream()
      : previous(std::locale::global(std::locale(std::locale::classic(), new CommaPunct))) {}
  ~StrStream() override { std::locale::global(previous); }
  std::locale previous;
};

TEST_F(StrStream, OutputIgnoresTheGlobalLocaleByDefault) {
  GOStrStream text;
  text << 12345.5;
  EXPECT_EQ(text.str(), "12345.5");
}

TEST_F(StrStream, OutputKeepsTheGlobalLocaleWhenAsked) {
  GOStrStream text(false);
  text << 12345.5;
  EXPECT_EQ(text.str(), "12.345,5");
}

TEST_F(StrStream, InputReadsWithTheClassicLocaleWhenAsked) {
  GIStrStream text("1.5", true);
  double value = 0;
  text >> value;
  EXPECT_EQ(value, 1.5);
}

TEST_F(StrStream, InputKeepsTheGlobalLocaleWhenAsked) {
  GIStrStream text("1,5", false);
  double value = 0;
  text >> value;
  EXPECT_EQ(value, 1.5);
}

TEST_F(StrStream, InputReadsACopyOfTheText) {
  std::string source = "abc";
  GIStrStream text(source, true);
  source = "xyz";
  std::string word;
  text >> word;
  EXPECT_EQ(word, "abc");
}

}  // namespace
