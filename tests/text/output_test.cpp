// SPDX-License-Identifier: MIT
#include "loomkit/text/output.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstdio>

#include "loomkit/platform/files.h"
#include "loomkit/platform/platform.h"
#include "tests/capture_output.h"

namespace {

using loomkit::testing::CaptureOutput;
using loomkit::testing::OutputLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* end = nullptr;

// What a call on a GSystemOutput prints on the two standard streams.
struct Printed {
  std::string out;
  std::string err;
};
template <typename Call>
Printed printedBy(Call call) {
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  GSystemOutput channel;
  call(channel);
  std::fflush(stdout);
  return {::testing::internal::GetCapturedStdout(), ::testing::internal::GetCapturedStderr()};
}

TEST(Output, LevelValuesAreFixed) {
  EXPECT_EQ(GOutputMessage, 1);
  EXPECT_EQ(GOutputWarning, 3);
  EXPECT_EQ(GOutputError, 4);
  EXPECT_EQ(GOutputFatal, 5);
  EXPECT_EQ(GOutputSpecial, 6);
  EXPECT_EQ(GOutputLog0, 7);
}

TEST(Output, GlobalsHaveTheirInitialValues) {
  EXPECT_NE(dynamic_cast<GSystemOutput*>(gOutput), nullptr);
  EXPECT_EQ(gProgressCB, nullptr);
  EXPECT_EQ(gGenSysName, "_generic");
  EXPECT_EQ(gDataSysName, "_data");
  EXPECT_EQ(g2DSysName, "_g2d");
}

TEST(Output, EachFamilySendsItsLevelInItsThreeForms) {
  CaptureOutput channel;
  GOStrStream stream;
  stream << "s" << 1;
  channel.message("x", "t");
  channel.message("x", stream);
  channel.message("t");
  channel.warning("x", "t");
  channel.warning("x", stream);
  channel.warning("t");
  channel.error("x", "t");
  channel.error("x", stream);
  channel.error("t");
  channel.fatal("x", "t");
  channel.fatal("x", stream);
  channel.fatal("t");
  channel.special("t");
  EXPECT_THAT(
      channel.lines,
      ElementsAre(OutputLine{1, "x", "t"}, OutputLine{1, "x", "s1"}, OutputLine{1, "_generic", "t"},
                  OutputLine{3, "x", "t"}, OutputLine{3, "x", "s1"}, OutputLine{3, "_generic", "t"},
                  OutputLine{4, "x", "t"}, OutputLine{4, "x", "s1"}, OutputLine{4, "_generic", "t"},
                  OutputLine{5, "x", "t"}, OutputLine{5, "x", "s1"}, OutputLine{5, "_generic", "t"},
                  OutputLine{6, "_generic", "t"}));
}

TEST(Output, AnEmptyStreamSendsAnEmptyText) {
  CaptureOutput channel;
  GOStrStream empty;
  channel.output(GOutputWarning, "x", empty);
  EXPECT_THAT(channel.lines, ElementsAre(OutputLine{3, "x", ""}));
}

TEST(Output, VariableFormsJoinTheirTexts) {
  CaptureOutput channel;
  channel.setDefaultSys("d");
  channel.messageVar("a", "b", "c", end);
  channel.warningVar("a", end);
  channel.errorVar("a", "b", "c", end);
  channel.fatalVar("", "x", end);
  channel.specialVar("a", "", "b", end);
  EXPECT_THAT(channel.lines, ElementsAre(OutputLine{1, "d", "abc"}, OutputLine{3, "d", "a"},
                                         OutputLine{4, "d", "abc"}, OutputLine{5, "d", "x"},
                                         OutputLine{6, "d", "ab"}));
}

TEST(Output, AFreshChannelDropsLogLines) {
  CaptureOutput channel;
  EXPECT_EQ(channel.getLogLevel("x"), -1);
  channel.log(0, "x", "t");
  EXPECT_THAT(channel.lines, IsEmpty());
  channel.setLogLevel("*", 0);
  channel.log(0, "x", "t");
  GOStrStream stream;
  stream << "s";
  channel.log(0, "x", stream);
  channel.log(1, "x", stream);
  EXPECT_THAT(channel.lines, ElementsAre(OutputLine{7, "x", "t"}, OutputLine{7, "x", "s"}));
}

TEST(Output, NegativeLogLevelsPassTheSignedComparison) {
  CaptureOutput channel;
  channel.log(-1, "x", "t");
  EXPECT_THAT(channel.lines, ElementsAre(OutputLine{6, "x", "t"}));
}

TEST(Output, TheHighestLogLevelDoesNotOverflow) {
  CaptureOutput channel;
  channel.setLogLevel("*", INT_MAX);
  channel.log(INT_MAX, "x", "t");
  EXPECT_EQ(channel.lines.size(), 1U);
}

TEST(Output, TheEffectiveLevelIsTheLargerOfTheTwo) {
  CaptureOutput channel;
  channel.setLogLevel("x", 5);
  channel.setLogLevel("*", 8);
  EXPECT_EQ(channel.getLogLevel("x"), 8);
  channel.setLogLevel("*", 2);
  EXPECT_EQ(channel.getLogLevel("x"), 5);
  EXPECT_EQ(channel.getLogLevel("y"), 2);
}

TEST(Output, TheStarSetsTheGlobalLevelAndNoEntry) {
  CaptureOutput channel;
  channel.setLogLevel("*", 3);
  EXPECT_EQ(channel.getLogLevel("*"), 3);
  channel.setLogLevel("*", 1);
  EXPECT_EQ(channel.getLogLevel("*"), 1);  // an entry "*" would keep 3
}

TEST(Output, LogMessageIsFilteredAgainstSeven) {
  CaptureOutput channel;
  channel.setLogLevel("*", 6);
  channel.logMessage("t");
  EXPECT_THAT(channel.lines, IsEmpty());
  channel.setLogLevel("*", 7);
  channel.logMessage("t");
  EXPECT_THAT(channel.lines, ElementsAre(OutputLine{14, "_generic", "t"}));
}

TEST(Output, LogMessageVarPassesAtAnyLevel) {
  CaptureOutput channel;
  channel.logMessageVar("t", end);
  channel.logMessageVar("a", "b", end);
  EXPECT_THAT(channel.lines,
              ElementsAre(OutputLine{7, "_generic", "t"}, OutputLine{7, "_generic", "ab"}));
}

TEST(Output, CopiesTakeLevelsAndDefaultSystemAlong) {
  GSystemOutput original;
  original.setLogLevel("*", 4);
  original.setLogLevel("x", 9);
  GSystemOutput copy(original);
  EXPECT_EQ(copy.getLogLevel("x"), 9);
  EXPECT_EQ(copy.getLogLevel("y"), 4);
  GSystemOutput assigned;
  assigned = original;
  EXPECT_EQ(assigned.getLogLevel("x"), 9);
  original.setDefaultSys("named");
  const Printed printed = printedBy([&](GSystemOutput& channel) {
    channel = original;
    channel.error("t");
  });
  EXPECT_EQ(printed.err, "named error: t\n");
}

struct PrintRow {
  int level;
  const char* sys;
  const char* out;
  const char* err;
};

class SystemOutputPrints : public ::testing::TestWithParam<PrintRow> {};

TEST_P(SystemOutputPrints, TheLine) {
  const PrintRow& row = GetParam();
  const Printed printed = printedBy([&](GSystemOutput& channel) {
    channel.output(static_cast<GOutputLevel>(row.level), row.sys, "t");
  });
  EXPECT_EQ(printed.out, row.out);
  EXPECT_EQ(printed.err, row.err);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SystemOutputPrints,
    ::testing::Values(PrintRow{1, "_data", "data message: t\n", ""}, PrintRow{2, "_data", "", ""},
                      PrintRow{3, "_data", "", "data warning: t\n"},
                      PrintRow{4, "_data", "", "data error: t\n"}, PrintRow{6, "_data", "", ""},
                      PrintRow{7, "x", "", "x log 0: t\n"}, PrintRow{14, "x", "", "x log 7: t\n"},
                      PrintRow{0, "x", "", ""}, PrintRow{-1, "x", "", ""},
                      PrintRow{4, "__x", "", "_x error: t\n"}, PrintRow{4, "", "", " error: t\n"},
                      PrintRow{4, "_", "", " error: t\n"},
                      PrintRow{1, "x_", "x_ message: t\n", ""}));

TEST(SystemOutput, AStreamPrintsLikeItsText) {
  const Printed printed = printedBy([](GSystemOutput& channel) {
    GOStrStream text;
    text << 1 << "b";
    channel.output(GOutputError, "_x", text);
  });
  EXPECT_EQ(printed.err, "x error: 1b\n");
}

TEST(SystemOutputDeathTest, FatalWaitsForACharacterAndExitsWithOne) {
  EXPECT_EXIT(
      {
        if (std::freopen("/dev/null", "r", stdin) == nullptr) std::exit(2);
        GSystemOutput channel;
        channel.fatal("t");
      },
      ::testing::ExitedWithCode(1), "generic fatal error: t\nPress enter to exit \\.\\.\\.");
}

TEST(Output, FatalReturnsWhenTheDestinationDoes) {
  CaptureOutput channel;
  gOutput->fatal("t");
  EXPECT_THAT(channel.texts(), ElementsAre("t"));
}

int lastProgress = -1;
TEST(Progress, CallsTheCallbackOnlyWhenThereIsOne) {
  gProgress(50);
  EXPECT_EQ(lastProgress, -1);
  gProgressCB = [](int value) { lastProgress = value; };
  gProgress(51);
  gProgressCB = nullptr;
  EXPECT_EQ(lastProgress, 51);
}

TEST(SystemError, ReportsTheTextOfTheLastError) {
  CaptureOutput channel;
  loomkit::platform::setLastError(2);
  std::string text;
  ASSERT_TRUE(loomkit::platform::lastErrorText(&text));
  ASSERT_FALSE(text.empty());
  systemError("cannot open");
  systemLog("cannot open");
  EXPECT_THAT(channel.lines, ElementsAre(OutputLine{4, "_generic", "cannot open " + text},
                                         OutputLine{7, "_generic", "cannot open " + text}));
}

TEST(SystemError, TellsWhyACallOfTheHostsFailedAndNoOlderFailureOfTheLibrary) {
  CaptureOutput channel;
  loomkit::platform::setLastError(3);
  ASSERT_EQ(std::fopen("/dev/null/x", "r"), nullptr);
  systemError("cannot open");
  EXPECT_THAT(channel.texts(), ElementsAre("cannot open Not a directory"));
  errno = ENOTDIR;
  EXPECT_EQ(loomkit::platform::lastError(), 3U);
  errno = EACCES;
  EXPECT_EQ(loomkit::platform::lastError(), 5U);
}

TEST(SystemError, IsTheSystemsOwnAfterAFailureOfTheLibrary) {
  EXPECT_FALSE(loomkit::platform::deleteFile("no such folder/x"));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(loomkit::platform::lastError(), 3U);
}

TEST(SystemError, WithoutATextOnlyThePrefixIsReported) {
  CaptureOutput channel;
  loomkit::platform::setLastError(0x7fffffff);
  systemError("cannot open");
  systemLog("cannot open");
  EXPECT_THAT(channel.texts(), ElementsAre("cannot open ", "cannot open "));
  loomkit::platform::setLastError(0);
}

}  // namespace
