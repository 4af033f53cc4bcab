// SPDX-License-Identifier: MIT
#include "loomkit/system/time.h"

#include <gtest/gtest.h>

#include <ctime>
#include <sstream>

namespace {

TEST(Time, TheDifferenceBorrowsASecond) {
  const GTime span = GTime(5, 100) - GTime(3, 200);
  EXPECT_EQ(span.getSeconds(), 1);
  EXPECT_EQ(span.getMicroSeconds(), 999900);
}

TEST(Time, TheDifferenceKeepsWhatFits) {
  const GTime span = GTime(3, 200) - GTime(5, 200);
  EXPECT_EQ(span.getSeconds(), -2);
  EXPECT_EQ(span.getMicroSeconds(), 0);
}

TEST(Time, IsSecondsAsADouble) { EXPECT_DOUBLE_EQ(GTime(3, 250000), 3.25); }

TEST(Time, PrintsInTheStreamsFormat) {
  std::ostringstream out;
  out << GTime(3, 250000) << ' ';
  out.precision(2);
  out << std::fixed << GTime(3, 250000);
  EXPECT_EQ(out.str(), "3.25 3.25");
}

TEST(Time, TheConstructorNormalisesNothing) {
  const GTime time(1, 2000000);
  EXPECT_EQ(time.getSeconds(), 1);
  EXPECT_EQ(time.getMicroSeconds(), 2000000);
}

TEST(Time, ThePresentIsTheWallClocks) {
  const std::time_t before = std::time(nullptr);
  const GTime now = GTime::getTime();
  const GTime again;
  const std::time_t after = std::time(nullptr);
  // time() may lag behind by a clock tick.
  EXPECT_GE(now.getSeconds(), before - 1);
  EXPECT_LE(again.getSeconds(), after + 1);
  EXPECT_GE(now.getMicroSeconds(), 0);
  EXPECT_LT(now.getMicroSeconds(), 1000000);
}

TEST(Time, SleepsAtLeastThatLong) {
  const GTime before;
  GTime::sleep(1);
  EXPECT_GE(static_cast<double>(GTime() - before), 0.99);
}

}  // namespace
