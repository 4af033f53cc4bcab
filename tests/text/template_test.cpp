// SPDX-License-Identifier: MIT
#include "loomkit/text/template.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <limits>
#include <random>
#include <sstream>
#include <vector>

namespace {

template <typename Value>
std::string filled(std::string text, Value value) {
  text << value;
  return text;
}

TEST(Template, FillsTheSmallestPlaceholderFirst) {
  std::string text = "%1 of %0";
  text << 5 << 7;
  EXPECT_EQ(text, "7 of 5");
}

TEST(Template, ReturnsItsLeftOperand) {
  std::string text = "%0";
  EXPECT_EQ(&(text << 1), &text);
}

struct FillRow {
  const char* text;
  const char* result;  // filled with "v"
};

TEST(Template, FindsPlaceholders) {
  const FillRow rows[] = {
      {"x", "x"},      {"", ""},        {"%0", "v"},         {"%9", "v"},
      {"a%3b", "avb"}, {"%3%3", "v%3"}, {"%2%1%1", "%2v%1"}, {"100%", "100%"},
      {"%", "%"},      {"%%", "%%"},    {"%%1", "%v"},       {"%a%1", "%av"},
      {"%1%", "v%"},   {"%12", "v2"},   {"%:%/", "%:%/"},    {"%\xb2%5", "%\xb2v"},
      {"% 1", "% 1"},  {"%5%0", "%5v"}};
  for (const FillRow& row : rows) EXPECT_EQ(filled<const char*>(row.text, "v"), row.result);
}

TEST(Template, ScanningGoesOnBehindTheDigitAndNotInside) {
  EXPECT_EQ(filled<const char*>("%9%", "v"), "v%");
  EXPECT_EQ(filled<const char*>("%%%1", "v"), "%%v");
}

TEST(Template, AValueWithAPlaceholderIsScannedLikeTheRest) {
  std::string text = "%1";
  text << "%0%2"
       << "a"
       << "b"
       << "dropped";
  EXPECT_EQ(text, "ab");
  std::string joined = "%1%1";
  joined << "a"
         << "b";
  EXPECT_EQ(joined, "ab");
  std::string split = "%%1";  // the value completes a placeholder with the text around it
  split << "0"
        << "x";
  EXPECT_EQ(split, "x");
}

TEST(Template, WritesEachType) {
  EXPECT_EQ(filled("%0", true), "true");
  EXPECT_EQ(filled("%0", false), "false");
  EXPECT_EQ(filled("<%0>", 'c'), "<c>");
  EXPECT_EQ(filled("<%0>", '\0'), std::string("<\0>", 3));
  EXPECT_EQ(filled("%0", static_cast<unsigned char>('d')), "d");
  EXPECT_EQ(filled("%0", static_cast<short>(-32768)), "-32768");
  EXPECT_EQ(filled("%0", static_cast<unsigned short>(65535)), "65535");
  EXPECT_EQ(filled("%0", INT_MIN), "-2147483648");
  EXPECT_EQ(filled("%0", UINT_MAX), "4294967295");
  EXPECT_EQ(filled("%0", -12L), "-12");
  EXPECT_EQ(filled("%0", 12UL), "12");
  EXPECT_EQ(filled("%0", 1.5F), "1.5");
  EXPECT_EQ(filled("%0", 1.0F / 3), "0.333333");
  EXPECT_EQ(filled("%0", 1.0 / 3), "0.333333333333333");
  EXPECT_EQ(filled("%0", 1e300), "1e+300");
  EXPECT_EQ(filled("%0", 1.0L / 3), "0.333333333333333");
  EXPECT_EQ(filled("%0", std::numeric_limits<double>::infinity()), "inf");
  EXPECT_EQ(filled<const char*>("%0", "text"), "text");
  EXPECT_EQ(filled("%0", reinterpret_cast<const unsigned char*>("text")), "text");
  EXPECT_EQ(filled("%0", std::string("a\0b", 3)), std::string("a\0b", 3));
}

TEST(Template, CutsALongAtThirteenCharacters) {
  if constexpr (sizeof(long) == 8) {
    EXPECT_EQ(filled("%0", LONG_MIN), "-922337203685");
    EXPECT_EQ(filled("%0", ULONG_MAX), "1844674407370");
    EXPECT_EQ(filled("%0", 1234567890123L), "1234567890123");
  } else {
    EXPECT_EQ(filled("%0", LONG_MIN), "-2147483648");
  }
}

TEST(Template, WritesAddressesAsPrintfDoes) {
  int object = 0;
  char expected[128];
  std::snprintf(expected, sizeof expected, "%p", static_cast<void*>(&object));
  EXPECT_EQ(filled<const void*>("%0", &object), expected);
}

TEST(Template, ArraysAndPlainPointersAreTexts) {
  char array[] = "abc";
  char* pointer = array;
  std::string text = "%0%1";
  text << array << pointer;
  EXPECT_EQ(text, "abcabc");
}

TEST(Template, ATextMayFillItself) {
  std::string text = "<%0>%1";
  text << text;
  EXPECT_EQ(text, "<<%0>%1>%1");
  std::string again = "<%0>and more than a short string holds";
  again << again.c_str();
  EXPECT_EQ(again, "<<%0>and more than a short string holds>and more than a short string holds");
}

TEST(Template, StreamsOfTheHostAreLeftAlone) {
  std::ostringstream stream;
  const std::string text = "%0";
  stream << text << 5 << "x" << 'c';
  EXPECT_EQ(stream.str(), "%05xc");
  EXPECT_EQ((std::ostringstream() << text << 7).str(), "%07");
}

// The rule in three plain passes over a list of placeholders.
std::string fillModel(const std::string& text, const std::string& value) {
  std::vector<std::size_t> places;
  for (std::size_t i = 0; i + 1 < text.size();) {
    const bool placeholder = text[i] == '%' && text[i + 1] >= '0' && text[i + 1] <= '9';
    if (placeholder) places.push_back(i);
    i += placeholder ? 2 : 1;
  }
  if (places.empty()) return text;
  std::size_t best = places.front();
  for (const std::size_t place : places) {
    if (text[place + 1] < text[best + 1]) best = place;
  }
  return text.substr(0, best) + value + text.substr(best + 2);
}

TEST(Template, AgreesWithTheModel) {
  std::mt19937 random(5);
  const auto randomText = [&](std::size_t maxLength) {
    static constexpr char alphabet[] = "%%%0129a\xb1";
    std::string text;
    for (std::size_t n = random() % (maxLength + 1); n != 0; --n) {
      text.push_back(alphabet[random() % (sizeof alphabet - 1)]);
    }
    return text;
  };
  for (int i = 0; i < 100000; ++i) {
    std::string text = randomText(14);
    std::string model = text;
    for (int values = 0; values < 3; ++values) {
      const std::string before = text;
      const std::string value = randomText(4);
      text << value;
      model = fillModel(model, value);
      ASSERT_EQ(text, model) << "'" << before << "' filled with '" << value << "'";
    }
  }
}

}  // namespace
