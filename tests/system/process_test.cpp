// SPDX-License-Identifier: MIT
#define LOOMKIT_NO_SURPRISE_WARNINGS  // the surprises are what is tested here
#include "loomkit/system/process.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <cerrno>

#include "loomkit/platform/process.h"
#include "loomkit/system/command_line.h"
#include "tests/capture_output.h"

namespace {

using loomkit::testing::CaptureOutput;
using testing::ElementsAre;
using testing::IsEmpty;

// Does what its arguments say: see test_child.cpp.
constexpr const char* testChild = LOOMKIT_TEST_CHILD;

bool run(GProcess& child, std::vector<const char*> actions) {
  return child.run(static_cast<int>(actions.size()), actions.data());
}

std::string readOut(GProcess& child, unsigned size) {
  std::string text(size, '?');
  EXPECT_EQ(child.readStdOut(text.data(), size, false), static_cast<int>(size));
  return text;
}

TEST(Process, QuotesArgumentsInItsOwnWay) {
  const struct {
    const char* argument;
    const char* quoted;
  } rows[] = {
      {"", "\"\""},
      {"plain", "plain"},
      {"a\"b", "a\\\"b"},
      {"a\\\"b", "a\\\\\\\"b"},
      {"a\\b", "a\\b"},
      {"a b\\\\", "\"a b\"\\\\"},
      {"c:\\my dir\\", "\"c:\\my dir\"\\"},
      {"tab\there", "\"tab\there\""},
      {"a\vb", "\"a\vb\""},
      {"a\xa0"
       "b",
       "a\xa0"
       "b"},
  };
  for (const auto& row : rows) {
    std::string line;
    loomkit::appendArgument(row.argument, &line);
    EXPECT_EQ(line, row.quoted);
  }
  const char* arguments[] = {"x y", ""};
  EXPECT_EQ(loomkit::commandLine("my prog", 2, arguments), "\"my prog\" \"x y\" \"\"");
  EXPECT_EQ(loomkit::commandLine("prog", 0, nullptr), "prog");
  EXPECT_EQ(loomkit::commandLine("prog", -1, nullptr), "");
}

TEST(Process, SplittingReversesTheQuoting) {
  std::mt19937 random(17);
  const std::string alphabet = "ab\\\" \t\n";
  for (int round = 0; round < 20'000; ++round) {
    std::vector<std::string> arguments(1 + random() % 4);
    std::vector<const char*> argv;
    for (std::string& argument : arguments) {
      for (unsigned n = random() % 8; n > 0; --n) argument += alphabet[random() % alphabet.size()];
      argv.push_back(argument.c_str());
    }
    const std::string line =
        loomkit::commandLine(arguments[0], static_cast<int>(argv.size()) - 1, argv.data() + 1);
    ASSERT_EQ(loomkit::platform::splitCommandLine(line), arguments) << line;
  }
}

TEST(Process, GivesTheArgumentsAndReadsTheOutput) {
  GProcess child(testChild, false, true, false);
  ASSERT_TRUE(run(child, {"arguments", "a b\\", "\"", ""}));
  EXPECT_EQ(readOut(child, 8), "a b\\|\"||");
  int code = 7;
  EXPECT_EQ(child.getExitCode(true, &code), 1);
  EXPECT_EQ(code, 0);
  EXPECT_EQ(child.getExitCode(true, &code), -1);
}

TEST(Process, TranslatesLineEndsAlsoAcrossReads) {
  const struct {
    const char* written;
    const char* text;
  } rows[] = {
      {"x\r\ny", "x\ny"}, {"\ry", "\ry"}, {"\r\r\n.", "\r\n."}, {"a\r\r\rb\n", "a\r\r\rb\n"}};
  for (const auto& row : rows) {
    const std::string text = row.text;
    for (unsigned step = 1; step <= text.size(); ++step) {
      GProcess child(testChild, false, true, false);
      ASSERT_TRUE(run(child, {"out", row.written}));
      std::string got;
      while (got.size() < text.size())
        got += readOut(child,
                       std::min<unsigned>(step, static_cast<unsigned>(text.size() - got.size())));
      EXPECT_EQ(got, text) << step;
    }
  }
}

TEST(Process, ReadsStandardError) {
  GProcess child(testChild, false, false, true);
  ASSERT_TRUE(run(child, {"err", "oops\n"}));
  char text[5];
  EXPECT_EQ(child.readStdErr(text, 5, true), 5);
  EXPECT_EQ(std::string(text, 5), "oops\n");
}

TEST(Process, UnusedStreamsGiveMinusOneWithoutAMessage) {
  const CaptureOutput output;
  GProcess child(testChild, false, false, false);
  ASSERT_TRUE(run(child, {"copy"}));
  char text[4];
  EXPECT_EQ(child.readStdOut(text, 4, false), -1);
  EXPECT_EQ(child.readStdErr(text, 4, false), -1);
  EXPECT_EQ(child.writeStdIn(text, 4, false), -1);
  EXPECT_EQ(child.sendStdIn(text, 4), -1);
  EXPECT_FALSE(child.closeStdIn());
  int code = 0;  // its input is at the end, so the child ends
  EXPECT_EQ(child.getExitCode(true, &code), 1);
  EXPECT_THAT(output.lines, IsEmpty());
}

TEST(Process, SizeZeroTouchesNothing) {
  GProcess child(testChild, true, true, false);
  ASSERT_TRUE(run(child, {"copy"}));
  EXPECT_EQ(child.readStdOut(nullptr, 0, false), 0);
  EXPECT_EQ(child.writeStdIn(nullptr, 0, false), 0);
}

TEST(Process, WriteStdInSendsZerosAndSendStdInTheData) {
  GProcess child(testChild, true, true, false);
  ASSERT_TRUE(run(child, {"copy"}));
  char text[] = "abc";
  EXPECT_EQ(child.writeStdIn(text, 3, false), 3);
  EXPECT_EQ(std::string(text, 3), std::string(3, '\0'));
  EXPECT_EQ(child.sendStdIn("hello", 5), 5);
  EXPECT_EQ(readOut(child, 8), std::string(3, '\0') + "hello");
  EXPECT_TRUE(child.closeStdIn());
  EXPECT_FALSE(child.closeStdIn());
  int code = 9;
  EXPECT_EQ(child.getExitCode(true, &code), 1);
  EXPECT_EQ(code, 0);
}

TEST(Process, TellsEachExitCodeOnce) {
  for (const int expected : {0, 1, 3, 255}) {
    GProcess child(testChild, false, false, false);
    ASSERT_TRUE(run(child, {"exit", std::to_string(expected).c_str()}));
    int code = -1;
    EXPECT_EQ(child.getExitCode(true, &code), 1);
    EXPECT_EQ(code, expected);
    EXPECT_EQ(child.getExitCode(code), -1);
    EXPECT_FALSE(child.kill());
  }
}

TEST(Process, ARunningChildHasNoExitCodeAndAKilledOneHas1) {
  const CaptureOutput output;
  GProcess child(testChild, true, false, false);
  EXPECT_FALSE(child.kill());
  ASSERT_TRUE(run(child, {"ignore", "copy"}));
  int code = 42;
  EXPECT_EQ(child.getExitCode(code), 0);
  EXPECT_EQ(code, 42);
  EXPECT_TRUE(child.kill());
  EXPECT_EQ(child.getExitCode(true, &code), 1);
  EXPECT_EQ(code, 1);
  EXPECT_THAT(output.lines, IsEmpty());
}

TEST(Process, AProgramThatIsNotThereIsReported) {
  const CaptureOutput output;
  GProcess child("no_such_program_here", false, false, false);
  EXPECT_FALSE(child.run(0, nullptr));
  EXPECT_FALSE(child.run(-1, nullptr));
  EXPECT_THAT(output.texts(), ElementsAre(testing::StartsWith("Can't create process"),
                                          testing::StartsWith("Can't create process")));
}

TEST(Process, AnIdleObjectIsCopied) {
  GProcess original(testChild, false, true, false);
  GProcess copy(original);
  ASSERT_TRUE(run(copy, {"out", "x"}));
  EXPECT_EQ(readOut(original, 1), "x") << "the two share one child";
  GProcess other("none", true, false, true);
  other = copy;
  int code = 42;
  EXPECT_EQ(other.getExitCode(true, &code), 1);
  EXPECT_EQ(code, 0);
  EXPECT_EQ(original.getExitCode(code), -1);
  GProcess* const self = &other;
  other = *self;
  EXPECT_EQ(other.readStdErr(nullptr, 1, false), -1) << "the flags are copied";
}

TEST(Process, ChildrenInheritTheEnvironment) {
  GProcess::setEnv("LOOMKIT_PROCESS_TEST", "woven");
  GProcess child(testChild, false, true, false);
  ASSERT_TRUE(run(child, {"variable", "LOOMKIT_PROCESS_TEST"}));
  EXPECT_EQ(readOut(child, 6), "woven\n");
}

TEST(ProcessStart, ReportsNothingAndLeavesTheReason) {
  GProcess child("/nowhere/at/all", false, false, false);
  errno = 0;
  EXPECT_FALSE(child.start(0, nullptr, {}));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(child.getId(), 0);
}

}  // namespace
