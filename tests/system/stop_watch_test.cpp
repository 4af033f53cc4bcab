// SPDX-License-Identifier: MIT
#include "loomkit/system/stop_watch.h"

#include <gtest/gtest.h>

#include <iostream>
#include <regex>
#include <sstream>

#include "loomkit/platform/system.h"

namespace {

// What a watch prints when it ends.
template <typename Use>
std::string reportOf(bool startNow, Use use) {
  std::ostringstream out;
  std::streambuf* const previous = std::cout.rdbuf(out.rdbuf());
  {
    GStopWatch watch("w", startNow);
    use(watch);
  }
  std::cout.rdbuf(previous);
  return out.str();
}

TEST(StopWatch, ReportsZeroWhenItWasNeverStarted) {
  const std::string report = reportOf(false, [](GStopWatch& watch) { EXPECT_EQ(watch.get(), 0); });
  EXPECT_TRUE(
      std::regex_match(report, std::regex("watch w: 0 seconds in 0 calls, -?nan msec/call\n")))
      << report;
}

TEST(StopWatch, NestedStartsCountOneCall) {
  const std::string report = reportOf(false, [](GStopWatch& watch) {
    watch.start();
    watch.start();
    watch.stop();
    watch.stop();
    const double stopped = watch.get();
    loomkit::platform::sleepMilliseconds(2);
    EXPECT_EQ(watch.get(), stopped);
  });
  EXPECT_NE(report.find(" seconds in 1 calls, "), std::string::npos) << report;
}

TEST(StopWatch, EachOutermostStartCounts) {
  const std::string report = reportOf(true, [](GStopWatch& watch) {
    watch.stop();
    watch.start();
    watch.stop();
  });
  EXPECT_NE(report.find(" seconds in 2 calls, "), std::string::npos) << report;
}

TEST(StopWatch, GrowsWhileItRuns) {
  reportOf(true, [](GStopWatch& watch) {
    const double first = watch.get();
    loomkit::platform::sleepMilliseconds(2);
    EXPECT_GE(watch.get(), first + 0.002);
  });
}

TEST(StopWatch, AWatchDestroyedWhileRunningAddsItsSpan) {
  const std::string report = reportOf(true, [](GStopWatch& watch) {
    watch.start();
    loomkit::platform::sleepMilliseconds(3);
  });
  std::smatch match;
  ASSERT_TRUE(std::regex_match(
      report, match, std::regex("watch w: (\\S+) seconds in 1 calls, (\\S+) msec/call\n")))
      << report;
  EXPECT_GE(std::stod(match[1]), 0.003);
  EXPECT_GE(std::stod(match[2]), 3);
}

TEST(StopWatch, ResetForgetsTimeAndCallsButNotTheRunningSpan) {
  const std::string report = reportOf(true, [](GStopWatch& watch) {
    loomkit::platform::sleepMilliseconds(2);
    watch.reset();
    EXPECT_GE(watch.get(), 0.002);
    watch.stop();
  });
  EXPECT_NE(report.find(" seconds in 0 calls, inf msec/call"), std::string::npos) << report;
}

TEST(StopWatch, ATimerRunsItInItsScope) {
  const std::string report = reportOf(false, [](GStopWatch& watch) {
    const GStopWatch::Timer outer(&watch);
    const GStopWatch::Timer inner(&watch);
    loomkit::platform::sleepMilliseconds(1);
  });
  EXPECT_NE(report.find(" seconds in 1 calls, "), std::string::npos) << report;
}

}  // namespace
