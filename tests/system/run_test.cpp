// SPDX-License-Identifier: MIT
#include "loomkit/system/run.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "tests/capture_output.h"
#include "tests/scratch_directory.h"

namespace loomkit::testing {
namespace {

constexpr const char* testChild = LOOMKIT_TEST_CHILD;

std::size_t openDescriptors() {
  return static_cast<std::size_t>(std::distance(
      std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator()));
}

TEST(Run, GivesWhatTheProgramWritesAndItsExitCode) {
  const RunResult result = run({"sh", "-c", "echo out; echo err >&2; exit 7"});
  EXPECT_EQ(result.out, "out\n");
  EXPECT_EQ(result.err, "err\n");
  EXPECT_EQ(result.exitCode, 7);
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.reason(), "sh: exit code 7");
  EXPECT_TRUE(run({"true"}).ok());
  EXPECT_EQ(run({"true"}).reason(), "");
}

TEST(Run, FeedsTheInputAndEndsIt) {
  RunOptions options;
  options.input = "10\n9\n";
  EXPECT_EQ(run({"sort", "-n"}, options).out, "9\n10\n");
  EXPECT_EQ(run({"cat"}).out, "") << "without an input it is empty";
}

TEST(Run, MovesMoreThanThePipesHoldInBothDirections) {
  RunOptions options;
  options.input = std::string(3 << 20, 'x');
  const RunResult result = run({"tee", "/dev/stderr"}, options);
  EXPECT_EQ(result.out, options.input);
  EXPECT_EQ(result.err, options.input);
  EXPECT_FALSE(result.truncated);
}

TEST(Run, SurvivesAProgramThatDoesNotReadItsInput) {
  RunOptions options;
  options.input = std::string(1 << 20, 'x');
  EXPECT_TRUE(run({"true"}, options).ok());
  EXPECT_EQ(run({"head", "-c", "3"}, options).out, "xxx");
}

TEST(Run, KeepsNoMoreOutputThanItIsTold) {
  RunOptions options;
  options.mostOutput = 10;
  const RunResult result = run({testChild, "flood", "100"}, options);
  EXPECT_EQ(result.out, std::string(10, 'o'));
  EXPECT_EQ(result.err, std::string(10, 'e'));
  EXPECT_TRUE(result.truncated);
  EXPECT_TRUE(result.ok());
}

TEST(Run, SetsDirectoryAndEnvironment) {
  const ScratchDirectory scratch;
  RunOptions options;
  options.directory = scratch.path();
  options.environment = {"LOOMKIT_RUN=a b"};
  EXPECT_EQ(run({"sh", "-c", "pwd; printf %s \"$LOOMKIT_RUN\""}, options).out,
            std::filesystem::canonical(scratch.path()).string() + "\na b");
}

TEST(Run, TellsWhyAProgramCannotBeStarted) {
  const CaptureOutput channel;
  const std::size_t before = openDescriptors();
  const RunResult result = run({"no such program", "x"});
  EXPECT_EQ(result.exitCode, -1);
  EXPECT_EQ(result.reason(), "no such program: No such file or directory");
  EXPECT_EQ(run({}).reason(), "no program was named");
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_TRUE(channel.lines.empty());
}

TEST(Run, TellsWhichSignalEndedAProgram) {
  EXPECT_EQ(run({testChild, "die", std::to_string(SIGTERM)}).exitCode, 128 + SIGTERM);
}

// The shell's child holds the pipes and would go on for a minute.
TEST(Run, EndsTheWholeGroupWhenTheTimeIsUp) {
  const ScratchDirectory scratch;
  RunOptions options;
  options.timeLimit = 0.2;
  options.directory = scratch.path();
  const auto begin = std::chrono::steady_clock::now();
  const RunResult result =
      run({"sh", "-c", "echo begun; (sleep 1; echo late >late; sleep 60) & wait"}, options);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
  EXPECT_TRUE(result.timedOut);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "begun\n");
  EXPECT_EQ(result.reason(), "sh: ended because its time was up");
  EXPECT_EQ(run({"sleep", "1.2"}).exitCode, 0);
  EXPECT_FALSE(std::filesystem::exists(scratch / "late"));
}

TEST(Run, DoesNotWaitForAGrandchildThatHoldsThePipes) {
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(run({testChild, "grandchild"}).out, "parent done\n");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

TEST(Run, WaitsForAProgramThatClosesItsStreamsEarly) {
  EXPECT_EQ(run({testChild, "close", "1"}).exitCode, 0);
}

TEST(Run, LeavesNoDescriptorBehind) {
  const std::size_t before = openDescriptors();
  for (int i = 0; i < 50; ++i) EXPECT_TRUE(run({"true"}).ok());
  EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace loomkit::testing
