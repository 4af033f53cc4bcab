// SPDX-License-Identifier: MIT
#include "loomkit/xbase/field.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <random>

#include "tests/xbase/table_fixture.h"

namespace loomkit::xbase {
namespace {

class XBaseField : public TableTest {
 protected:
  /// What a field of that kind holds after the assignment.
  template <class Assign>
  std::string assigned(char type, unsigned width, unsigned decimals, Assign assign) {
    engine.safety = false;
    const TableOwner table =
        createDataFile(engine, scratch / "t.dbf",
                       {{"A", 'C', 1, 0}, {"F", type, width, decimals}, {"Z", 'C', 1, 0}});
    EXPECT_NE(table, nullptr);
    if (table == nullptr) return {};
    blank(*table);
    assignText(*table, 0, "<");
    assignText(*table, 2, ">");
    assign(*table);
    EXPECT_EQ(fieldText(*table, 0), "<");
    EXPECT_EQ(fieldText(*table, 2), ">");
    return std::string(fieldText(*table, 1));
  }
  std::string asDouble(unsigned width, unsigned decimals, double value) {
    return assigned('N', width, decimals, [&](DataFile& data) { assignDouble(data, 1, value); });
  }
  std::string asLong(unsigned width, unsigned decimals, long value) {
    return assigned('N', width, decimals, [&](DataFile& data) { assignLong(data, 1, value); });
  }
  std::string asText(unsigned width, std::string_view value) {
    return assigned('C', width, 0, [&](DataFile& data) { assignText(data, 1, value); });
  }
};

TEST_F(XBaseField, TextsArePaddedOrCut) {
  EXPECT_EQ(asText(5, "abc"), "abc  ");
  EXPECT_EQ(asText(5, "abcdefgh"), "abcde");
  EXPECT_EQ(asText(5, ""), "     ");
  EXPECT_EQ(asText(300, std::string(400, 'x')), std::string(300, 'x'));
  EXPECT_EQ(assigned('L', 1, 0, [](DataFile& data) { assignChar(data, 1, 'T'); }), "T");
  EXPECT_EQ(assigned('C', 3, 0, [](DataFile& data) { assignChar(data, 1, 'q'); }), "q  ");
  EXPECT_EQ(assigned('D', 0, 0, [](DataFile& data) { assignText(data, 1, "19950726"); }),
            "19950726");
}

TEST_F(XBaseField, DoublesStandRightAtTheirDecimals) {
  EXPECT_EQ(asDouble(8, 2, 1.5), "    1.50");
  EXPECT_EQ(asDouble(8, 2, -12.345), "  -12.35");
  EXPECT_EQ(asDouble(8, 0, 2.5), "       2") << "halves go to the even digit";
  EXPECT_EQ(asDouble(8, 0, 3.5), "       4");
  EXPECT_EQ(asDouble(8, 3, 0), "   0.000");
}

// Half a million numbers: such with few digits, such that lie halfway between two
// texts or next to it, and any.
TEST_F(XBaseField, NumbersAreRoundedFromTheirExactValue) {
  std::mt19937_64 random(20261122);
  const auto randomNumber = [&](unsigned decimals) {
    const double power = std::pow(10.0, decimals);
    const auto whole = static_cast<double>(random() % 2'000'000'000) - 1e9;
    switch (random() % 5) {
      case 0:
        return whole / 100;
      case 1:
        return (whole + 0.5) / power;
      case 2:
        return std::nextafter((whole + 0.5) / power, random() % 2 == 0 ? -1e300 : 1e300);
      case 3:
        return whole * std::pow(10.0, static_cast<double>(random() % 30) - 20);
      default:
        return std::ldexp(whole, static_cast<int>(random() % 60) - 50);
    }
  };
  constexpr std::size_t width = 60;
  char found[width];
  char text[400];
  for (int i = 0; i < 500000; ++i) {
    const auto decimals = static_cast<unsigned>(random() % 20);
    const double value = randomNumber(decimals);
    const bool isFitting = formatNumber(value, found, width, decimals);
    ASSERT_TRUE(isFitting) << value;
    const std::to_chars_result end = std::to_chars(
        text, std::end(text), value, std::chars_format::fixed, static_cast<int>(decimals));
    std::string expected(text, end.ptr);
    expected.insert(0, width - expected.size(), ' ');
    ASSERT_EQ(std::string_view(found, width), expected) << i;
  }
}

TEST_F(XBaseField, ANumberThatDoesNotFitGivesUpDecimalsThenBecomesStars) {
  EXPECT_EQ(asDouble(6, 2, 1234.56), "1234.6");
  EXPECT_EQ(asDouble(6, 2, 12345.6), " 12346");
  EXPECT_EQ(asDouble(6, 2, 999999.4), "999999");
  EXPECT_EQ(asDouble(6, 2, 999999.6), "******");
  EXPECT_EQ(asDouble(6, 2, -99999.9), "******");
  EXPECT_EQ(asDouble(6, 2, 1e300), "******");
  EXPECT_EQ(asDouble(6, 2, std::nan("")), "******");
  EXPECT_EQ(asDouble(6, 2, HUGE_VAL), "******");
  EXPECT_EQ(asDouble(255, 254, 1e300), std::string(255, '*'));
}

TEST_F(XBaseField, WholeNumbersGetTheirDecimalsAsZeros) {
  EXPECT_EQ(asLong(8, 2, 42), "   42.00");
  EXPECT_EQ(asLong(8, 0, -42), "     -42");
  EXPECT_EQ(asLong(4, 2, 42), "42.0");
  EXPECT_EQ(asLong(3, 2, 42), " 42");
  EXPECT_EQ(asLong(2, 1, 42), "42");
  EXPECT_EQ(asLong(2, 1, 420), "**");
  EXPECT_EQ(asLong(1, 0, -4), "*");
  EXPECT_EQ(asLong(20, 0, 2147483647), std::string(10, ' ') + "2147483647");
}

TEST(XBaseNumber, IsReadAsFarAsItGoes) {
  const struct {
    const char* text;
    double value;
  } rows[] = {{"", 0},
              {"    ", 0},
              {"  12", 12},
              {"12  ", 12},
              {" 1 2", 1},
              {"-1.5", -1.5},
              {"- 1", 0},
              {"+7", 7},
              {"+-7", 0},
              {".5", 0.5},
              {"-.5", -0.5},
              {"5.", 5},
              {"1..2", 1},
              {"1.2.3", 1.2},
              {"1e3", 1000},
              {"1E-2", 0.01},
              {"1e", 1},
              {"****", 0},
              {"?", 0},
              {"abc", 0},
              {"inf", 0},
              {"nan", 0},
              {"0x10", 0},
              {"1e400", HUGE_VAL},
              {"-1e400", -HUGE_VAL},
              {"1e-400", 0},
              {"123456789012345678901234567890", 123456789012345678901234567890.0}};
  for (const auto& row : rows) EXPECT_EQ(parseNumber(row.text), row.value) << row.text;
  EXPECT_EQ(parseNumber(std::string_view("\0\0 7\0", 5)), 7) << "zero bytes are blanks";
}

// The short way and the long one give the nearest double, as strtod does.
TEST(XBaseNumber, IsTheNearestOne) {
  std::mt19937_64 random(20261122);
  for (int i = 0; i < 20000; ++i) {
    const auto digits = static_cast<long long>(random() >> (random() % 64));
    std::string text = std::to_string(digits);
    text.insert(static_cast<std::size_t>(random()) % (text.size() + 1), ".");
    if (random() % 2 == 0) text.insert(0, "-");
    EXPECT_EQ(parseNumber(text), std::strtod(text.c_str(), nullptr)) << text;
  }
}

// What is written is read again as the number at the field's decimals.
TEST(XBaseNumber, ComesBackFromItsField) {
  std::mt19937_64 random(20261123);
  for (int i = 0; i < 20000; ++i) {
    const double value = (static_cast<double>(random() % 2000000) - 1000000) / 64;
    char out[20];
    ASSERT_TRUE(formatNumber(value, out, sizeof out, 6));
    EXPECT_EQ(parseNumber(std::string_view(out, sizeof out)), value);
  }
}

}  // namespace
}  // namespace loomkit::xbase
