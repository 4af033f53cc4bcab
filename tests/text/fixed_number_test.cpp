// SPDX-License-Identifier: MIT
#include "loomkit/text/fixed_number.h"

#include <gtest/gtest.h>

#include <bit>
#include <random>
#include <string>
#include <string_view>

#include "loomkit/text/number.h"
#include "loomkit/text/number32.h"

namespace {

using loomkit::FixedColumn;
using loomkit::FixedNumber;

bool readFixedNumber(std::string_view text, std::size_t decimals, FixedNumber* number) {
  return FixedColumn(text.size(), decimals).read(text.data(), number);
}

TEST(FixedNumber, ReadsDigitsBehindBlanksAndAMinusSign) {
  struct Row {
    const char* text;
    std::size_t decimals;
    bool negative;
    std::int64_t whole;
    std::int64_t fraction;
  };
  const Row rows[] = {{"0", 0, false, 0, 0},
                      {"-0", 0, true, 0, 0},
                      {"  7", 0, false, 7, 0},
                      {" -7", 0, true, 7, 0},
                      {"12345678", 0, false, 12345678, 0},
                      {"123456789", 0, false, 123456789, 0},
                      {"  -12345678", 0, true, 12345678, 0},
                      {"9999999999999999", 0, false, 9999999999999999, 0},
                      {"0000000000000001", 0, false, 1, 0},
                      {"               7", 0, false, 7, 0},
                      {"              -7", 0, true, 7, 0},
                      {"                           -12", 0, true, 12, 0},
                      {" 1234567890123456", 0, false, 1234567890123456, 0},
                      {"          -1234567890123456", 0, true, 1234567890123456, 0},
                      {"         1.25", 2, false, 1, 25},
                      {"   1.5", 1, false, 1, 5},
                      {"  -1.05", 2, true, 1, 5},
                      {"1.12345678", 8, false, 1, 12345678},
                      {"9999999999999999.99999999", 8, false, 9999999999999999, 99999999}};
  for (const Row& row : rows) {
    FixedNumber number{true, 4711, 4711};
    ASSERT_TRUE(readFixedNumber(row.text, row.decimals, &number)) << row.text;
    EXPECT_EQ(number.negative, row.negative) << row.text;
    EXPECT_EQ(number.whole, row.whole) << row.text;
    EXPECT_EQ(number.fraction, row.fraction) << row.text;
  }
}

TEST(FixedNumber, LeavesEveryOtherTextToAFullReader) {
  struct Row {
    const char* text;
    std::size_t decimals;
  };
  const Row rows[] = {{"", 0},
                      {"        ", 0},
                      {"                 ", 0},
                      {"-", 0},
                      {"12 ", 0},
                      {"1 2", 0},
                      {"+1", 0},
                      {"- 1", 0},
                      {"--1", 0},
                      {"\t1", 0},
                      {"1.5", 0},
                      {"0x10", 0},
                      {"1e5", 0},
                      {"***", 0},
                      {"1-", 0},
                      {".5", 1},
                      {"-.5", 1},
                      {"1.55", 1},
                      {"1.5", 2},
                      {"15", 1},
                      {"1.5 ", 2},
                      {"1. 5", 2},
                      {"1.-5", 2},
                      {"12345678 ", 0},
                      {" - 12345678", 0},
                      {"12345678-12345678", 0},
                      {"1 12345678", 0},
                      {"12345678901234567", 0},
                      {"12345678 12345678", 0},
                      {"1.5", 300},
                      {"1.123456789", 9}};
  for (const Row& row : rows) {
    FixedNumber number;
    EXPECT_FALSE(readFixedNumber(row.text, row.decimals, &number)) << row.text;
  }
}

/// Texts of columns: numbers as they are usually written, and such texts with a
/// character changed, so that most are nearly right.
class ColumnTexts {
 public:
  std::string next(std::size_t* decimals) {
    *decimals = random() % 2 == 0 ? 0 : random() % 10;
    std::string text = random() % 4 == 0 ? "-" : "";
    text += digits(1 + random() % 17);
    if (*decimals > 0) text += '.' + digits(*decimals);
    text.insert(0, random() % 12, ' ');
    if (random() % 2 == 0) {
      constexpr char others[] = " -+.0123456789eEx*\t\0/:";
      text[random() % text.size()] = others[random() % (sizeof others - 1)];
    }
    return text;
  }

 private:
  std::string digits(std::size_t count) {
    std::string text(count, '0');
    for (char& c : text) c = static_cast<char>('0' + random() % 10);
    return text;
  }

  std::mt19937 random{20261122};
};

bool hasDigitsOnly(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// Character by character, whether a text is of the form that is read at least.
bool isFixedNumber(std::string_view text, std::size_t decimals) {
  if (decimals > 0) {
    const std::size_t point = text.find('.');
    if (decimals > 8 || point == std::string_view::npos) return false;
    if (text.size() - point - 1 != decimals || !hasDigitsOnly(text.substr(point + 1))) return false;
    text = text.substr(0, point);
  }
  if (text.size() > 16) return false;
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  if (!text.empty() && text.front() == '-') text.remove_prefix(1);
  return hasDigitsOnly(text);
}

TEST(FixedNumber, NothingIsReadOfAColumnWithoutAForm) {
  FixedNumber number;
  EXPECT_FALSE(FixedColumn().read("1", &number));
}

TEST(FixedNumber, AMillionColumnsAreReadAsTheFullReadersReadThem) {
  ColumnTexts texts;
  int reads = 0;
  for (int i = 0; i < 1'000'000; ++i) {
    std::size_t decimals = 0;
    const std::string text = texts.next(&decimals);
    FixedNumber number;
    const bool read = readFixedNumber(text, decimals, &number);
    ASSERT_TRUE(read || !isFixedNumber(text, decimals)) << '"' << text << "\" " << decimals;
    if (!read) continue;
    ++reads;
    // To the last bit, and to the sign of a zero.
    const double expected = gParseCDouble(text.c_str(), static_cast<const char**>(nullptr));
    ASSERT_EQ(std::bit_cast<std::uint64_t>(FixedColumn(text.size(), decimals).toDouble(number)),
              std::bit_cast<std::uint64_t>(expected))
        << text;
    if (number.whole > 0xFFFFFFFF) continue;
    ASSERT_EQ(loomkit::toBits(number), loomkit::parseUnsignedLong32(text.c_str(), nullptr, 10))
        << text;
    if (number.whole > 0x7FFFFFFF) continue;
    ASSERT_EQ(loomkit::toBits(number),
              static_cast<std::uint32_t>(loomkit::parseLong32(text.c_str(), nullptr, 10)))
        << text;
  }
  EXPECT_GT(reads, 300'000);
  EXPECT_LT(reads, 900'000);
}

}  // namespace
