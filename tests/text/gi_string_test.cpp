// SPDX-License-Identifier: MIT
#include "loomkit/text/gi_string.h"

#include <gtest/gtest.h>

#include <random>
#include <stdexcept>
#include <type_traits>

namespace {

constexpr unsigned all = 0xFFFFFFFFU;

static_assert(std::is_base_of_v<std::string, GiString>);
static_assert(sizeof(GiString) == sizeof(std::string), "GiString adds no data");
static_assert(!std::is_polymorphic_v<GiString>, "GiString has no virtual operation");

TEST(GiString, ConstructorsMirrorTheBase) {
  const std::string base = "abcdef";
  const char* text = "abcdef";
  EXPECT_EQ(GiString(), "");
  EXPECT_EQ(GiString(base), "abcdef");
  EXPECT_EQ(GiString(base, 2), "cdef");
  EXPECT_EQ(GiString(base, 6), "");
  EXPECT_EQ(GiString(base, 2, 3), "cde");
  EXPECT_EQ(GiString(base, 2, all), "cdef");
  EXPECT_EQ(GiString(text), "abcdef");
  EXPECT_EQ(GiString(text, 2), "ab");  // the first two, not from the second on
  EXPECT_EQ(GiString(3, 'x'), "xxx");
  EXPECT_EQ(GiString(text + 1, text + 3), "bc");
  EXPECT_THROW(GiString(base, 7), std::out_of_range);
  GiString copy(GiString("abc"));
  copy += 'd';
  EXPECT_EQ(GiString(copy), "abcd");
}

TEST(GiString, AssignsAnotherAndAText) {
  GiString s;
  s = GiString("abc");
  EXPECT_EQ(s, "abc");
  s = "xy";
  EXPECT_EQ(s, "xy");
  s = s.c_str() + 1;
  EXPECT_EQ(s, "y");
}

TEST(GiString, EmptyStringIsEmpty) { EXPECT_EQ(gEmptyString, ""); }

struct HashRow {
  std::string text;
  unsigned hash;
};

TEST(GiString, HashTakesBytesAsSignedAndFoldsTheTop) {
  const HashRow rows[] = {
      {"", 0},
      {"a", 0x61},
      {"ab", 0x672},
      {std::string(1, '\0'), 0},
      {"\xff", 0x0FFFFF0F},  // -1: the top four bits fold down and go
      {"aaaaaaa", 0x7777711},
      {"aaaaaaaa", 0x7777101},
      {"0123456789", 0x67BAEE9},
      {"a\xe9z", 0x600A},
  };
  for (const HashRow& row : rows) EXPECT_EQ(GiString(row.text).hash(), row.hash) << row.text;
}

struct CaseRow {
  const char* text;
  unsigned pos;
  unsigned n;
  const char* lower;
  const char* upper;
};

TEST(GiString, CaseMapsTheRangeOnly) {
  const CaseRow rows[] = {{"aBcDeF", 0, 6, "abcdef", "ABCDEF"},
                          {"aBcDeF", 0, all, "abcdef", "ABCDEF"},
                          {"aBcDeF", 2, all, "aBcdef", "aBCDEF"},
                          {"aBcDeF", 2, 2, "aBcdeF", "aBCDeF"},
                          {"aBcDeF", 3, 0, "aBcDeF", "aBcDeF"},
                          {"aBcDeF", 6, 1, "aBcDeF", "aBcDeF"},
                          {"1[`@{", 0, all, "1[`@{", "1[`@{"},
                          {"\xc4\xe4", 0, all, "\xc4\xe4", "\xc4\xe4"},
                          {"", 0, all, "", ""}};
  for (const CaseRow& row : rows) {
    GiString lower(row.text);
    std::string& returned = lower.toLower(row.pos, row.n);
    EXPECT_EQ(&returned, &lower);
    EXPECT_EQ(lower, row.lower);
    GiString upper(row.text);
    EXPECT_EQ(&upper.toUpper(row.pos, row.n), &upper);
    EXPECT_EQ(upper, row.upper);
  }
}

TEST(GiString, CaseRaisesTheRangeErrorOnlyWhenCharactersAreReached) {
  GiString s("abc");
  EXPECT_THROW(s.toLower(4, 1), std::out_of_range);
  EXPECT_THROW(s.toUpper(4, all), std::out_of_range);
  EXPECT_NO_THROW(s.toLower(4, 0));
  EXPECT_NO_THROW(s.toUpper(3, all));
  EXPECT_EQ(s, "abc");
}

struct TrimRow {
  std::string text;
  const char* chars;
  const char* both;
  const char* left;
  const char* right;
};

TEST(GiString, TrimRemovesTheSetFromTheEnds) {
  const TrimRow rows[] = {
      {" \t\r\n\v\fa b \t\r\n\v\f", nullptr, "a b", "a b \t\r\n\v\f", " \t\r\n\v\fa b"},
      {"abc", nullptr, "abc", "abc", "abc"},
      {" \t\r\n\v\f", nullptr, "", "", ""},
      {"", nullptr, "", "", ""},
      {"xxaxx", "x", "a", "axx", "xxa"},
      {"xyaxy", "yx", "a", "axy", "xya"},
      {"xx", "x", "", "", ""},
      {" a ", "x", " a ", " a ", " a "},
      {" a ", "", " a ", " a ", " a "},
  };
  for (const TrimRow& row : rows) {
    GiString both(row.text), left(row.text), right(row.text);
    EXPECT_EQ(&both.trim(row.chars), &both);
    EXPECT_EQ(&left.trimLeft(row.chars), &left);
    EXPECT_EQ(&right.trimRight(row.chars), &right);
    EXPECT_EQ(both, row.both) << row.text;
    EXPECT_EQ(left, row.left) << row.text;
    EXPECT_EQ(right, row.right) << row.text;
  }
}

TEST(GiString, TrimLeavesANulThatTheSetCannotName) {
  GiString s(std::string("\0a\0", 3));
  s.trim("a");
  EXPECT_EQ(s, std::string("\0a\0", 3));
}

TEST(GiString, TrimsByASetThatIsAPartOfTheText) {
  GiString s("ab  ab");
  EXPECT_EQ(s.trim(s.c_str() + 4), "  ");
  GiString whole("abc");
  EXPECT_EQ(whole.trim(whole.c_str()), "");
}

TEST(GiString, HashOfRandomTextsNeverHasATop) {
  std::mt19937 random(1);
  for (int i = 0; i < 10000; ++i) {
    GiString s;
    for (std::size_t n = random() % 20; n != 0; --n) s.push_back(static_cast<char>(random()));
    EXPECT_EQ(s.hash() & 0xF0000000U, 0U);
  }
}

}  // namespace
