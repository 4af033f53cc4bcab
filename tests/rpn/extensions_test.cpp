// SPDX-License-Identifier: MIT
// GRpnMapParamSet, GRpnFunctionTable and gRpnBuiltinWords().
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>

#include "loomkit/rpn/function_table.h"
#include "loomkit/rpn/map_param_set.h"
#include "loomkit/rpn/words.h"
#include "tests/rpn/rpn_fixture.h"

namespace {

using loomkit::testing::Evaluator;

struct Host : Evaluator {
  Host() {
    eval.setParamSet(params);
    eval.setExternFuncs(functions);
  }
  loomkit::Ref<GRpnMapParamSet> params = loomkit::make<GRpnMapParamSet>();
  loomkit::Ref<GRpnFunctionTable> functions = loomkit::make<GRpnFunctionTable>();
};

TEST(RpnMapParamSet, KeepsNumbersTextsAndValues) {
  Host host;
  host.params->set("n", 1.5);
  host.params->set("t", "text");
  host.params->set("s", std::string("a\0b", 3));
  host.params->set("v", GRpnValue());
  EXPECT_EQ(host.params->size(), 4U);
  EXPECT_EQ(host.run("$n $t ${v} $s size"), "1.5 \"text\" void 3");
  host.params->set("n", "now text");
  EXPECT_EQ(host.run("$n"), "\"now text\"");
  EXPECT_TRUE(host.params->erase("n"));
  EXPECT_FALSE(host.params->erase("n"));
  EXPECT_EQ(host.run("$n"), "rpn error: unknown parameter:\n >!< $n");
  EXPECT_EQ(host.run("$nn"), "rpn error: unknown parameter:\n >!< $nn");
  EXPECT_EQ(host.run("${n:-3}"), "3");
  host.params->clear();
  EXPECT_EQ(host.params->size(), 0U);
}

TEST(RpnMapParamSet, AValueCanReplaceTheVectorItLivesIn) {
  Host host;
  GRpnVector* const vector = new GRpnVector;
  vector->emplace_back(2.0);
  host.params->set("v", GRpnValue(vector));
  vector->decRef();
  host.params->set("v", (*vector)[0]);
  EXPECT_EQ(host.run("$v"), "2");
}

TEST(RpnFunctionTable, OperandsAreTheLambdasParameters) {
  Host host;
  host.functions->add("hypot", [](double x, double y) { return std::hypot(x, y); });
  host.functions->add("repeat", [](const std::string& s, double n) {
    std::string result;
    for (int i = 0; i < n; ++i) result += s;
    return result;
  });
  host.functions->add("type", [](const GRpnValue& v) { return std::string(v.getTypeName()); });
  host.functions->add("sum", [](const std::vector<GRpnValue>& v) {
    double sum = 0;
    for (const GRpnValue& element : v) sum += element.getNumber();
    return sum;
  });
  host.functions->add("pair", [](const GRpnValue& a, const GRpnValue& b) {
    return std::vector<GRpnValue>{a, b};
  });
  host.functions->add("zero", [] { return 0; });
  host.functions->add("positive", [](double x) { return x > 0; });
  host.functions->add("forget", [](const GRpnValue&) {});
  EXPECT_EQ(host.run("3 4 hypot"), "5");
  EXPECT_EQ(host.run("\"ab\" 3 repeat"), "\"ababab\"");
  EXPECT_EQ(host.run("1 type \"\" type NULL type"), "\"number\" \"string\" \"void\"");
  EXPECT_EQ(host.run("1 2 3 3 ] sum"), "6");
  EXPECT_EQ(host.run("1 @a pair"), "[1 @a]");
  EXPECT_EQ(host.run("zero 1 positive -1 positive"), "0 1 0");
  EXPECT_EQ(host.run("1 2 forget"), "1");
}

TEST(RpnFunctionTable, OperandsThatDoNotFitAreRefusedBeforeTheCall) {
  Host host;
  int calls = 0;
  host.functions->add("f", [&](double, const std::string&) { ++calls; });
  host.functions->add("v", [&](const std::vector<GRpnValue>&) { ++calls; });
  EXPECT_EQ(host.run("f"), "rpn error: stack underflow:\nf >!< ");
  EXPECT_EQ(host.run("@a f"), "rpn error: stack underflow:\n@a f >!< ");
  EXPECT_EQ(host.run("1 2 f"), "rpn error: stack[0] is not a string:\n1 2 f >!< ");
  EXPECT_EQ(host.run("@a @b f"), "rpn error: stack[1] is not a number:\n@a @b f >!< ");
  EXPECT_EQ(host.run("1 v"), "rpn error: stack[0] is not a vector:\n1 v >!< ");
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(host.run("1 @b f"), "");
  EXPECT_EQ(calls, 1);
}

TEST(RpnFunctionTable, IntegersAreWholeNumbersWithinTheirRange) {
  Host host;
  host.functions->add("int", [](int n) { return n; });
  host.functions->add("unsigned", [](unsigned n) { return n; });
  host.functions->add("short", [](short n) { return n; });
  host.functions->add("int64", [](std::int64_t n) { return n; });
  host.functions->add("uint64", [](const std::uint64_t& n) { return n; });
  host.functions->add("single", [](float x) { return x; });
  const struct {
    const char* expression;
    const char* result;
  } rows[] = {
      {"-2147483648 int 2147483647 int", "-2147483648 2147483647"},
      {"-0 int 7.0 unsigned", "0 7"},
      {"4294967295 unsigned", "4294967295"},
      {"32767 short", "32767"},
      {"-9223372036854775808 int64", "-9.2233720368547758e+18"},
      {"18446744073709549568 uint64", "1.844674407370955e+19"},
      {"0.5 single", "0.5"},
  };
  for (const auto& row : rows) EXPECT_EQ(host.run(row.expression), row.result) << row.expression;
  const struct {
    const char* expression;
    const char* range;
  } refused[] = {
      {"2147483648 int", "-2147483648 to 2147483647"},
      {"-2147483649 int", "-2147483648 to 2147483647"},
      {"1.5 int", "-2147483648 to 2147483647"},
      {"-1 unsigned", "0 to 4294967295"},
      {"4294967296 unsigned", "0 to 4294967295"},
      {"32768 short", "-32768 to 32767"},
      {"9223372036854775808 int64", "-9223372036854775808 to 9223372036854775807"},
      {"18446744073709551616 uint64", "0 to 18446744073709551615"},
  };
  for (const auto& row : refused) {
    EXPECT_EQ(host.run(row.expression),
              std::string("rpn error: stack[0] is not a whole number from ") + row.range + ":\n" +
                  row.expression + " >!< ");
  }
  const double nan = std::nan("");
  host.params->set("nan", nan);
  EXPECT_EQ(host.run("$nan int"),
            "rpn error: stack[0] is not a whole number from -2147483648 to "
            "2147483647:\n$nan int >!< ");
  EXPECT_EQ(host.run("@a int"), "rpn error: stack[0] is not a number:\n@a int >!< ");
}

TEST(RpnFunctionTable, BoolsAreNumbersThatAreNotZero) {
  Host host;
  host.functions->add("not", [](bool b) { return !b; });
  host.params->set("nan", std::nan(""));
  EXPECT_EQ(host.run("0 not 2 not -0.1 not $nan not"), "1 0 0 1");
  EXPECT_EQ(host.run("@a not"), "rpn error: stack[0] is not a number:\n@a not >!< ");
}

TEST(RpnFunctionTable, TextsAreViewedWithoutACopy) {
  Host host;
  host.functions->add("left", [](std::string_view text, unsigned n) { return text.substr(0, n); });
  host.functions->add("greet",
                      [](const std::string_view& name) { return "hello " + std::string(name); });
  host.functions->add("literal", [] { return "literal"; });
  EXPECT_EQ(host.run("\"abcdef\" 3 left"), "\"abc\"");
  EXPECT_EQ(host.run("\"you\" greet literal"), "\"hello you\" \"literal\"");
  EXPECT_EQ(host.run("1 greet"), "rpn error: stack[0] is not a string:\n1 greet >!< ");
}

TEST(RpnFunctionTable, OptionalOperandsMayBeMissing) {
  Host host;
  host.functions->add("f",
                      [](double x, std::optional<int> y, const std::optional<std::string_view>& z) {
                        return std::to_string(static_cast<int>(x)) + "," +
                               (y ? std::to_string(*y) : "-") + "," + (z ? std::string(*z) : "-");
                      });
  host.functions->add("g", [](std::optional<double> x, GRpnErrMsg*) { return x.has_value(); });
  EXPECT_EQ(host.run("1 2 @c f"), "\"1,2,c\"");
  EXPECT_EQ(host.run("1 2 f"), "\"1,2,-\"");
  EXPECT_EQ(host.run("1 f"), "\"1,-,-\"");
  EXPECT_EQ(host.run("1 NULL NULL f"), "\"1,-,-\"");
  EXPECT_EQ(host.run("f"), "rpn error: stack underflow:\nf >!< ");
  EXPECT_EQ(host.run("1 @b f"), "rpn error: stack[0] is not a number:\n1 @b f >!< ");
  EXPECT_EQ(host.run("@a 2 f"), "rpn error: stack[1] is not a number:\n@a 2 f >!< ");
  EXPECT_EQ(host.run("1 2 3 f"), "rpn error: stack[0] is not a string:\n1 2 3 f >!< ");
  EXPECT_EQ(host.run("g 1 g"), "0 1");
}

double twice(double x) noexcept { return 2 * x; }

TEST(RpnFunctionTable, FunctionsThatThrowNothingFitToo) {
  Host host;
  host.functions->add("twice", twice);
  host.functions->add("half", [](double x) noexcept { return x / 2; });
  EXPECT_EQ(host.run("4 twice half"), "4");
}

TEST(RpnFunctionTable, AFunctionCanFailWithAReason) {
  Host host;
  host.functions->add("inverse", [](double x, GRpnErrMsg* err) -> std::optional<double> {
    if (x != 0) return 1 / x;
    err->append("no inverse of zero");
    return std::nullopt;
  });
  host.functions->add("fail", []() -> std::optional<std::string> { return std::nullopt; });
  EXPECT_EQ(host.run("4 inverse"), "0.25");
  EXPECT_EQ(host.run("0 inverse"), "rpn error: no inverse of zero:\n0 inverse >!< ");
  EXPECT_EQ(host.run("fail"), "rpn error: <no error>:\nfail >!< ");
}

TEST(RpnFunctionTable, ExpressionsAreLocalFunctions) {
  Host host;
  host.functions->addExpression("square", "1 argc $0 $0 *");
  host.functions->addExpression("bad", "1 argc $0 oops");
  EXPECT_EQ(host.run("3 square square"), "81");
  EXPECT_EQ(host.run("3 bad"),
            "rpn error: unknown function:\n1 argc $0 oops >!< \n"
            "rpn error: error in local function \"bad\":\n3 bad >!< ");
}

TEST(RpnFunctionTable, KnowsItsNames) {
  Host host;
  host.functions->add("b", [] {});
  host.functions->addExpression("a", "");
  EXPECT_TRUE(host.functions->contains("a"));
  EXPECT_FALSE(host.functions->contains("c"));
  EXPECT_EQ(host.functions->names(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(host.run("c"), "rpn error: unknown function:\nc >!< ");
}

TEST(RpnWords, AreFiftyThreeSortedBytewiseAndAllFound) {
  const std::vector<std::string> words = gRpnBuiltinWords();
  EXPECT_EQ(words.size(), 53U);
  EXPECT_TRUE(std::is_sorted(words.begin(), words.end()));
  Evaluator e;
  for (const std::string& word : words) {
    const std::string result = e.run(("1 " + word).c_str());
    EXPECT_EQ(result.find("unknown function"), std::string::npos) << word;
    // One letter less or more is another word, or none.
    for (const std::string& other : {word + "q", word.substr(0, word.size() - 1)}) {
      if (std::find(words.begin(), words.end(), other) != words.end() || other.empty()) continue;
      EXPECT_NE(e.run(("1 " + other).c_str()).find("unknown function"), std::string::npos) << other;
    }
  }
}

}  // namespace
