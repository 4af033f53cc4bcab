// SPDX-License-Identifier: MIT
#include "tools/loom/value_text.h"

#include <gtest/gtest.h>

#include "tools/loom/command.h"
#include "tools/loom/rpn_host.h"
#include "tools/loom/rpn_report.h"

namespace {

GRpnValue valueOf(const std::string& expr) {
  loom::RpnHost host{loom::Invocation()};
  std::vector<GRpnValue> results;
  EXPECT_TRUE(host.evaluate(expr, &results)) << expr;
  return results.empty() ? GRpnValue() : results.back();
}

TEST(ValueText, WritesEachTypeAsAnExpressionWould) {
  struct Row {
    const char* expr;
    const char* text;
  };
  const Row rows[] = {{"1 3 /", "0.333333333333333"},
                      {"1e21", "1e+21"},
                      {"-0.0", "-0"},
                      {"1e999", "inf"},
                      {"1e999 neg", "-inf"},
                      {"1e999 dup -", "nan"},
                      {"NULL", "NULL"},
                      {"@red", "@red"},
                      {"\"a b\"", "\"a b\""},
                      {"\"\\042\\134\\012\\0\\177\\377\"", "\"\\042\\134\\012\\000\\177\377\""},
                      {"0 ]", "[]"},
                      {"1 NULL \"x\" 0 ] @s 2 ] 4 ]", "[1 NULL \"x\" [[] @s]]"}};
  for (const Row& row : rows) {
    EXPECT_EQ(loom::valueText(valueOf(row.expr)), row.text) << row.expr;
  }
  EXPECT_EQ(loom::numberText(0.1, 17), "0.10000000000000001");
}

TEST(ValueText, ALiteralReadsBackAsTheSameText) {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
  const GRpnValue value = valueOf(loom::stringLiteral(bytes));
  ASSERT_EQ(value.getType(), GRpnValue::String);
  EXPECT_EQ(*value.getString(), bytes);
}

TEST(ValueText, DepthCostsNoMachineStack) {
  std::string expr = "0 ]";
  constexpr int depth = 200000;
  for (int i = 0; i < depth; ++i) expr += " 1 ]";
  const GRpnValue value = valueOf(expr);
  EXPECT_EQ(loom::valueText(value).size(), 2U * (depth + 1));
}

TEST(ValueText, RefusesWhatASharedVectorMakesEndless) {
  std::string expr = "1 1 ]";
  for (int i = 0; i < 60; ++i) expr += " dup 2 ]";
  const GRpnValue value = valueOf(expr);
  EXPECT_THROW(static_cast<void>(loom::valueText(value)), loom::Failure);
}

struct ReportRow {
  const char* what;
  const char* name;
  const char* expr;
  const char* message;
  const char* expression;
  int position;  // -1: none
};

TEST(RpnReport, IsTakenApart) {
  const ReportRow rows[] = {
      {"plain", "", "1 +", "stack underflow", "1 +", 2},
      {"with a name", "a: b", "1 +", "stack underflow", "1 +", 2},
      {"marker in a string", "", "\"x >!< y\" 1 +", "stack[1] is not a number", "\"x >!< y\" 1 +",
       12},
      {"in a default", "", "2 ${a:-1 0 /} +", "division by zero", "1 0 /", 4},
      {"without a position", "", "${a:-1 2}", "too many result values on stack", "1 2", -1},
      {"at the end", "", "\"abc", "unexpected end of expression", "\"abc", 4},
  };
  for (const ReportRow& row : rows) {
    loom::RpnHost host{loom::Invocation()};
    host.setName(row.name);
    std::vector<GRpnValue> results;
    EXPECT_FALSE(host.evaluate(row.expr, &results));
    const loom::RpnReport report = host.report();
    EXPECT_EQ(report.message, row.message) << row.what;
    EXPECT_EQ(report.expression, row.expression) << row.what;
    EXPECT_EQ(report.position ? static_cast<int>(*report.position) : -1, row.position) << row.what;
  }
}

TEST(RpnReport, TheCaretStandsUnderTheCharacter) {
  loom::RpnReport report{"", "m", "\t\"\xC3\xA9\" +", 6};
  EXPECT_EQ(loom::caretLines(report, "  "), "  \t\"\xC3\xA9\" +\n  \t    ^ m");
}

TEST(RpnHost, AZeroByteIsAnErrorOfItsOwn) {
  loom::RpnHost host{loom::Invocation()};
  std::vector<GRpnValue> results;
  EXPECT_FALSE(host.evaluate(std::string("1\0 2", 4), &results));
  EXPECT_EQ(host.report().message, "zero byte in the expression");
  EXPECT_EQ(host.report().position, 1U);
}

TEST(RpnHost, TypesTextsByTheirLook) {
  for (const char* const number : {"0", "-1.5", "+.5", "5.", "1e3"}) {
    EXPECT_EQ(loom::typedValue(number).getType(), GRpnValue::Number) << number;
  }
  for (const char* const text : {"", " 1", "1 ", "1e", "0x10", "abc", "nan", "inf", "-"}) {
    EXPECT_EQ(loom::typedValue(text).getType(), GRpnValue::String) << text;
  }
  EXPECT_EQ(loom::typedValue(std::string("1\0", 2)).getType(), GRpnValue::String);
}

}  // namespace
