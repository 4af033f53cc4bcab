// SPDX-License-Identifier: MIT
#include "loomkit/text/string_util.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using Fields = std::vector<std::string>;

constexpr unsigned all = 0xFFFFFFFFU;

std::string randomText(std::mt19937& random, const char* alphabet, unsigned maxLength) {
  std::string text;
  const std::size_t letters = std::strlen(alphabet);
  for (unsigned n = static_cast<unsigned>(random()) % (maxLength + 1); n != 0; --n) {
    text.push_back(alphabet[random() % letters]);
  }
  return text;
}

// ---- gsnprintf

struct PrintRow {
  unsigned size;
  const char* text;
  const char* kept;
};

TEST(Snprintf, AlwaysTerminatesAndTellsOfTruncation) {
  const PrintRow rows[] = {{1, "abc", ""},    {2, "abc", "a"},   {3, "abc", "ab"},
                           {4, "abc", "abc"}, {9, "abc", "abc"}, {1, "", ""}};
  for (const PrintRow& row : rows) {
    char buf[10];
    std::memset(buf, 'z', sizeof buf);
    const int result = gsnprintf(buf, row.size, "%s", row.text);
    EXPECT_STREQ(buf, row.kept);
    EXPECT_EQ(result < 0 || static_cast<unsigned>(result) >= row.size,
              std::strlen(row.text) >= row.size);
    for (unsigned i = row.size; i < sizeof buf; ++i) EXPECT_EQ(buf[i], 'z');
  }
}

TEST(Snprintf, SizeZeroTouchesNothing) {
  char buf[] = "z";
  EXPECT_EQ(gsnprintf(buf, 0, "x"), -1);
  EXPECT_STREQ(buf, "z");
}

TEST(Snprintf, ReturnsTheLengthThatFits) {
  char buf[16];
  EXPECT_EQ(gsnprintf(buf, sizeof buf, "%d-%s", 42, "x"), 4);
  EXPECT_STREQ(buf, "42-x");
}

int printList(char* buf, unsigned size, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = gvsnprintf(buf, size, format, args);
  va_end(args);
  return result;
}

TEST(Snprintf, TheListFormIsTheSame) {
  char buf[3];
  EXPECT_EQ(printList(buf, 3, "%d", 7), 1);
  EXPECT_STREQ(buf, "7");
  printList(buf, 3, "%d", 777);
  EXPECT_STREQ(buf, "77");
  EXPECT_EQ(printList(buf, 0, "%d", 7), -1);
}

// ---- gStrCopy

TEST(StrCopy, CopiesWhatFitsAndReturnsTheLengthOfTheSource) {
  const PrintRow rows[] = {{1, "abc", ""},    {2, "abc", "a"},   {3, "abc", "ab"},
                           {4, "abc", "abc"}, {9, "abc", "abc"}, {1, "", ""}};
  for (const PrintRow& row : rows) {
    char dst[10];
    std::memset(dst, 'z', sizeof dst);
    EXPECT_EQ(gStrCopy(dst, row.text, row.size), std::strlen(row.text));
    EXPECT_STREQ(dst, row.kept);
    EXPECT_EQ(dst[9], 'z');
  }
  char dst[] = "z";
  EXPECT_EQ(gStrCopy(dst, "abc", 0), 3U);
  EXPECT_STREQ(dst, "z");
}

// ---- gStrTok

Fields tokens(std::string text, const char* delimiters) {
  Fields found;
  char* state = nullptr;
  for (char* token = gStrTok(text.data(), delimiters, &state); token != nullptr;
       token = gStrTok(nullptr, delimiters, &state)) {
    found.emplace_back(token);
  }
  EXPECT_EQ(gStrTok(nullptr, delimiters, &state), nullptr) << "the end is final";
  return found;
}

TEST(StrTok, GivesTheTokensBetweenDelimiters) {
  EXPECT_THAT(tokens(",a,,b,", ","), ElementsAre("a", "b"));
  EXPECT_THAT(tokens("a", ","), ElementsAre("a"));
  EXPECT_THAT(tokens("a b;c", " ;"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(tokens("", ","), IsEmpty());
  EXPECT_THAT(tokens(",,,", ","), IsEmpty());
  EXPECT_THAT(tokens(",a b,", ""), ElementsAre(",a b,"));
}

TEST(StrTok, TwoTextsAreTakenApartSideBySide) {
  char one[] = "a b";
  char two[] = "1 2";
  char* stateOne = nullptr;
  char* stateTwo = nullptr;
  EXPECT_STREQ(gStrTok(one, " ", &stateOne), "a");
  EXPECT_STREQ(gStrTok(two, " ", &stateTwo), "1");
  EXPECT_STREQ(gStrTok(nullptr, " ", &stateOne), "b");
  EXPECT_STREQ(gStrTok(nullptr, " ", &stateTwo), "2");
}

TEST(StrTok, TheStateIsBehindTheDelimiterOrNull) {
  char text[] = "a,b";
  char* state = nullptr;
  gStrTok(text, ",", &state);
  EXPECT_EQ(state, text + 2);
  gStrTok(nullptr, ",", &state);
  EXPECT_EQ(state, nullptr);
  char blank[] = ",";
  state = blank;
  EXPECT_EQ(gStrTok(blank, ",", &state), nullptr);
  EXPECT_EQ(state, nullptr);
}

// ---- gStrCaseCmp

struct CompareRow {
  const char* a;
  const char* b;
  unsigned n;
  int result;
};

TEST(StrCaseCmp, IsTheDifferenceOfTheFirstLoweredBytes) {
  const CompareRow rows[] = {{"abc", "ABC", all, 0},
                             {"abc", "ABD", all, -1},
                             {"ABD", "abc", all, 1},
                             {"a", "", all, 'a'},
                             {"", "B", all, -'b'},
                             {"", "", all, 0},
                             {"\xff", "a", all, 255 - 'a'},
                             {"abX", "aby", 2, 0},
                             {"abX", "aby", 3, 'x' - 'y'},
                             {"x", "y", 0, 0},
                             {"ab", "AB", 9, 0},
                             {"[", "a", all, '[' - 'a'}};
  for (const CompareRow& row : rows) {
    EXPECT_EQ(gStrCaseCmp(row.a, row.b, row.n), row.result) << row.a << " " << row.b;
    if (row.n == all) {
      EXPECT_EQ(gStrCaseCmp(row.a, row.b), row.result) << row.a << " " << row.b;
    }
  }
}

// ---- gSplit

struct SplitRow {
  const char* text;
  const char* delimiters;
  unsigned maxFields;
  bool skipEmpty;
  Fields fields;
};

TEST(Split, FollowsItsRules) {
  const SplitRow rows[] = {
      {"a,b", ",", all, false, {"a", "b"}},
      {"a,,b", ",", all, false, {"a", "", "b"}},
      {"a,,b", ",", all, true, {"a", "b"}},
      {"a,", ",", all, false, {"a", ""}},
      {"a,", ",", all, true, {"a", ""}},
      {",", ",", all, false, {"", ""}},
      {",", ",", all, true, {""}},
      {",a", ",", all, true, {"a"}},
      {"", ",", all, false, {""}},
      {"", ",", all, true, {""}},
      {"a,b,c", ",", 2, false, {"a", "b,c"}},
      {"a,b,c", ",", 1, false, {"a,b,c"}},
      {"a,b,c", ",", 0, false, {}},
      {"", ",", 0, true, {}},
      {",,a,b", ",", 2, true, {"a", "b"}},
      {"a,,b,c", ",", 2, true, {"a", ",b,c"}},
      {"a b\tc\rd\ne\vf\fg", nullptr, all, false, {"a", "b", "c", "d", "e", "f", "g"}},
      {"a b", "", all, false, {"a", "b"}},
      {"a;b,c", ",;", all, false, {"a", "b", "c"}},
      {"abc", ",", all, false, {"abc"}},
  };
  for (const SplitRow& row : rows) {
    Fields out = {"stale"};
    EXPECT_EQ(&gSplit(row.text, row.delimiters, &out, row.maxFields, row.skipEmpty), &out);
    EXPECT_THAT(out, ElementsAreArray(row.fields)) << "'" << row.text << "' " << row.maxFields;
  }
}

TEST(Split, TheShorterFormsHaveNoLimitAndKeepEmptyFields) {
  Fields out;
  EXPECT_THAT(gSplit("a,,b", ",", &out), ElementsAre("a", "", "b"));
  EXPECT_THAT(gSplit("a,,b", ",", &out, 2U), ElementsAre("a", ",b"));
  EXPECT_THAT(gSplit("a,,b", ",", &out, 2), ElementsAre("a", ",b"));
  EXPECT_THAT(gSplit("a,,b", ",", &out, true), ElementsAre("a", "b"));
  EXPECT_THAT(gSplit("a,,b", ",", &out, false), ElementsAre("a", "", "b"));
}

TEST(Split, TheTextMayBeAFieldOfTheResult) {
  Fields out = {"a,b"};
  EXPECT_THAT(gSplit(out[0], ",", &out), ElementsAre("a", "b"));
}

TEST(Split, ReservesForEightFieldsAtMost) {
  Fields out;
  EXPECT_EQ(gSplit("a,b", ",", &out).capacity(), 8U);
  Fields few;
  EXPECT_EQ(gSplit("a,b", ",", &few, 3U).capacity(), 3U);
}

// Character by character: a field ends at a delimiter as long as one more field
// may follow.
Fields splitModel(const std::string& s, const std::string& delimiters, unsigned maxFields,
                  bool skipEmpty) {
  Fields fields;
  if (maxFields == 0) return fields;
  std::string field;
  for (const char c : s) {
    const bool splits = delimiters.find(c) != std::string::npos && fields.size() + 1 < maxFields;
    if (!splits) {
      field.push_back(c);
      continue;
    }
    if (!field.empty() || !skipEmpty) fields.push_back(field);
    field.clear();
  }
  fields.push_back(field);
  return fields;
}

TEST(Split, AgreesWithTheModel) {
  std::mt19937 random(2);
  for (int i = 0; i < 100000; ++i) {
    const std::string text = randomText(random, "ab,; ", 12);
    const std::string delimiters = random() % 2 != 0 ? "," : ";, ";
    const unsigned maxFields = random() % 2 != 0 ? all : static_cast<unsigned>(random() % 5);
    const bool skipEmpty = random() % 2 != 0;
    Fields out;
    gSplit(text, delimiters.c_str(), &out, maxFields, skipEmpty);
    ASSERT_EQ(out, splitModel(text, delimiters, maxFields, skipEmpty))
        << "'" << text << "' by '" << delimiters << "' " << maxFields << " " << skipEmpty;
  }
}

// ---- gJoin

TEST(Join, PutsTheSeparatorBetweenItems) {
  EXPECT_EQ(gJoin(", ", {}), "");
  EXPECT_EQ(gJoin(", ", {"a"}), "a");
  EXPECT_EQ(gJoin(", ", {"a", "b"}), "a, b");
  EXPECT_EQ(gJoin("", {"a", "", "b"}), "ab");
  EXPECT_EQ(gJoin(",", {"", "", ""}), ",,");
}

TEST(Join, ARangeIsClipped) {
  const Fields items = {"a", "b", "c"};
  EXPECT_EQ(gJoin(",", items, 0, 3), "a,b,c");
  EXPECT_EQ(gJoin(",", items, 1, 1), "b");
  EXPECT_EQ(gJoin(",", items, 1, all), "b,c");
  EXPECT_EQ(gJoin(",", items, 2, 2), "c");
  EXPECT_EQ(gJoin(",", items, 3, 1), "");
  EXPECT_EQ(gJoin(",", items, all, all), "");
  EXPECT_EQ(gJoin(",", items, 0, 0), "");
  EXPECT_EQ(gJoin(",", {}, 0, 1), "");
}

TEST(Join, UndoesSplit) {
  std::mt19937 random(3);
  for (int i = 0; i < 20000; ++i) {
    const std::string text = randomText(random, "ab,", 20);
    Fields out;
    ASSERT_EQ(gJoin(",", gSplit(text, ",", &out)), text);
  }
}

// ---- gReplace

struct ReplaceRow {
  const char* text;
  const char* from;
  const char* to;
  const char* result;
};

TEST(Replace, GoesOnBehindTheInsertedText) {
  const ReplaceRow rows[] = {{"aba", "a", "aa", "aabaa"}, {"aaa", "aa", "a", "aa"},
                             {"abc", "x", "y", "abc"},    {"abab", "ab", "", ""},
                             {"", "a", "b", ""},          {"xaax", "aa", "b", "xbx"},
                             {"aaaa", "aa", "aa", "aaaa"}};
  for (const ReplaceRow& row : rows) {
    std::string s = row.text;
    gReplace(&s, row.from, row.to);
    EXPECT_EQ(s, row.result) << row.text;
  }
}

TEST(Replace, PassesOverNulCharacters) {
  std::string s("a\0a", 3);
  gReplace(&s, "a", "b");
  EXPECT_EQ(s, std::string("b\0b", 3));
}

TEST(Replace, AgreesWithReplacingInPlace) {
  std::mt19937 random(4);
  for (int i = 0; i < 100000; ++i) {
    const std::string text = randomText(random, "ab", 16);
    const std::string from = randomText(random, "ab", 2) + "a";
    const std::string to = randomText(random, "abc", 4);
    std::string model = text;
    for (std::size_t pos = 0; (pos = model.find(from, pos)) != std::string::npos;) {
      model.replace(pos, from.size(), to);
      pos += to.size();
    }
    std::string s = text;
    gReplace(&s, from.c_str(), to.c_str());
    ASSERT_EQ(s, model) << text << " " << from << " " << to;
  }
}

// ---- gExpReserve

TEST(ExpReserve, MakesTheCapacityOneBelowAPowerOfTwo) {
  for (const unsigned extra : {16U, 20U, 30U, 31U}) {
    std::string s;
    gExpReserve(&s, extra);
    EXPECT_EQ(s.capacity(), 31U) << extra;
  }
  std::string s;
  gExpReserve(&s, 15);
  EXPECT_EQ(s.capacity(), 15U);
  gExpReserve(&s, 32);
  EXPECT_EQ(s.capacity(), 63U);
  gExpReserve(&s, 5);
  EXPECT_EQ(s.capacity(), 63U);
  EXPECT_EQ(s, "");
}

TEST(ExpReserve, CountsFromTheSize) {
  std::string s(60, 'x');
  s.shrink_to_fit();
  gExpReserve(&s, 4);
  EXPECT_GE(s.capacity(), 127U);  // needed is 64, which is not below 64
  EXPECT_EQ(s, std::string(60, 'x'));
}

TEST(ExpReserve, ReallocatesALogarithmicNumberOfTimes) {
  std::string s;
  int changes = 0;
  for (int i = 0; i < 100000; ++i) {
    const std::size_t before = s.capacity();
    gExpReserve(&s, 1);
    s.push_back('x');
    if (s.capacity() != before) ++changes;
  }
  EXPECT_LE(changes, 20);
}

}  // namespace
