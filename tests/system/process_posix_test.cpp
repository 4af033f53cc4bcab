// SPDX-License-Identifier: MIT
// What is true of children on POSIX systems alone: signals, zombies, groups and
// descriptors. The programs are the system's own.
#define LOOMKIT_NO_SURPRISE_WARNINGS  // as in process_test.cpp
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "loomkit/system/process.h"
#include "loomkit/system/run.h"
#include "tests/capture_output.h"

namespace loomkit::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr const char* testChild = LOOMKIT_TEST_CHILD;

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

TEST(PosixProcess, ASignalIsAnExitCodeOfItsOwn) {
  GProcess child("sh", false, false, false);
  ASSERT_TRUE(runShell(child, "kill -TERM $$"));
  int code = 0;
  EXPECT_EQ(child.getExitCode(true, &code), 1);
  EXPECT_EQ(code, 128 + 15);
}

TEST(PosixProcess, TheDestructorLeavesNoZombie) {
  {
    GProcess child("cat", true, false, false);
    ASSERT_TRUE(child.run(0, nullptr));
  }
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

// Where the host has its children's ends thrown away, or waits for them itself,
// the child's number can soon be another process's.
TEST(PosixProcess, AChildThatSomebodyElseHasWaitedForIsForgotten) {
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
  EXPECT_THAT(output.texts(), ElementsAre(StartsWith("Can't get process state"),
                                          StartsWith("Can't terminate process")));
}

TEST(PosixProcess, WaitingForAChildThatIsGoneFailsAtTheQuery) {
  const CaptureOutput output;
  GProcess child("true", false, false, false);
  ASSERT_TRUE(child.run(0, nullptr));
  EXPECT_GT(::waitpid(-1, nullptr, 0), 0);
  int code = 42;
  EXPECT_EQ(child.getExitCode(true, &code), -1);
  EXPECT_EQ(code, 42);
  EXPECT_THAT(output.texts(), ElementsAre("Can't get process state No child processes"));
}

TEST(PosixProcess, OtherDescriptorsDoNotReachTheChild) {
  const int open = ::open("/dev/null", O_RDONLY);  // deliberately inheritable
  ASSERT_GE(open, 3);
  GProcess child("sh", false, true, false);
  ASSERT_TRUE(runShell(
      child,
      ("[ -e /proc/self/fd/" + std::to_string(open) + " ] && printf y || printf n").c_str()));
  EXPECT_EQ(readOut(child, 1), "n");
  ::close(open);
}

TEST(PosixProcess, TheChildCanLeadAGroup) {
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

TEST(PosixProcess, TheChildCanHaveTheFilesOfThisProcess) {
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

TEST(PosixProcess, IsEndedByAnySignal) {
  for (const int signal : {SIGTERM, SIGUSR1, SIGKILL}) {
    GProcess child(testChild, false, false, false);
    const std::string number = std::to_string(signal);
    const char* arguments[] = {"die", number.c_str()};
    ASSERT_TRUE(child.run(2, arguments));
    int code = -1;
    EXPECT_EQ(child.getExitCode(true, &code), 1);
    EXPECT_EQ(code, 128 + signal);
  }
}

// A signal every 200 microseconds interrupts whatever waits.
class SignalStorm {
 public:
  SignalStorm() {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    ::sigaction(SIGALRM, &action, &before);
    setInterval(200);
  }
  SignalStorm(const SignalStorm&) = delete;
  SignalStorm& operator=(const SignalStorm&) = delete;
  ~SignalStorm() {
    setInterval(0);
    ::sigaction(SIGALRM, &before, nullptr);
  }

 private:
  static void setInterval(long microseconds) {
    itimerval interval{};
    interval.it_interval.tv_usec = microseconds;
    interval.it_value.tv_usec = microseconds;
    ::setitimer(ITIMER_REAL, &interval, nullptr);
  }
  struct sigaction before {};
};

TEST(PosixProcess, ASignalStormChangesNothing) {
  const SignalStorm storm;
  GProcess child("cat", true, true, false);
  ASSERT_TRUE(child.start(0, nullptr, {}));
  std::string sent;
  std::string received;
  char block[4096];
  for (int i = 0; i < 300; ++i) {
    const std::string text(static_cast<std::size_t>(i * 7), static_cast<char>('a' + i % 26));
    ASSERT_EQ(child.sendStdIn(text.data(), static_cast<unsigned>(text.size())),
              static_cast<int>(text.size()));
    sent += text;
    while (received.size() < sent.size()) {
      const int count = child.readAvailableStdOut(block, sizeof block, 20);
      ASSERT_GT(count, 0);
      received.append(block, static_cast<std::size_t>(count));
    }
  }
  EXPECT_EQ(received, sent);
  EXPECT_TRUE(child.closeStdIn());
  EXPECT_TRUE(child.waitFor(20));
  int code = -1;
  EXPECT_EQ(child.getExitCode(true, &code), 1);
}

TEST(PosixRun, TellsWhichSignalEndedAProgram) {
  EXPECT_EQ(run({testChild, "die", std::to_string(SIGTERM)}).exitCode, 128 + SIGTERM);
}

TEST(PosixRun, FindsTheProgramsOfTheSystem) {
  RunOptions options;
  options.input = "10\n9\n";
  EXPECT_EQ(run({"sort", "-n"}, options).out, "9\n10\n");
}

}  // namespace
}  // namespace loomkit::testing
