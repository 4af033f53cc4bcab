// SPDX-License-Identifier: MIT
#include "loomkit/text/number.h"
#include "loomkit/text/number32.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

std::uint64_t bitsOf(double value) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

// ---- The method, step by step and slowly. number.cpp has the same result in
// another shape.

double slowPower(long e) {
  constexpr double small[] = {0.001, 0.01, 0.1, 1, 10, 100, 1000};
  if (e >= -3 && e <= 3) return small[e + 3];
  // Past these the products cannot change any more.
  const long steps = std::min(std::labs(e), 1000L) - 4;
  double power = e > 0 ? 10000 : 0.0001;
  for (long i = 0; i < steps; ++i) power *= e > 0 ? 10 : 0.1;
  return power;
}

struct Read {
  double value;
  std::size_t length;
};

Read slowParse(const std::string& text) {
  enum { integer, fraction, exponentPart } section = integer;
  const char* s = text.c_str();
  const char* good = s;
  double value = 0;
  long exponent = 0;
  bool negativeExponent = false;
  while (*s == ' ' || (*s >= 9 && *s <= 13)) ++s;
  bool negative = false;
  if (*s == '+' || *s == '-') negative = *s++ == '-';
  while (*s != '\0') {
    long d = 0;
    int k = 0;
    while (k < 8 && *s >= '0' && *s <= '9') {
      d = d * 10 + (*s++ - '0');
      ++k;
    }
    if (section == integer) {
      value = value != 0 ? slowPower(k) * value + static_cast<double>(d) : static_cast<double>(d);
    } else if (section == fraction) {
      exponent -= k;
      if (d != 0) value += slowPower(exponent) * static_cast<double>(d);
    } else if (d != 0) {
      value = slowPower(negativeExponent ? -d : d) * value;
    }
    if (k != 0) good = s;
    if (k == 8 && *s != '\0') continue;
    if (*s == '.') {
      if (section != integer) break;
      ++s;
      section = fraction;
      if (good != text.c_str()) good = s;
    } else if (*s == 'e' || *s == 'E') {
      if (section == exponentPart || good == text.c_str()) break;
      ++s;
      if (*s == '+' || *s == '-') negativeExponent = *s++ == '-';
      section = exponentPart;
    } else {
      break;
    }
  }
  return {negative ? -value : value, static_cast<std::size_t>(good - text.c_str())};
}

void expectAsSlow(const std::string& text) {
  const Read expected = slowParse(text);
  const char* end = nullptr;
  const double value = gParseCDouble(text.c_str(), &end);
  ASSERT_EQ(static_cast<std::size_t>(end - text.c_str()), expected.length) << "'" << text << "'";
  if (std::isnan(expected.value)) {
    ASSERT_TRUE(std::isnan(value)) << "'" << text << "'";
  } else {
    ASSERT_EQ(bitsOf(value), bitsOf(expected.value))
        << "'" << text << "' " << value << " " << expected.value;
  }
}

// ---- gParseCDouble

struct NumberRow {
  const char* text;
  double value;
  std::size_t length;
};

TEST(ParseCDouble, ReadsAndStops) {
  const NumberRow rows[] = {
      {"1.5e3", 1500, 5},
      {"-.5", -0.5, 3},
      {"+.5", 0.5, 3},
      {"5.", 5, 2},
      {"5.x", 5, 2},
      {"1.2.3", 1.2, 3},
      {"1e5e3", 1e5, 3},
      {"1e5.3", 1e5, 3},
      {"12345678901234", 12345678901234.0, 14},
      {"12345678", 12345678, 8},
      {"123456789", 123456789, 9},
      {"12345678.", 12345678, 9},
      {"12345678.5", 12345678.5, 10},
      {"12345678e1", 123456780, 10},
      {" \t\n\v\f\r7", 7, 7},
      {"1e", 1, 1},
      {"1e+", 1, 1},
      {"1e-", 1, 1},
      {"1e+x", 1, 1},
      {"1.e2", 100, 4},
      {"1E2", 100, 3},
      {"1e+2", 100, 4},
      {"1e0", 1, 3},
      {"1e00000000002", 100, 13},
      {"00000000000000012", 12, 17},
      {"0.000000001", 1e-9, 11},
      {"7 8", 7, 1},
      {"0x10", 0, 1},
      {"1,5", 1, 1},
      {".", 0, 0},
      {".e5", 0, 0},
      {"e5", 0, 0},
      {"", 0, 0},
      {"  ", 0, 0},
      {"x", 0, 0},
      {"abc", 0, 0},
      {"+", 0, 0},
      {" +x", 0, 0},
      {"+ 1", 0, 0},
      {"inf", 0, 0},
      {"nan", 0, 0},
      {"\xb2", 0, 0},
      {"\xa0"
       "1",
       0, 0},
  };
  for (const NumberRow& row : rows) {
    const char* end = nullptr;
    EXPECT_DOUBLE_EQ(gParseCDouble(row.text, &end), row.value) << row.text;
    EXPECT_EQ(static_cast<std::size_t>(end - row.text), row.length) << row.text;
    EXPECT_EQ(gParseCDouble(row.text, static_cast<const char**>(nullptr)),
              gParseCDouble(row.text, &end));
    expectAsSlow(row.text);
  }
}

TEST(ParseCDouble, TheShortFormsTellWhetherAnythingWasRead) {
  double value = -1;
  EXPECT_TRUE(gParseCDouble("1.5 and more", &value));
  EXPECT_EQ(value, 1.5);
  EXPECT_FALSE(gParseCDouble("  ", &value));
  EXPECT_EQ(value, 0);
  EXPECT_FALSE(gParseCDouble("x", &value));
  float narrow = -1;
  EXPECT_TRUE(gParseCDouble("0.1", &narrow));
  EXPECT_EQ(narrow, 0.1F);
  EXPECT_FALSE(gParseCDouble("", &narrow));
}

TEST(ParseCDouble, ANegativeZeroKeepsItsSign) {
  double value = 1;
  EXPECT_TRUE(gParseCDouble("-0", &value));
  EXPECT_TRUE(std::signbit(value));
}

TEST(ParseCDouble, KeepsTheLastBitsOfItsMethod) {
  // None of these is the correctly rounded number.
  struct {
    const char* text;
    std::uint64_t bits;
  } const rows[] = {{"1e-9", bitsOf(slowPower(-9))},
                    {"1e23", bitsOf(slowPower(23))},
                    {"1e300", bitsOf(slowPower(300))},
                    {"1e-300", bitsOf(slowPower(-300))}};
  for (const auto& row : rows) {
    const char* end = nullptr;
    EXPECT_EQ(bitsOf(gParseCDouble(row.text, &end)), row.bits) << row.text;
  }
  EXPECT_NE(bitsOf(slowPower(-300)), bitsOf(std::strtod("1e-300", nullptr)));
}

TEST(ParseCDouble, OutOfRangeIsInfiniteOrZeroAndNoError) {
  const NumberRow rows[] = {{"1e309", infinity, 0},
                            {"-1e309", -infinity, 0},
                            {"1e99999999", infinity, 0},
                            {"1e-99999999", 0, 0},
                            {"1e-325", 0, 0},
                            {"0e-99999999", 0, 0},
                            {"1e9999999999999999999999", infinity, 0},
                            {"1e-9999999999999999999999", 0, 0}};
  for (const NumberRow& row : rows) {
    errno = 0;
    const char* end = nullptr;
    EXPECT_EQ(gParseCDouble(row.text, &end), row.value) << row.text;
    EXPECT_EQ(*end, '\0') << row.text;
    EXPECT_EQ(errno, 0);
  }
}

TEST(ParseCDouble, ZeroTimesAnInfinitePowerIsNoNumber) {
  double value = 0;
  EXPECT_TRUE(gParseCDouble("0e400", &value));
  EXPECT_TRUE(std::isnan(value));
}

TEST(ParseCDouble, AnExponentIsAppliedByGroupsOfEightDigits) {
  // 10^1, then 10^2: not 10^(100000002).
  double value = 0;
  EXPECT_TRUE(gParseCDouble("1e000000012", &value));
  EXPECT_EQ(value, 1000);
  expectAsSlow("1e000000012");
}

TEST(ParseCDouble, EveryPowerIsTheSlowOne) {
  for (int e = -400; e <= 400; ++e) {
    expectAsSlow("1e" + std::to_string(e));
    expectAsSlow("9.87654321e" + std::to_string(e));
    if (e > 0) {
      expectAsSlow("0." + std::string(static_cast<std::size_t>(e), '0') + "123456789");
      expectAsSlow("123456789" + std::string(static_cast<std::size_t>(e), '0'));
    }
  }
}

TEST(ParseCDouble, LongTextsTakeLinearTime) {
  const std::string zeros(4'000'000, '0');
  const std::string nines(4'000'000, '9');
  double value = 0;
  EXPECT_TRUE(gParseCDouble(("0." + zeros + "1").c_str(), &value));
  EXPECT_EQ(value, 0);
  EXPECT_TRUE(gParseCDouble(nines.c_str(), &value));
  EXPECT_EQ(value, infinity);
  EXPECT_TRUE(gParseCDouble(("1e" + nines).c_str(), &value));
  EXPECT_EQ(value, infinity);
  EXPECT_TRUE(gParseCDouble(("1e-" + nines).c_str(), &value));
  EXPECT_EQ(value, 0);
}

TEST(ParseCDouble, TheLocaleHasNoSay) {
  const std::string previous = std::setlocale(LC_NUMERIC, nullptr);
  for (const char* name : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8"}) {
    if (std::setlocale(LC_NUMERIC, name) != nullptr) break;
  }
  const char* end = nullptr;
  EXPECT_EQ(gParseCDouble("1.5", &end), 1.5);
  EXPECT_EQ(gParseCDouble("1,5", &end), 1);
  std::setlocale(LC_NUMERIC, previous.c_str());
}

TEST(ParseCDouble, AgreesWithTheSlowMethodBitForBit) {
  std::mt19937 random(6);
  const auto digits = [&](std::size_t maxCount) {
    std::string text;
    const bool zeros = random() % 4 == 0;
    for (std::size_t n = random() % (maxCount + 1); n != 0; --n) {
      text.push_back(zeros ? '0' : static_cast<char>('0' + random() % 10));
    }
    return text;
  };
  const auto oneOf = [&](std::initializer_list<const char*> texts) {
    return std::string(texts.begin()[random() % texts.size()]);
  };
  for (int i = 0; i < 100000; ++i) {
    std::string text = oneOf({"", "", " ", "\t"}) + oneOf({"", "", "-", "+"});
    text += digits(random() % 3 == 0 ? 30 : 9);
    if (random() % 2 != 0) text += "." + digits(random() % 3 == 0 ? 30 : 9);
    if (random() % 2 != 0) text += oneOf({"e", "E"}) + oneOf({"", "-", "+"}) + digits(3);
    if (random() % 50 == 0) text += digits(12);
    text += oneOf({"", "", ".", "e", "x", " ", ".5"});
    expectAsSlow(text);
    if (HasFatalFailure()) return;
  }
}

TEST(ParseCDouble, AgreesWithTheSlowMethodOnShuffledCharacters) {
  std::mt19937 random(7);
  static constexpr char alphabet[] = "0123456789..eE+- ";
  for (int i = 0; i < 100000; ++i) {
    std::string text;
    for (std::size_t n = random() % 14; n != 0; --n) {
      text.push_back(alphabet[random() % (sizeof alphabet - 1)]);
    }
    expectAsSlow(text);
    if (HasFatalFailure()) return;
  }
}

// ---- strtol and strtoul with 32 bits

constexpr std::int32_t minLong = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t maxLong = std::numeric_limits<std::int32_t>::max();
constexpr std::uint32_t maxUnsigned = std::numeric_limits<std::uint32_t>::max();
constexpr int untouched = 12345;

struct LongRow {
  const char* text;
  int base;
  std::int32_t value;
  std::size_t length;
  bool outOfRange;
};

TEST(ParseLong32, ClampsAtTheLimitsOf32Bits) {
  const LongRow rows[] = {{"0", 10, 0, 1, false},
                          {"2147483647", 10, maxLong, 10, false},
                          {"2147483648", 10, maxLong, 10, true},
                          {"-2147483648", 10, minLong, 11, false},
                          {"-2147483649", 10, minLong, 11, true},
                          {"9223372036854775807", 10, maxLong, 19, true},
                          {"99999999999999999999999", 10, maxLong, 23, true},
                          {"-99999999999999999999999", 10, minLong, 24, true},
                          {"0xFFFFFFFFF", 0, maxLong, 11, true},
                          {"0x7fffffff", 16, maxLong, 10, false},
                          {"017", 0, 15, 3, false},
                          {"17", 8, 15, 2, false},
                          {"zz", 36, 35 * 36 + 35, 2, false},
                          {" \t+7x", 10, 7, 4, false},
                          {"0x", 16, 0, 1, false},
                          {"x", 10, 0, 0, false},
                          {"", 10, 0, 0, false},
                          {" -", 10, 0, 0, false}};
  for (const LongRow& row : rows) {
    errno = untouched;
    const char* end = nullptr;
    EXPECT_EQ(loomkit::parseLong32(row.text, &end, row.base), row.value) << row.text;
    EXPECT_EQ(static_cast<std::size_t>(end - row.text), row.length) << row.text;
    EXPECT_EQ(errno, row.outOfRange ? ERANGE : untouched) << row.text;
    EXPECT_EQ(loomkit::parseLong32(row.text, nullptr, row.base), row.value) << row.text;
  }
}

struct UnsignedRow {
  const char* text;
  int base;
  std::uint32_t value;
  std::size_t length;
  bool outOfRange;
};

TEST(ParseUnsignedLong32, ClampsAtTheLimitOf32BitsAndNegates) {
  const UnsignedRow rows[] = {{"0", 10, 0, 1, false},
                              {"4294967295", 10, maxUnsigned, 10, false},
                              {"4294967296", 10, maxUnsigned, 10, true},
                              {"18446744073709551615", 10, maxUnsigned, 20, true},
                              {"99999999999999999999999", 10, maxUnsigned, 23, true},
                              {"-99999999999999999999999", 10, maxUnsigned, 24, true},
                              {"-18446744073709551615", 10, maxUnsigned, 21, true},
                              {"-1", 10, maxUnsigned, 2, false},
                              {" -1", 10, maxUnsigned, 3, false},
                              {"-4294967295", 10, 1, 11, false},
                              {"-4294967296", 10, maxUnsigned, 11, true},
                              {"-0", 10, 0, 2, false},
                              {"0xFFFFFFFFF", 0, maxUnsigned, 11, true},
                              {"0xFFFFFFFF", 0, maxUnsigned, 10, false},
                              {"037777777777", 0, maxUnsigned, 12, false},
                              {"+5.", 10, 5, 2, false},
                              {"x", 10, 0, 0, false},
                              {"", 0, 0, 0, false},
                              {"-", 0, 0, 0, false}};
  for (const UnsignedRow& row : rows) {
    errno = untouched;
    const char* end = nullptr;
    EXPECT_EQ(loomkit::parseUnsignedLong32(row.text, &end, row.base), row.value) << row.text;
    EXPECT_EQ(static_cast<std::size_t>(end - row.text), row.length) << row.text;
    EXPECT_EQ(errno, row.outOfRange ? ERANGE : untouched) << row.text;
    EXPECT_EQ(loomkit::parseUnsignedLong32(row.text, nullptr, row.base), row.value) << row.text;
  }
}

}  // namespace
