// SPDX-License-Identifier: MIT
// GProcess with its extensions, against a child that misbehaves.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "loomkit/system/process.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"
#include "tests/system/machine.h"

namespace loomkit::testing {
namespace {

constexpr const char* testChild = LOOMKIT_TEST_CHILD;

bool start(GProcess& child, const std::vector<const char*>& arguments,
           const std::string& directory = {}, const std::vector<std::string>& environment = {}) {
  std::vector<const char*> words = arguments;
  return child.run(static_cast<int>(words.size()), words.data(), directory, environment);
}

// Everything up to the end of a stream.
std::string readToEnd(GProcess& child, bool fromStdErr = false) {
  std::string text;
  char block[65536];
  for (;;) {
    const int count = fromStdErr ? child.readAvailableStdErr(block, sizeof block, 20)
                                 : child.readAvailableStdOut(block, sizeof block, 20);
    if (count <= 0) return count == 0 ? text + "(timed out)" : text;
    text.append(block, static_cast<std::size_t>(count));
  }
}

TEST(ProcessExtensions, RunElsewhereWithOtherVariables) {
  const ScratchDirectory scratch;
  ::setenv("LOOMKIT_KEPT", "kept", 1);
  ::setenv("LOOMKIT_OTHER", "old", 1);
  GProcess child(testChild, false, true, false);
  ASSERT_TRUE(start(child,
                    {"variable", "LOOMKIT_KEPT", "variable", "LOOMKIT_OTHER", "variable",
                     "LOOMKIT_NEW", "directory"},
                    scratch.path(), {"LOOMKIT_OTHER=other", "LOOMKIT_NEW=a b"}));
  const std::string text = readToEnd(child), variables = "kept\nother\na b\n";
  EXPECT_EQ(text.substr(0, variables.size()), variables);
  EXPECT_TRUE(std::filesystem::equivalent(
      text.substr(variables.size(), text.size() - variables.size() - 1), scratch.path()));
}

TEST(ProcessExtensions, SayWhatCannotBeStarted) {
  CaptureOutput output;
  HeldResources before;
  for (int i = 0; i < 2; ++i) {
    before = heldResources();
    GProcess child(testChild, true, true, true);
    EXPECT_FALSE(start(child, {}, "/nowhere/at/all"));
    EXPECT_TRUE(child.waitFor(10)) << "there is no child to wait for";
  }
  EXPECT_EQ(heldResources(), before) << "after the first time, for which the system needs more";
  ASSERT_EQ(output.texts().size(), 2U);
  for (const std::string& text : output.texts())
    EXPECT_EQ(text.substr(0, 20), "Can't create process");
}

TEST(ProcessExtensions, AConversationHasAnEnd) {
  GProcess child(testChild, true, true, false);
  ASSERT_TRUE(start(child, {"copy"}));
  char block[10];
  EXPECT_EQ(child.readAvailableStdOut(block, sizeof block, 0), 0) << "nothing yet";
  EXPECT_EQ(child.sendStdIn("hello\r\n", 7), 7);
  EXPECT_EQ(child.readAvailableStdOut(block, 3, 20), 3);
  EXPECT_EQ(std::string(block, 3), "hel");
  EXPECT_FALSE(child.waitFor(0));
  EXPECT_TRUE(child.closeStdIn());
  EXPECT_EQ(readToEnd(child), "lo\r\n") << "as it was sent";
  EXPECT_TRUE(child.waitFor(20));
  int code = -1;
  EXPECT_EQ(child.getExitCode(code), 1);
  EXPECT_EQ(code, 0);
  EXPECT_TRUE(child.waitFor(0)) << "and there is none any more";
  EXPECT_EQ(child.readAvailableStdErr(block, sizeof block, 0), -1) << "not in use";
}

// What readStdOut() has read ahead comes first, with its carriage return.
TEST(ProcessExtensions, ReadOnAfterReadStdOut) {
  GProcess child(testChild, false, true, false);
  ASSERT_TRUE(start(child, {"out", "ab\r\rcdef"}));
  ASSERT_TRUE(child.waitFor(20));
  char block[10];
  EXPECT_EQ(child.readStdOut(block, 4, false), 4);
  EXPECT_EQ(readToEnd(child).back(), 'f');
}

TEST(ProcessExtensions, SeeEveryExitCode) {
  for (int expected = 0; expected < 256; ++expected) {
    GProcess child(testChild, false, false, false);
    ASSERT_TRUE(start(child, {"exit", std::to_string(expected).c_str()}));
    int code = -1;
    ASSERT_TRUE(child.waitFor(20));
    EXPECT_EQ(child.getExitCode(true, &code), 1);
    EXPECT_EQ(code, expected);
  }
}

TEST(ProcessExtensions, DrainAChildThatFloodsBothStreams) {
  GProcess child(testChild, false, true, true);
  ASSERT_TRUE(start(child, {"flood", "1000"}));
  std::size_t out = 0;
  std::size_t err = 0;
  char block[65536];
  for (int ends = 0; ends != 3;) {
    const int outCount = child.readAvailableStdOut(block, sizeof block, 0.01);
    const int errCount = child.readAvailableStdErr(block, sizeof block, 0.01);
    out += outCount > 0 ? static_cast<std::size_t>(outCount) : 0;
    err += errCount > 0 ? static_cast<std::size_t>(errCount) : 0;
    ends |= (outCount < 0 ? 1 : 0) | (errCount < 0 ? 2 : 0);
  }
  EXPECT_EQ(out, 4096000U);
  EXPECT_EQ(err, 4096000U);
}

TEST(ProcessExtensions, KillAChildThatIgnoresSignals) {
  GProcess child(testChild, false, true, false);
  ASSERT_TRUE(start(child, {"ignore", "out", "ready", "sleep", "60"}));
  char block[5];
  ASSERT_EQ(child.readStdOut(block, 5, false), 5);
  EXPECT_FALSE(child.waitFor(0.05));
  EXPECT_TRUE(child.kill());
  EXPECT_TRUE(child.waitFor(20));
  int code = -1;
  EXPECT_EQ(child.getExitCode(code), 1);
  EXPECT_EQ(code, 1);
}

TEST(ProcessExtensions, TheEndOfAStreamIsNotTheEndOfTheChild) {
  GProcess child(testChild, false, true, true);
  ASSERT_TRUE(start(child, {"close-output", "sleep", "30"}));
  EXPECT_EQ(readToEnd(child), "");
  EXPECT_EQ(readToEnd(child, true), "");
  EXPECT_FALSE(child.waitFor(0));
}

TEST(ProcessExtensions, AGrandchildWithThePipeDoesNotKeepAnybody) {
  GProcess child(testChild, false, true, false);
  ASSERT_TRUE(start(child, {"leave", "2", "sleep", "30", "out", "parent done\n"}));
  EXPECT_TRUE(child.waitFor(20));
  char block[100];
  const int count = child.readAvailableStdOut(block, sizeof block, 1);
  EXPECT_EQ(std::string(block, count > 0 ? static_cast<std::size_t>(count) : 0), "parent done\n");
  EXPECT_EQ(child.readAvailableStdOut(block, sizeof block, 0.01), 0) << "held, but silent";
}

TEST(ProcessExtensions, LeaveNothingBehindInManyRuns) {
  HeldResources before;
  for (int i = 0; i <= manyChildren; ++i) {
    // The system may need something for the first one that it keeps.
    if (i == 1) before = heldResources();
    GProcess child(quickProgram, i % 2 == 0, i % 3 == 0, i % 5 == 0);
    ASSERT_TRUE(start(child, {})) << i;
    int code = -1;
    if (i % 4 != 0) {
      ASSERT_EQ(child.getExitCode(true, &code), 1) << i;
      ASSERT_EQ(code, 0);
    }
  }
  EXPECT_EQ(heldResources(), before);
}

}  // namespace
}  // namespace loomkit::testing
