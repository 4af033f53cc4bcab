// SPDX-License-Identifier: MIT
// GProcess with its extensions, against a child that misbehaves.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "loomkit/system/process.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"

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

std::size_t openDescriptors() {
  return static_cast<std::size_t>(std::distance(
      std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator()));
}

bool hasChildren() { return ::waitpid(-1, nullptr, WNOHANG) != -1; }

TEST(ProcessExtensions, RunElsewhereWithOtherVariables) {
  const ScratchDirectory scratch;
  ::setenv("LOOMKIT_KEPT", "kept", 1);
  ::setenv("LOOMKIT_OTHER", "old", 1);
  GProcess child("sh", false, true, false);
  ASSERT_TRUE(start(child, {"-c", "pwd; echo $LOOMKIT_KEPT $LOOMKIT_OTHER $LOOMKIT_NEW"},
                    scratch.path(), {"LOOMKIT_OTHER=other", "LOOMKIT_NEW=a b"}));
  EXPECT_EQ(readToEnd(child),
            std::filesystem::canonical(scratch.path()).string() + "\nkept other a b\n");
}

TEST(ProcessExtensions, SayWhatCannotBeStarted) {
  CaptureOutput output;
  const std::size_t before = openDescriptors();
  {
    GProcess child("true", true, true, true);
    EXPECT_FALSE(start(child, {}, "/nowhere/at/all"));
    EXPECT_TRUE(child.waitFor(10)) << "there is no child to wait for";
  }
  EXPECT_EQ(openDescriptors(), before);
  ASSERT_EQ(output.texts().size(), 1U);
  EXPECT_EQ(output.texts()[0].substr(0, 20), "Can't create process");
}

TEST(ProcessExtensions, AConversationHasAnEnd) {
  GProcess child("cat", true, true, false);
  ASSERT_TRUE(start(child, {}));
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
  GProcess child("printf", false, true, false);
  ASSERT_TRUE(start(child, {"ab\\r\\rcdef"}));
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

TEST(ProcessExtensions, SeeWhichSignalEndedAChild) {
  for (const int signal : {SIGTERM, SIGUSR1, SIGKILL}) {
    GProcess child(testChild, false, false, false);
    ASSERT_TRUE(start(child, {"die", std::to_string(signal).c_str()}));
    int code = -1;
    EXPECT_EQ(child.getExitCode(true, &code), 1);
    EXPECT_EQ(code, 128 + signal);
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
  ASSERT_TRUE(start(child, {"ignore"}));
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
  ASSERT_TRUE(start(child, {"close", "30"}));
  EXPECT_EQ(readToEnd(child), "");
  EXPECT_EQ(readToEnd(child, true), "");
  EXPECT_FALSE(child.waitFor(0));
}

TEST(ProcessExtensions, AGrandchildWithThePipeDoesNotKeepAnybody) {
  GProcess child(testChild, false, true, false);
  ASSERT_TRUE(start(child, {"grandchild"}));
  EXPECT_TRUE(child.waitFor(20));
  char block[100];
  const int count = child.readAvailableStdOut(block, sizeof block, 1);
  EXPECT_EQ(std::string(block, count > 0 ? static_cast<std::size_t>(count) : 0), "parent done\n");
  EXPECT_EQ(child.readAvailableStdOut(block, sizeof block, 0.01), 0) << "held, but silent";
}

TEST(ProcessExtensions, LeaveNothingBehindInTenThousandRuns) {
  const std::size_t before = openDescriptors();
  for (int i = 0; i < 10000; ++i) {
    GProcess child("true", i % 2 == 0, i % 3 == 0, i % 5 == 0);
    ASSERT_TRUE(start(child, {})) << i;
    int code = -1;
    if (i % 4 != 0) {
      ASSERT_EQ(child.getExitCode(true, &code), 1) << i;
      ASSERT_EQ(code, 0);
    }
  }
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_FALSE(hasChildren());
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

TEST(ProcessExtensions, ASignalStormChangesNothing) {
  const SignalStorm storm;
  GProcess child("cat", true, true, false);
  ASSERT_TRUE(start(child, {}));
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

}  // namespace
}  // namespace loomkit::testing
