// SPDX-License-Identifier: MIT
#include "loomkit/rpn/ref.h"

#include <gtest/gtest.h>

#include "loomkit/rpn/function_table.h"
#include "loomkit/rpn/map_param_set.h"
#include "tests/rpn/rpn_fixture.h"

namespace {

using loomkit::make;
using loomkit::Ref;

// Counts the objects that live.
class Counting : public GRpnMapParamSet {
 public:
  explicit Counting(int* counter) : living(counter) { ++*living; }

 protected:
  ~Counting() override { --*living; }

 private:
  int* living;
};

TEST(RpnRef, TheObjectEndsWithItsLastHandle) {
  int living = 0;
  {
    const Ref<Counting> first = make<Counting>(&living);
    const Ref<GRpnParamSet> base = first;
    Ref<Counting> second = first;
    EXPECT_EQ(second.get(), first.get());
    second = {};
    EXPECT_EQ(second.get(), nullptr);
    EXPECT_EQ(living, 1);
  }
  EXPECT_EQ(living, 0);
}

TEST(RpnRef, MovingLeavesNothingBehind) {
  int living = 0;
  Ref<Counting> first = make<Counting>(&living);
  Ref<Counting> second = std::move(first);
  EXPECT_EQ(first.get(), nullptr);  // NOLINT(bugprone-use-after-move)
  first = std::move(second);
  EXPECT_EQ(living, 1);
  const Ref<Counting>& itself = first;
  first = itself;
  EXPECT_EQ(living, 1);
  first = {};
  EXPECT_EQ(living, 0);
}

TEST(RpnRef, AnEvaluatorKeepsItsOwnReference) {
  int living = 0;
  {
    loomkit::testing::Evaluator host;
    Ref<Counting> params = make<Counting>(&living);
    params->set("x", 2);
    host.eval.setParamSet(params);
    params = {};
    EXPECT_EQ(host.run("$x 1 +"), "3");
    host.eval.setExternFuncs(make<GRpnFunctionTable>());
    EXPECT_EQ(host.run("nosuch"), "rpn error: unknown function:\nnosuch >!< ");
  }
  EXPECT_EQ(living, 0);
}

TEST(RpnRef, SharesWhatOthersHold) {
  int living = 0;
  Counting* const plain = new Counting(&living);
  {
    const auto shared = Ref<Counting>::share(plain);
    EXPECT_EQ(&*shared, plain);
  }
  EXPECT_EQ(living, 1);
  Ref<Counting>::adopt(plain);
  EXPECT_EQ(living, 0);
  EXPECT_EQ(Ref<Counting>::share(nullptr).get(), nullptr);
}

}  // namespace
