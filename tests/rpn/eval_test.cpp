// SPDX-License-Identifier: MIT
// The evaluator as a host uses it: wrappers, handlers, parameters, functions.
#include "loomkit/rpn/eval.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>

#include "tests/capture_output.h"
#include "tests/rpn/rpn_fixture.h"

namespace {

using loomkit::testing::CaptureOutput;
using loomkit::testing::Evaluator;
using loomkit::testing::OutputLine;
using loomkit::testing::show;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(RpnEval, WrappersDemandTheirNumberOfResults) {
  Evaluator e;
  GRpnValue value(7.0);
  EXPECT_FALSE(e.eval.eval("", &value));
  EXPECT_FALSE(e.eval.eval("   ", &value));
  EXPECT_FALSE(e.eval.eval("1 2", &value));
  EXPECT_EQ(value.getNumber(), 7);  // untouched by failures
  EXPECT_TRUE(e.eval.evalVoid(""));
  EXPECT_TRUE(e.eval.evalVoid("1 pop"));
  EXPECT_FALSE(e.eval.evalVoid("1"));
  double number = 8;
  EXPECT_FALSE(e.eval.evalFloat("\"a\"", &number));
  EXPECT_FALSE(e.eval.evalFloat("", &number));
  EXPECT_FALSE(e.eval.evalFloat("1 2 3", &number));
  EXPECT_EQ(number, 8);
  bool truth = true;
  EXPECT_FALSE(e.eval.evalBool("@a", &truth));
  EXPECT_TRUE(truth);
  EXPECT_THAT(e.errors,
              ElementsAre("rpn error: stack underflow (no result)\nin: ",
                          "rpn error: stack underflow (no result)\nin:    ",
                          "rpn error: too many result values on stack\nin: 1 2",
                          "rpn error: too many result values on stack (expected none)\nin: 1",
                          "rpn error: result value is not a number\nin: \"a\"",
                          "rpn error: stack underflow (no result)\nin: ",
                          "rpn error: too many result values on stack\nin: 1 2 3",
                          "rpn error: result value is not a number\nin: @a"));
}

TEST(RpnEval, TruthIsEverythingThatIsLessOrGreaterThanZero) {
  Evaluator e;
  const std::pair<const char*, bool> rows[] = {{"0.0", false},  {"-0", false},
                                               {"0.5", true},   {"-1e-300", true},
                                               {"1e999", true}, {"1e999 1e999 -", false}};
  for (const auto& [expr, expected] : rows) {
    bool result = !expected;
    EXPECT_TRUE(e.eval.evalBool(expr, &result)) << expr;
    EXPECT_EQ(result, expected) << expr;
  }
}

TEST(RpnEval, TheListFormAppendsTheDeepestFirst) {
  Evaluator e;
  std::vector<GRpnValue> results{GRpnValue(9.0)};
  EXPECT_TRUE(e.eval.eval("1 2 @a", &results));
  ASSERT_EQ(results.size(), 4U);
  EXPECT_EQ(results[1].getNumber(), 1);
  EXPECT_EQ(show(results[3]), "@a");
  EXPECT_FALSE(e.eval.eval("5 6 +x", &results));
  EXPECT_EQ(results.size(), 4U);
}

TEST(RpnEval, PlainResultsStayOnTheStackAndWrappersLeaveThemAlone) {
  Evaluator e;
  EXPECT_TRUE(e.eval.eval("1 2"));
  double sum = 0;
  EXPECT_FALSE(e.eval.evalFloat("+", &sum));  // sees nothing below its own part
  EXPECT_TRUE(e.eval.evalFloat("40 2 +", &sum));
  EXPECT_EQ(sum, 42);
  EXPECT_TRUE(e.eval.evalVoid(""));
  std::vector<GRpnValue> results;
  EXPECT_TRUE(e.eval.eval("3", &results));
  EXPECT_EQ(results.size(), 1U);
}

TEST(RpnEval, ReportsThroughGOutputByDefault) {
  CaptureOutput channel;
  GRpnEval eval;
  eval.setExprName("price");
  EXPECT_FALSE(eval.evalVoid("1 +"));
  eval.resetExprName();
  EXPECT_FALSE(eval.evalVoid("1"));
  eval.setExprName("x");
  EXPECT_FALSE(eval.evalVoid("1"));
  EXPECT_THAT(
      channel.lines,
      ElementsAre(
          OutputLine{4, "_generic", "price: rpn error: stack underflow:\n1  >!< +"},
          OutputLine{4, "_generic",
                     "rpn error: too many result values on stack (expected none)\nin: 1"},
          OutputLine{4, "_generic",
                     "x: rpn error: too many result values on stack (expected none)\nin: 1"}));
}

int handlersDestroyed = 0;
struct Destructible : GRpnEval::ErrorHandler {
  ~Destructible() { ++handlersDestroyed; }
  void error(const std::string&) override {}
};

TEST(RpnEval, HandlersAreFreedWithoutTheirDestructor) {
  {
    GRpnEval eval;
    eval.setErrorHandler(new Destructible);
    eval.setErrorHandler(new Destructible);
  }
  EXPECT_EQ(handlersDestroyed, 0);
}

TEST(RpnEval, AHandlerThatIsSetTwiceStays) {
  struct Counting : GRpnEval::ErrorHandler {
    void error(const std::string&) override { ++count; }
    int count = 0;
  };
  GRpnEval eval;
  auto* const handler = new Counting;
  eval.setErrorHandler(handler);
  eval.setErrorHandler(handler);
  EXPECT_FALSE(eval.evalVoid("="));
  EXPECT_EQ(handler->count, 1);
}

// Parameters and functions of a test, with a look at their end.
struct Params : GRpnParamSet {
  explicit Params(bool* endedFlag = nullptr) : ended(endedFlag) {}
  bool lookup(const char* name, unsigned length, GRpnValue* value, GRpnErrMsg* err) override {
    EXPECT_EQ(value->getType(), GRpnValue::Void);
    asked.emplace_back(name, length);
    const auto found = values.find(asked.back());
    if (found == values.end()) {
      if (!complaint.empty()) err->append(complaint);
      return false;
    }
    *value = found->second;
    return true;
  }
  std::map<std::string, GRpnValue> values;
  std::vector<std::string> asked;
  std::string complaint;

 protected:
  ~Params() override {
    if (ended != nullptr) *ended = true;
  }

 private:
  bool* ended;
};

struct Functions : GRpnExternFuncs {
  using Function = std::function<bool(GRpnEval*, GRpnErrMsg*)>;
  explicit Functions(bool* endedFlag = nullptr) : ended(endedFlag) {}
  bool call(const char* name, unsigned length, GRpnEval* eval, GRpnErrMsg* err) override {
    const auto found = functions.find(std::string(name, length));
    return found != functions.end() && found->second(eval, err);
  }
  std::map<std::string, Function> functions;

 protected:
  ~Functions() override {
    if (ended != nullptr) *ended = true;
  }

 private:
  bool* ended;
};

TEST(RpnEval, SetsAreCounted) {
  bool paramsEnded = false;
  bool functionsEnded = false;
  {
    GRpnEval eval;
    Params* const params = new Params(&paramsEnded);
    Functions* const functions = new Functions(&functionsEnded);
    EXPECT_EQ(params->incRef(), params);
    params->decRef();
    eval.setParamSet(params);
    eval.setParamSet(params);  // the reference is taken before the old one goes
    eval.setExternFuncs(functions);
    eval.setExternFuncs(functions);
    params->decRef();
    functions->decRef();
    EXPECT_FALSE(paramsEnded);
    EXPECT_FALSE(functionsEnded);
    eval.setParamSet(nullptr);
    EXPECT_TRUE(paramsEnded);
  }
  EXPECT_TRUE(functionsEnded);
}

struct WithSets : Evaluator {
  WithSets() : params(new Params), functions(new Functions) {
    eval.setParamSet(params);
    eval.setExternFuncs(functions);
    params->decRef();
    functions->decRef();
  }
  Params* params;
  Functions* functions;
};

TEST(RpnEval, ParametersAreLookedUpByNameAndLength) {
  WithSets e;
  e.params->values["a"] = GRpnValue(2.0);
  e.params->values["_b1"] = GRpnValue(3.0);
  EXPECT_EQ(e.run("$a${_b1}*"), "6");
  EXPECT_EQ(e.run("$a ${a:-sin} +"), "4");  // a default that is not needed never runs
  EXPECT_THAT(e.params->asked, ElementsAre("a", "_b1", "a", "a"));
}

TEST(RpnEval, AParameterSetsOwnReasonIsReported) {
  WithSets e;
  EXPECT_EQ(e.run("1 $x"), "rpn error: <no error>:\n1  >!< $x");
  e.params->complaint = "no such thing";
  EXPECT_EQ(e.run("$x"), "rpn error: no such thing:\n >!< $x");
  EXPECT_EQ(e.run("${x:-4}"), "4");
}

TEST(RpnEval, AFailedFunctionIsReportedBehindItsWord) {
  WithSets e;
  e.functions->functions["fail"] = [](GRpnEval*, GRpnErrMsg* err) {
    err->append("too ");
    err->append(std::string("ba"));
    err->append('d');
    return false;
  };
  EXPECT_EQ(e.run("1 fail 2"), "rpn error: too bad:\n1 fail >!<  2");
  EXPECT_EQ(e.run("1 other 2"), "rpn error: <no error>:\n1 other >!<  2");
}

TEST(RpnEval, ABuiltInWordGoesBeforeAFunctionOfItsName) {
  WithSets e;
  e.functions->functions["sin"] = [](GRpnEval* eval, GRpnErrMsg*) {
    eval->push(42.0);
    return true;
  };
  EXPECT_EQ(e.run("0 sin"), "0");
}

TEST(RpnEval, FunctionsPopAndPush) {
  WithSets e;
  e.functions->functions["swap3"] = [](GRpnEval* eval, GRpnErrMsg* err) {
    std::vector<GRpnValue> values{GRpnValue(9.0)};
    if (!eval->pop(&values, 3, err)) return false;
    EXPECT_EQ(values.size(), 4U);
    for (std::size_t i = values.size(); i != 1; --i) eval->push(values[i - 1]);
    return true;
  };
  e.functions->functions["one"] = [](GRpnEval* eval, GRpnErrMsg* err) {
    GRpnValue value;
    if (!eval->pop(&value, err)) return false;
    eval->push(value);
    eval->push(value);
    return true;
  };
  EXPECT_EQ(e.run("1 2 3 swap3"), "3 2 1");
  EXPECT_EQ(e.run("@a one"), "@a @a");
  EXPECT_EQ(e.run("1 2 swap3"), "rpn error: stack underflow:\n1 2 swap3 >!< ");
  EXPECT_EQ(e.run("one"), "rpn error: stack underflow:\none >!< ");
}

TEST(RpnEval, LocalFunctionsTakeTheirCallersValues) {
  WithSets e;
  const auto define = [&](const char* name, const char* expr) {
    e.functions->functions[name] = [expr](GRpnEval* eval, GRpnErrMsg* err) {
      if (eval->eval(expr)) return true;
      err->append("in here");
      return false;
    };
  };
  define("sub", "2 argc $1 $0 -");
  define("third", "2 argc $2");
  define("overflowing", "2 argc $99999999999");
  define("reach", "2 argc pop");
  define("many", "1 argc $0 $0 $0");
  define("none", "1 argc");
  define("late", "5 1 argc");
  define("twice", "1 argc 1 argc");
  define("zero", "0 argc");
  EXPECT_EQ(e.run("7 8 sub"), "1");
  EXPECT_EQ(e.run("1 7 8 sub"), "1 1");
  EXPECT_EQ(e.run("5 many"), "5 5 5");
  EXPECT_EQ(e.run("4 5 none"), "4");
  EXPECT_EQ(e.run("7 8 third"),
            "rpn error: argument index out of range:\n2 argc  >!< $2\n"
            "rpn error: in here:\n7 8 third >!< ");
  EXPECT_EQ(e.run("7 8 overflowing").substr(0, 40), "rpn error: argument index out of range:\n");
  EXPECT_EQ(e.run("7 8 reach").substr(0, 27), "rpn error: stack underflow:");
  EXPECT_EQ(e.run("7 sub").substr(0, 50), "rpn error: too few arguments on local caller stack");
  EXPECT_EQ(e.run("7 late").substr(0, 41), "rpn error: local function stack not empty");
  EXPECT_EQ(e.run("7 8 twice").substr(0, 61),
            "rpn error: there can't be more than one \"argc\" per function:\n");
  EXPECT_EQ(e.run("7 zero").substr(0, 58),
            "rpn error: the number of arguments must be greater than 0:");
}

TEST(RpnEval, AWrapperRefillsWhatALocalFunctionTook) {
  WithSets e;
  e.functions->functions["take"] = [](GRpnEval* eval, GRpnErrMsg*) {
    return eval->evalVoid("2 argc $0 $1");  // back at the old size, so no error
  };
  e.functions->functions["lose"] = [](GRpnEval* eval, GRpnErrMsg* err) {
    err->append("lost");
    return eval->evalVoid("2 argc");  // two values short
  };
  e.functions->functions["shrug"] = [](GRpnEval* eval, GRpnErrMsg*) {
    std::vector<GRpnValue> results;
    EXPECT_TRUE(eval->eval("2 argc", &results));
    EXPECT_TRUE(results.empty());
    return true;
  };
  EXPECT_EQ(e.run("7 8 take"), "7 8");
  EXPECT_EQ(e.run("7 8 lose"),
            "rpn error: too many result values on stack (expected none)\nin: 2 argc\n"
            "rpn error: lost:\n7 8 lose >!< ");
  EXPECT_EQ(e.run("7 8 shrug"), "void void");
}

TEST(RpnEval, AWordRunsAtDepth100AndFailsAt101) {
  WithSets e;
  int deepest = 0;
  int level = 0;
  e.functions->functions["down"] = [&](GRpnEval* eval, GRpnErrMsg* err) {
    ++level;
    deepest = std::max(deepest, level);
    const bool done = eval->eval("down");
    --level;
    if (!done) err->append("below");
    return done;
  };
  const std::string text = e.run("down");
  EXPECT_EQ(deepest, 100);
  EXPECT_EQ(text.substr(0, 63),
            "rpn error: possibly infinite recursion (aborted):\n >!< down\nrpn");
  // Defaults count as frames, but only a word looks at the count.
  const auto nested = [](int levels, const std::string& inner) {
    std::string expr;
    for (int i = 0; i < levels; ++i) expr += "${a:-";
    return expr + inner + std::string(static_cast<std::size_t>(levels), '}');
  };
  EXPECT_EQ(e.run(nested(99, "M_PI").c_str()), "3.1415926535897931");
  EXPECT_EQ(e.run(nested(100, "M_PI").c_str()),
            "rpn error: possibly infinite recursion (aborted):\n >!< M_PI");
  EXPECT_EQ(e.run(nested(100, "7").c_str()), "7");
  EXPECT_EQ(e.run("1 2 +"), "3");
}

TEST(RpnEval, AFailureDeepInDefaultsLeavesTheEvaluatorUsable) {
  Evaluator e;
  EXPECT_FALSE(e.eval.eval("1 ${a:-2 ${b:-3 4 +x}}"));
  EXPECT_EQ(e.run("1 2 +"), "3");
}

// After a failed plain eval() the operands that a range check was given are
// gone, and those that a typed pop refused are there. A later plain evaluation
// with argc cannot see them, so the stack is read through the list form of an
// evaluator that began before.
TEST(RpnEval, WhatAFailedPlainEvaluationLeaves) {
  const std::pair<const char*, const char*> rows[] = {
      {"1 2 x", "1 2"},          {"1 0 /", ""},        {"1 @a *", "1 @a"},    {"5 -1 sqrt", "5"},
      {"1 9 1 substr", "1 9 1"}, {"@a 9 1 erase", ""}, {"@a 9 1 substr", ""}, {"1 2 3 ]", "1 2"},
      {"1 1 ] 7 [", ""},         {"1 ${p:-2 3}", "1"}, {"1 ${p:-2 x}", "1"},  {"4 0 dupx", "4"},
      {"1 \"abc", "1"},
  };
  for (const auto& [expr, left] : rows) {
    WithSets e;
    e.functions->functions["run"] = [text = expr](GRpnEval* eval, GRpnErrMsg*) {
      EXPECT_FALSE(eval->eval(text)) << text;
      return true;  // the caller's frame now sees what was left
    };
    EXPECT_EQ(e.run("run"), left) << expr;
  }
}

TEST(RpnEval, ConstantsHaveTheirBits) {
  const std::pair<const char*, std::uint64_t> rows[] = {
      {"M_1_PI", 0x3FD45F306DC9C883},    {"M_2PI", 0x401921FB54442D18},
      {"M_2_PI", 0x3FE45F306DC9C883},    {"M_2_SQRTPI", 0x3FF20DD750429B6D},
      {"M_E", 0x4005BF0A8B145769},       {"M_LN10", 0x40026BB1BBB55516},
      {"M_LN2", 0x3FE62E42FEFA39EF},     {"M_LOG10E", 0x3FDBCB7B1526E50E},
      {"M_LOG2E", 0x3FF71547652B82FE},   {"M_PI", 0x400921FB54442D18},
      {"M_PI_2", 0x3FF921FB54442D18},    {"M_PI_4", 0x3FE921FB54442D18},
      {"M_SQRT1_2", 0x3FE6A09E667F3BCD}, {"M_SQRT2", 0x3FF6A09E667F3BCD},
  };
  GRpnEval eval;
  for (const auto& [word, bits] : rows) {
    double value = 0;
    ASSERT_TRUE(eval.evalFloat(word, &value)) << word;
    std::uint64_t got = 0;
    std::memcpy(&got, &value, sizeof got);
    EXPECT_EQ(got, bits) << word;
  }
}

TEST(RpnEval, AnExceptionOfAHostLeavesNoFrameBehind) {
  WithSets e;
  e.functions->functions["throw"] = [](GRpnEval*, GRpnErrMsg*) -> bool { throw 1; };
  EXPECT_THROW(e.eval.eval("1 ${a:-2 throw}"), int);
  EXPECT_EQ(e.run("1 argc"), "rpn error: too few arguments on local caller stack:\n1 argc >!< ");
}

TEST(RpnErrMsg, IsBuiltLazily) {
  GRpnErrMsg empty;
  EXPECT_EQ(empty.getMessage(), "<no error>");
  empty.append("x");
  EXPECT_EQ(empty.getMessage(), "<no error>x");
  GRpnErrMsg built;
  built.append("");
  EXPECT_EQ(built.getMessage(), "");
  GOStrStream stream;
  stream << 1.5 << "\n\n";
  built.append(&stream);
  EXPECT_EQ(built.getMessage(), "1.5\n");
  GOStrStream none;
  built.append(&none);
  EXPECT_EQ(built.getMessage(), "1.5\n");
}

}  // namespace
