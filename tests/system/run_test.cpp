// SPDX-License-Identifier: MIT
#include "loomkit/system/run.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "loomkit/platform/hul.h"
#include "loomkit/system/process.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"
#include "tests/system/machine.h"

namespace loomkit::testing {
namespace {

constexpr const char* testChild = LOOMKIT_TEST_CHILD;

TEST(Run, GivesWhatTheProgramWritesAndItsExitCode) {
  const RunResult result = run({testChild, "out", "out\n", "err", "err\n", "exit", "7"});
  EXPECT_EQ(result.out, "out\n");
  EXPECT_EQ(result.err, "err\n");
  EXPECT_EQ(result.exitCode, 7);
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.reason(), std::string(testChild) + ": exit code 7");
  EXPECT_TRUE(run({testChild}).ok());
  EXPECT_EQ(run({testChild}).reason(), "");
}

TEST(Run, FeedsTheInputAndEndsIt) {
  RunOptions options;
  options.input = "10\n9\n";
  EXPECT_EQ(run({testChild, "copy"}, options).out, options.input);
  EXPECT_EQ(run({testChild, "copy"}).out, "") << "without an input it is empty";
}

TEST(Run, MovesMoreThanThePipesHoldInBothDirections) {
  RunOptions options;
  options.input = std::string(3 << 20, 'x');
  const RunResult result = run({testChild, "copy-to-both"}, options);
  EXPECT_EQ(result.out, options.input);
  EXPECT_EQ(result.err, options.input);
  EXPECT_FALSE(result.truncated);
}

TEST(Run, SurvivesAProgramThatDoesNotReadItsInput) {
  RunOptions options;
  options.input = std::string(1 << 20, 'x');
  EXPECT_TRUE(run({testChild}, options).ok());
  EXPECT_EQ(run({testChild, "take", "3"}, options).out, "xxx");
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
  const std::string text = run({testChild, "variable", "LOOMKIT_RUN", "directory"}, options).out;
  EXPECT_EQ(text.substr(0, 4), "a b\n");
  EXPECT_TRUE(std::filesystem::equivalent(text.substr(4, text.size() - 5), scratch.path()));
}

TEST(Run, LooksForTheProgramAlongThePath) {
  const std::filesystem::path program = testChild;
  const std::string before = std::getenv("PATH");
  GProcess::setEnv("PATH", program.parent_path().string());
  EXPECT_EQ(run({program.filename().string(), "out", "found"}).out, "found");
  GProcess::setEnv("PATH", before);
}

TEST(Run, TellsWhyAProgramCannotBeStarted) {
  const CaptureOutput channel;
  EXPECT_FALSE(run({"no such program"}).ok());  // from now on the system needs no more
  const HeldResources before = heldResources();
  const RunResult result = run({"no such program", "x"});
  EXPECT_EQ(heldResources(), before);
  EXPECT_EQ(result.exitCode, -1);
  EXPECT_EQ(result.reason(), "no such program: " + std::string(hulStrError(-ENOENT)));
  EXPECT_EQ(run({}).reason(), "no program was named");
  EXPECT_TRUE(channel.lines.empty());
}

// The grandchild holds the pipes and would go on for a minute.
TEST(Run, EndsTheWholeGroupWhenTheTimeIsUp) {
  const ScratchDirectory scratch;
  RunOptions options;
  options.timeLimit = 2;
  options.directory = scratch.path();
  const auto begin = std::chrono::steady_clock::now();
  const RunResult result = run({testChild, "leave", "6", "sleep", "3", "file", "late", "sleep",
                                "60", "out", "begun\n", "sleep", "60"},
                               options);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
  EXPECT_TRUE(result.timedOut);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out, "begun\n");
  EXPECT_EQ(result.reason(), std::string(testChild) + ": ended because its time was up");
  EXPECT_EQ(run({testChild, "sleep", "2"}).exitCode, 0);
  EXPECT_FALSE(std::filesystem::exists(scratch / "late"));
}

TEST(Run, DoesNotWaitForAGrandchildThatHoldsThePipes) {
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(run({testChild, "leave", "2", "sleep", "30", "out", "parent done\n"}).out,
            "parent done\n");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

TEST(Run, WaitsForAProgramThatClosesItsStreamsEarly) {
  EXPECT_EQ(run({testChild, "close-output", "sleep", "1"}).exitCode, 0);
}

TEST(Run, LeavesNoDescriptorBehind) {
  EXPECT_TRUE(run({quickProgram}).ok());  // from now on the system needs no more
  const HeldResources before = heldResources();
  for (int i = 0; i < 50; ++i) EXPECT_TRUE(run({quickProgram}).ok());
  EXPECT_EQ(heldResources(), before);
}

}  // namespace
}  // namespace loomkit::testing
