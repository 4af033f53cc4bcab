// SPDX-License-Identifier: MIT
// What the engine asks of the heap: nothing in a steady state, and no harm when
// it is refused. A program of its own, because it replaces operator new.
#include <gtest/gtest.h>

#include "loomkit/rpn/function_table.h"
#include "loomkit/rpn/map_param_set.h"
#include "tests/allocation_faults.h"
#include "tests/rpn/rpn_fixture.h"

namespace {

using loomkit::testing::allocationCount;
using loomkit::testing::AllocationFaults;

// An evaluator with a parameter and a function, silent.
struct Silent : GRpnEval::ErrorHandler {
  void error(const std::string&) override {}
};
struct Host {
  Host() {
    eval.setErrorHandler(new Silent);
    GRpnMapParamSet* const params = new GRpnMapParamSet;
    params->set("x", 2.5);
    eval.setParamSet(params);
    params->decRef();
    GRpnFunctionTable* const functions = new GRpnFunctionTable;
    functions->add("twice", [](double x) { return x * 2; });
    functions->addExpression("half", "2 /");
    eval.setExternFuncs(functions);
    functions->decRef();
  }
  GRpnEval eval;
};

TEST(Allocation, SteadyNumericEvaluationAllocatesNothing) {
  Host host;
  const char* const expressions[] = {
      "1 2 +",
      "$x 2 * 1 +",
      "$x sin dup * $x cos dup * +",
      "1 2 3 4 5 6 7 8 + + + + + + + 3 % 2 pow sqrt floor",
      "${x:-3} 4 *",
      "1 2 < 3 4 >= && 5 6 != || !",
      "12 10 & 3 | 5 ^ M_PI * neg fabs",
      "1 2 3 3 dupx 4 swapx pop pop pop pop 7 twice 0x1F 017 + +",
  };
  double result = 0;
  for (int warm = 0; warm < 2; ++warm)
    for (const char* expr : expressions) ASSERT_TRUE(host.eval.evalFloat(expr, &result)) << expr;
  const std::size_t before = allocationCount();
  for (int round = 0; round < 100; ++round)
    for (const char* expr : expressions) host.eval.evalFloat(expr, &result);
  EXPECT_EQ(allocationCount() - before, 0U);
}

// Without a parameter set: one that says why it knows no such name allocates
// the reason.
TEST(Allocation, SteadyDefaultsAllocateNothing) {
  GRpnEval eval;
  const char* const expr = "${y:-3 ${z:-4} +} ${y:-2} *";
  double result = 0;
  for (int warm = 0; warm < 2; ++warm) ASSERT_TRUE(eval.evalFloat(expr, &result));
  const std::size_t before = allocationCount();
  for (int round = 0; round < 100; ++round) eval.evalFloat(expr, &result);
  EXPECT_EQ(allocationCount() - before, 0U);
}

TEST(Allocation, ShortStringsAreMadeInPooledObjects) {
  Host host;
  GRpnValue result;
  const char* const expr = "\"ab\" \"cd\" + @ef + \"x\" find string";
  for (int warm = 0; warm < 2; ++warm) ASSERT_TRUE(host.eval.eval(expr, &result));
  const std::size_t before = allocationCount();
  for (int round = 0; round < 100; ++round) host.eval.eval(expr, &result);
  EXPECT_EQ(allocationCount() - before, 0U);
}

// Each allocation of each expression fails once, in a fresh evaluator. Then the
// same evaluator must work, and nothing may be lost (the leak checker looks).
TEST(Allocation, AFailedAllocationDoesNoHarm) {
  const char* const expressions[] = {
      "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19",
      "\"a text that is too long for the small buffer\" dup + size",
      "\"another text that is too long\" @and_a_symbol_that_is_long_too + 3 4 erase",
      "1 2 3 3 ] 2 ] 0 [",
      "${a:-1 ${b:-2 ${c:-3}}}",
      "5 twice half $x $y",
      "1 +",
      "\"unterminated and quite long as strings go",
      "1.25 string \"12.5\" float",
      "7 8 ${a:-2 argc $1 $0 - 0 0}",
  };
  std::size_t injected = 0;
  for (const char* expr : expressions) {
    for (std::size_t nth = 1;; ++nth) {
      Host host;
      std::vector<GRpnValue> results;
      bool threw = false;
      try {
        const AllocationFaults faults(nth);
        host.eval.eval(expr, &results);
      } catch (const std::bad_alloc&) {
        threw = true;
        ++injected;
      }
      double sum = 0;
      ASSERT_TRUE(host.eval.evalFloat("1 2 +", &sum)) << expr << " " << nth;
      ASSERT_EQ(sum, 3);
      if (!threw) break;
    }
  }
  EXPECT_GT(injected, 20U);
}

}  // namespace
