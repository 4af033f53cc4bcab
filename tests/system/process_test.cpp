// SPDX-License-Identifier: MIT
#define LOOMKIT_NO_SURPRISE_WARNINGS  // the surprises are what is tested here
#include "loomkit/system/process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

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

// A shell that runs `script`.
bool runShell(GProcess& shell, const char* script) {
  const char* arguments[] = {"-c", script};
  return shell.run(2, arguments);
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
  GProcess child("printf", false, true, false);
  const char* arguments[] = {"%s|%s|%s", "a b\\", "\"", ""};
  ASSERT_TRUE(child.run(4, arguments));
  EXPECT_EQ(readOut(child, 7), "a b\\|\"|");
  int code = 7;
  EXPECT_EQ(child.getExitCode(true, &code), 1);
  EXPECT_EQ(code, 0);
  EXPECT_EQ(child.getExitCode(true, &code), -1);
}

TEST(Process, TranslatesLineEndsAlsoAcrossReads) {
  const struct {
    const char* script;
    const char* text;
  } rows[] = {{"printf 'x\\r\\ny'", "x\ny"},
              {"printf '\\ry'", "\ry"},
              {"printf '\\r\\r\\n.'", "\r\n."},
              {"printf 'a\\r\\r\\rb\\n'", "a\r\r\rb\n"}};
  for (const auto& row : rows) {
    const std::string text = row.text;
    for (unsigned step = 1; step <= text.size(); ++step) {
      GProcess child("sh", false, true, false);
      ASSERT_TRUE(runShell(child, row.script));
      std::string got;
      while (got.size() < text.size())
        got += readOut(child,
                       std::min<unsigned>(step, static_cast<unsigned>(text.size() - got.size())));
      EXPECT_EQ(got, text) << step;
    }
  }
}

TEST(Process, ReadsStandardError) {
  GProcess child("sh", false, false, true);
  ASSERT_TRUE(runShell(child, "echo oops >&2"));
  char text[5];
  EXPECT_EQ(child.readStdErr(text, 5, true), 5);
  EXPECT_EQ(std::string(text, 5), "oops\n");
}

TEST(Process, UnusedStreamsGiveMinusOneWithoutAMessage) {
  const CaptureOutput output;
  GProcess child("cat", false, false, false);
  ASSERT_TRUE(child.run(0, nullptr));
  char text[4];
  EXPECT_EQ(child.readStdOut(text, 4, false), -1);
  EXPECT_EQ(child.readStdErr(text, 4, false), -1);
  EXPECT_EQ(child.writeStdIn(text, 4, false), -1);
  EXPECT_EQ(child.sendStdIn(text, 4), -1);
  EXPECT_FALSE(child.closeStdIn());
  int code = 0;  // its input is at the end, so cat ends
  EXPECT_EQ(child.getExitCode(true, &code), 1);
  EXPECT_THAT(output.lines, IsEmpty());
}

TEST(Process, SizeZeroTouchesNothing) {
  GProcess child("cat", true, true, false);
  ASSERT_TRUE(child.run(0, nullptr));
  EXPECT_EQ(child.readStdOut(nullptr, 0, false), 0);
  EXPECT_EQ(child.writeStdIn(nullptr, 0, false), 0);
}

TEST(Process, WriteStdInSendsZerosAndSendStdInTheData) {
  GProcess child("cat", true, true, false);
  ASSERT_TRUE(child.run(0, nullptr));
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
    GProcess child("sh", false, false, false);
    ASSERT_TRUE(runShell(child, ("exit " + std::to_string(expected)).c_str()));
    int code = -1;
    EXPECT_EQ(child.getExitCode(true, &code), 1);
    EXPECT_EQ(code, expected);
    EXPECT_EQ(child.getExitCode(code), -1);
    EXPECT_FALSE(child.kill());
  }
}

TEST(Process, ARunningChildHasNoExitCodeAndAKilledOneHas1) {
  const CaptureOutput output;
  GProcess child("sh", true, false, false);
  EXPECT_FALSE(child.kill());
  ASSERT_TRUE(runShell(child, "trap '' TERM HUP INT; cat"));
  int code = 42;
  EXPECT_EQ(child.getExitCode(code), 0);
  EXPECT_EQ(code, 42);
  EXPECT_TRUE(child.kill());
  EXPECT_EQ(child.getExitCode(true, &code), 1);
  EXPECT_EQ(code, 1);
  EXPECT_THAT(output.lines, IsEmpty());
}

TEST(Process, ASignalIsAnExitCodeOfItsOwn) {
  GProcess child("sh", false, false, false);
  ASSERT_TRUE(runShell(child, "kill -TERM $$"));
  int code = 0;
  EXPECT_EQ(child.getExitCode(true, &code), 1);
  EXPECT_EQ(code, 128 + 15);
}

TEST(Process, AProgramThatIsNotThereIsReported) {
  const CaptureOutput output;
  GProcess child("no_such_program_here", false, false, false);
  EXPECT_FALSE(child.run(0, nullptr));
  EXPECT_FALSE(child.run(-1, nullptr));
  EXPECT_THAT(output.texts(), ElementsAre(testing::StartsWith("Can't create process"),
                                          testing::StartsWith("Can't create process")));
}

TEST(Process, TheDestructorLeavesNoZombie) {
  {
    GProcess child("cat", true, false, false);
    ASSERT_TRUE(child.run(0, nullptr));
  }
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

// Where the host has its children's ends thrown away, or waits for them itself,
// the child's number can soon be another process's.
TEST(Process, AChildThatSomebodyElseHasWaitedForIsForgotten) {
  const CaptureOutput output;
  struct sigaction ignore = {}, before = {};
  ignore.sa_handler = SIG_IGN;
  ASSERT_EQ(::sigaction(SIGCHLD, &ignore, &before), 0);
  GProcess child("true", false, false, false), unseen("true", false, false, false);
  ASSERT_TRUE(child.run(0, nullptr));
  ASSERT_TRUE(unseen.run(0, nullptr));
  EXPECT_EQ(::waitpid(-1, nullptr, 0), -1);  // both have ended
  ::sigaction(SIGCHLD, &before, nullptr);
  int code = 42;
  EXPECT_EQ(child.getExitCode(code), -1);
  EXPECT_EQ(child.getExitCode(code), -1);
  EXPECT_EQ(code, 42);
  EXPECT_FALSE(child.kill());
  EXPECT_FALSE(unseen.kill());
  EXPECT_FALSE(unseen.kill());
  EXPECT_THAT(output.texts(), ElementsAre(testing::StartsWith("Can't get process state"),
                                          testing::StartsWith("Can't terminate process")));
}

TEST(Process, WaitingForAChildThatIsGoneFailsAtTheQuery) {
  const CaptureOutput output;
  GProcess child("true", false, false, false);
  ASSERT_TRUE(child.run(0, nullptr));
  EXPECT_GT(::waitpid(-1, nullptr, 0), 0);
  int code = 42;
  EXPECT_EQ(child.getExitCode(true, &code), -1);
  EXPECT_EQ(code, 42);
  EXPECT_THAT(output.texts(), ElementsAre("Can't get process state No child processes"));
}

TEST(Process, AnIdleObjectIsCopied) {
  GProcess original("sh", false, true, false);
  GProcess copy(original);
  ASSERT_TRUE(runShell(copy, "printf x"));
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

TEST(Process, OtherDescriptorsDoNotReachTheChild) {
  const int open = ::open("/dev/null", O_RDONLY);  // deliberately inheritable
  ASSERT_GE(open, 3);
  GProcess child("sh", false, true, false);
  ASSERT_TRUE(runShell(
      child,
      ("[ -e /proc/self/fd/" + std::to_string(open) + " ] && printf y || printf n").c_str()));
  EXPECT_EQ(readOut(child, 1), "n");
  ::close(open);
}

TEST(Process, ChildrenInheritTheEnvironment) {
  GProcess::setEnv("LOOMKIT_PROCESS_TEST", "woven");
  GProcess child("sh", false, true, false);
  ASSERT_TRUE(runShell(child, "printf $LOOMKIT_PROCESS_TEST"));
  EXPECT_EQ(readOut(child, 5), "woven");
}

TEST(ProcessStart, ReportsNothingAndLeavesTheReason) {
  GProcess child("/nowhere/at/all", false, false, false);
  errno = 0;
  EXPECT_FALSE(child.start(0, nullptr, {}));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(child.getId(), 0);
}

TEST(ProcessStart, TheChildCanLeadAGroup) {
  GProcess child("sh", false, true, false);
  GProcess::Settings settings;
  settings.ownGroup = true;
  settings.environment = {"GREETING=hello"};
  settings.directory = "/";
  const char* arguments[] = {"-c", "echo $GREETING; pwd"};
  ASSERT_TRUE(child.start(2, arguments, settings));
  EXPECT_EQ(::getpgid(static_cast<pid_t>(child.getId())), child.getId());
  int code = -1;
  EXPECT_EQ(child.getExitCode(true, &code), 1);
  EXPECT_EQ(code, 0);
  EXPECT_EQ(child.getId(), 0);
  char text[8] = {};
  EXPECT_EQ(child.readAvailableStdOut(text, 8, 1), 8);
  EXPECT_EQ(std::string(text, 8), "hello\n/\n");
}

TEST(ProcessStart, TheChildCanHaveTheFilesOfThisProcess) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  GProcess child("sh", false, false, false);
  GProcess::Settings settings;
  settings.inheritAll = true;
  const std::string script = "echo through >/dev/fd/" + std::to_string(ends[1]);
  const char* arguments[] = {"-c", script.c_str()};
  ASSERT_TRUE(child.start(2, arguments, settings));
  int code = -1;
  EXPECT_EQ(child.getExitCode(true, &code), 1);
  char text[8] = {};
  EXPECT_EQ(::read(ends[0], text, sizeof text), 8);
  EXPECT_EQ(std::string(text, 8), "through\n");
  ::close(ends[0]);
  ::close(ends[1]);
}

}  // namespace
