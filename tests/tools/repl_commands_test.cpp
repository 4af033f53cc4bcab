// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <signal.h>

#include <nlohmann/json.hpp>

#include "run_program.h"
#include "terminal_session.h"

namespace {

using namespace loomkit::testing;
using Json = nlohmann::json;

struct Row {
  const char* what;
  std::string input;
  Ended ended;
};
std::ostream& operator<<(std::ostream& stream, const Row& row) { return stream << row.what; }

class Repl : public ::testing::TestWithParam<Row> {};

TEST_P(Repl, AnswersAPipe) { EXPECT_EQ(runLoom({"repl"}, GetParam().input), GetParam().ended); }

INSTANTIATE_TEST_SUITE_P(
    Table, Repl,
    ::testing::Values(
        Row{"nothing", "", {0, "", ""}}, Row{"blank lines", "\n  \n", {0, "", ""}},
        Row{"the stack stays", "1\n2\n+\n", {0, "  [0] 1\n  [1] 1\n  [0] 2\n  [0] 3\n", ""}},
        Row{"an emptied stack", "1\npop", {0, "  [0] 1\n  (empty)\n", ""}},
        Row{"a failure leaves the stack",
            "7\n1 0 /\ndup\n",
            {5, "  [0] 7\n  [1] 7\n  [0] 7\n", "  1 0 /\n      ^ division by zero\n"}},
        Row{"an error in a default", "${a:-1 =}", {5, "", "  1 =\n    ^ syntax error\n"}},
        Row{"an error without a place",
            "${a:-1 2}",
            {5, "", "  1 2\n  too many result values on stack\n"}},
        Row{"strings and symbols", "\"a\" @b", {0, "  [1] \"a\"\n  [0] @b\n", ""}},
        Row{"the word that brings the stack back is not the user's",
            "1\n_\n",
            {5, "  [0] 1\n", "  _\n   ^ unknown function\n"}},
        Row{"undo",
            "1\n2\n:undo\n:undo\n:undo\n",
            {5, "  [0] 1\n  [1] 1\n  [0] 2\n  [0] 1\n  (empty)\n",
             "loom: there is nothing to take back\n"}},
        Row{"clear", "1\n:clear\n", {0, "  [0] 1\n  (empty)\n", ""}},
        Row{"set",
            "2\n:set x 3 $y 2 *\n:set x 3 1 +\n$x *\n",
            {5, "  [0] 2\n  [0] 8\n", "  3 $y 2 *\n    ^ unknown parameter\n"}},
        Row{"set wants one result",
            ":set x 1 2\n:set 1 2\n",
            {5, "",
             "loom: :set needs an expression with one result\n"
             "loom: :set needs a name and an expression\n"}},
        Row{"def",
            ":def sq 1 argc $0 $0 *\n4 sq\n:def dup 1\n",
            {5, "  [0] 16\n", "loom: 'dup' is a built-in word\n"}},
        Row{"quit", "1\n:quit\n2\n", {0, "  [0] 1\n", ""}},
        Row{"words", ":words dup\n", {0, "", "  dup  ( a -- a a )  Copies the top.\n"}},
        Row{"an unknown command",
            ":x\n",
            {5, "", "loom: there is no command ':x'; :help lists them\n"}},
        Row{"mistyped words and commands",
            ":wrods\n:words sqr\n4 sqr\n",
            {5, "",
             "loom: there is no command ':wrods'; did you mean ':words'?\n"
             "loom: there is no word 'sqr'; did you mean 'sqrt'?\n"
             "  4 sqr\n       ^ unknown function; did you mean 'sqrt'?\n"}},
        Row{"a pipe gets an answer for every line",
            "\"a\n1\n",
            {5, "  [0] 1\n", "  \"a\n    ^ unexpected end of expression\n"}}));

TEST(ReplCommand, ShowsTheTopOfALongStack) {
  const Ended ended =
      runLoom({"repl"}, "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22\n");
  EXPECT_TRUE(ended.out.starts_with("  ... 2 more below\n  [19] 3\n")) << ended.out;
}

TEST(ReplCommand, TakesTheOptionsOfEval) {
  EXPECT_EQ(runLoom({"repl", "-p", "x=2", "-d", "f=1 argc $0 10 *", "--digits", "2"}, "$x f 3 /\n"),
            (Ended{0, "  [0] 6.7\n", ""}));
}

TEST(ReplCommand, PrintsJson) {
  const Ended ended = runLoom({"repl", "--json"}, "1 \"a\"\n+\n:set q )\n:undo\n");
  EXPECT_EQ(ended.code, 5);
  EXPECT_EQ(Json::parse(ended.out), Json::parse(R"([
    {"expression": "1 \"a\"", "stack": [1, "a"]},
    {"expression": "+", "errors": ["stack[0] is not a number"], "stack": [1, "a"]}])"));
}

// What a person at a terminal sees. The script types the lines, a moment apart,
// and prints everything that came back.
Ended atTerminal(const std::string& lines, const std::string& environment) {
  const std::string folder = newFolder();
  writeFile(folder + "/type.py", R"(
import os, pty, select, signal, sys, time
lines = sys.argv[1].encode().decode('unicode_escape').encode('latin-1')
pid, fd = pty.fork()
if pid == 0:
    os.execvp('loom', ['loom', 'repl'])
seen = b''
def read(until):
    global seen
    end = time.time() + 10
    start = len(seen)
    while until not in seen[start:] and time.time() < end:
        if select.select([fd], [], [], 0.1)[0]:
            try:
                got = os.read(fd, 4096)
            except OSError:
                return
            if not got:
                return
            seen += got
    # The prompt comes a moment before the terminal is ready for keys.
    time.sleep(0.2)
read(b'> ')
for line in lines.split(b'|'):
    os.write(fd, line)
    read(b'> ')
os.write(fd, b'\x04')
read(b'@@never@@')
sys.stdout.buffer.write(seen)
for _ in range(100):
    ended, status = os.waitpid(pid, os.WNOHANG)
    if ended != 0:
        sys.exit(os.waitstatus_to_exitcode(status) % 256)
    time.sleep(0.1)
os.kill(pid, signal.SIGKILL)
sys.exit(98)
)");
  // libedit itself leaves the texts of its history to the end of the process.
  return shell("export ASAN_OPTIONS=detect_leaks=0\ncommand -v python3 >/dev/null || exit 99\n" +
               environment + " XDG_STATE_HOME=" + folder + " TERM=xterm python3 " + folder +
               "/type.py '" + lines + "'; code=$?; cat " + folder +
               "/loom/history 2>/dev/null; ls -l " + folder +
               "/loom/history 2>/dev/null | cut -c1-10; exit $code");
}

TEST(ReplCommand, AtATerminalShowsThePromptTheStackAndTheCaret) {
  const Ended ended = atTerminal("1 2 +\\n|1 0 /\\n", "");
  if (ended.code == 99) GTEST_FAIL() << "no python3: run scripts/setup.sh test";
  EXPECT_EQ(ended.code, 0) << ended;
  EXPECT_NE(ended.out.find("[0] \033[0m3"), std::string::npos) << ended;
  EXPECT_NE(ended.out.find("\n      ^ \033[31mdivision by zero\033[0m"), std::string::npos)
      << ended;
}

TEST(ReplCommand, AtATerminalObeysNoColor) {
  const Ended ended = atTerminal("1 2 +\\n", "NO_COLOR=1");
  if (ended.code == 99) GTEST_FAIL() << "no python3: run scripts/setup.sh test";
  EXPECT_NE(ended.out.find("  [0] 3"), std::string::npos) << ended;
  EXPECT_EQ(ended.out.find("\033[2m"), std::string::npos) << ended;
}

TEST(ReplCommand, AtATerminalCompletesWordsAndKeepsAPrivateHistory) {
  const Ended ended = atTerminal("4 sqr\\t\\n", "NO_COLOR=1");
  if (ended.code == 99) GTEST_FAIL() << "no python3: run scripts/setup.sh test";
  if (ended.out.find("HiStOrY") == std::string::npos) GTEST_SKIP() << "built without libedit";
  EXPECT_NE(ended.out.find("  [0] 2"), std::string::npos) << ended;
  EXPECT_NE(ended.out.find("4\\040sqrt"), std::string::npos) << ended;
  EXPECT_NE(ended.out.find("-rw-------"), std::string::npos) << ended;
}

// A session in a terminal, with a history file of its own.
class ReplSession : public ::testing::Test {
 protected:
  ReplSession() : folder(newFolder()) {}
  [[nodiscard]] std::string script() const {
    return "export NO_COLOR=1 XDG_STATE_HOME=" + folder + " LC_ALL=C.UTF-8; exec loom repl";
  }
  [[nodiscard]] std::string history() const { return readFile(folder + "/loom/history"); }
  static bool prompted(TerminalSession& session, const char* prompt = "> ") {
    return session.waitFor(prompt) && session.waitForKeys();
  }
  // Types a line when the prompt is there, and waits until it shows what it led to.
  static void enter(TerminalSession& session, const std::string& line, const std::string& answer) {
    session.type(line + "\r");
    EXPECT_TRUE(session.waitFor(answer)) << line << "\n" << session.screen().text();
    EXPECT_TRUE(prompted(session)) << session.screen().text();
  }
  std::string folder;
};

TEST_F(ReplSession, CtrlCDropsTheLineAndKeepsTheSession) {
  TerminalSession session(script());
  ASSERT_TRUE(prompted(session));
  enter(session, "1 2 +", "[0] 3");
  session.type("4 5 foo\x03");
  ASSERT_TRUE(session.waitFor("^C")) << session.screen().text();
  ASSERT_TRUE(prompted(session));
  enter(session, "2 *", "[0] 6");
  session.type("\x03");
  ASSERT_TRUE(session.waitFor("^C"));
  // Between two lines the terminal would take the key for itself.
  ASSERT_TRUE(prompted(session)) << session.screen().text();
  session.type("\x04");
  EXPECT_EQ(session.end(), 0);
  EXPECT_EQ(history().find("foo"), std::string::npos) << history();
  EXPECT_NE(history().find("2\\040*"), std::string::npos) << history();
}

TEST_F(ReplSession, CtrlCStopsACalculation) {
  TerminalSession session(script());
  ASSERT_TRUE(prompted(session));
  // Twice itself at each of 60 levels: that ends when nobody is there any more.
  enter(session, ":def g0 1 argc $0", "");
  for (int i = 1; i <= 60; ++i) {
    const std::string before = "g" + std::to_string(i - 1);
    enter(session, ":def g" + std::to_string(i) + " 1 argc $0 " + before + " " + before, "");
  }
  session.type("1 g60\r");
  ASSERT_TRUE(session.waitFor("1 g60\r\n"));
  ASSERT_TRUE(session.waitForInterruptKey());
  session.type("\x03");
  EXPECT_TRUE(session.waitFor("interrupted")) << session.screen().text();
  ASSERT_TRUE(prompted(session));
  session.type("7\r");
  EXPECT_TRUE(session.waitFor("[0] 7"));
}

TEST_F(ReplSession, SavesItsHistoryHoweverItEnds) {
  const struct {
    const char* way;
    const char* keys;
    int signal;
  } rows[] = {
      {":quit", ":quit\r", 0},      {"Ctrl-D", "\x04", 0}, {"hang-up", "", SIGHUP},
      {"termination", "", SIGTERM}, {"kill", "", SIGKILL},
  };
  std::string expected;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.way);
    TerminalSession session(script());
    ASSERT_TRUE(prompted(session));
    enter(session, std::string("\"") + row.way + "\"", "[0]");
    session.type(row.keys);
    if (row.signal != 0) session.signal(row.signal);
    session.end();
    EXPECT_NE(history().find(std::string(row.way).substr(0, 3)), std::string::npos) << history();
    EXPECT_EQ(history().find("HiStOrY"), 1U) << "one header: " << history();
    EXPECT_EQ(history().rfind("HiStOrY"), 1U);
  }
}

TEST_F(ReplSession, FindsTheHistoryOfTheLastOne) {
  {
    TerminalSession session(script());
    ASSERT_TRUE(prompted(session));
    enter(session, "40 2 +", "[0] 42");
    session.type("\x04");
    session.end();
  }
  TerminalSession session(script());
  ASSERT_TRUE(prompted(session));
  session.type("\033[A\r");
  EXPECT_TRUE(session.waitFor("[0] 42")) << session.screen().text();
}

TEST_F(ReplSession, RedrawsLinesLongerThanTheTerminal) {
  TerminalSession session(script(), 60);
  ASSERT_TRUE(prompted(session));
  std::string line;
  for (int i = 10; i < 60; ++i) line += std::to_string(i) + " pop ";  // 350 characters
  const auto rowsOf = [&](const std::string& text) {
    const std::string whole = "> " + text;
    std::string rows;
    for (std::size_t at = 0; at < whole.size(); at += 60) {
      std::string row = whole.substr(at, 60);
      rows += row.erase(row.find_last_not_of(' ') + 1) + "\n";
    }
    return rows;
  };
  session.type(line);
  EXPECT_TRUE(session.waitForScreen(rowsOf(line))) << session.screen().text();
  // At the beginning, in the midst and at the end.
  session.type(
      "\x01"
      "123 ");
  EXPECT_TRUE(session.waitForScreen(rowsOf("123 " + line))) << session.screen().text();
  for (int i = 0; i < 100; ++i) session.type("\x06");
  session.type("456 ");
  const std::string twice = "123 " + line.substr(0, 100) + "456 " + line.substr(100);
  EXPECT_TRUE(session.waitForScreen(rowsOf(twice))) << session.screen().text();
  session.type("\x0b");  // deletes to the end
  const std::string shorter = twice.substr(0, 108);
  EXPECT_TRUE(session.waitForScreen(rowsOf(shorter))) << session.screen().text();
  session.settle();
  EXPECT_TRUE(session.screen().text().ends_with(rowsOf(shorter))) << session.screen().text();
  session.type(
      "\x05"
      " 7\r");
  EXPECT_TRUE(session.waitForScreen("[0] 7\n>")) << session.screen().text();
}

TEST_F(ReplSession, AsksForTheRestOfAStringOrABrace) {
  TerminalSession session(script());
  ASSERT_TRUE(prompted(session));
  session.type("\"ab\r");
  ASSERT_TRUE(prompted(session, "\"> ")) << session.screen().text();
  session.type("cd\" size\r");
  EXPECT_TRUE(session.waitFor("[0] 5")) << session.screen().text();
  ASSERT_TRUE(prompted(session));
  session.type("${x:-1\r");
  ASSERT_TRUE(prompted(session, "}> ")) << session.screen().text();
  session.type("2 +}\r");
  EXPECT_TRUE(session.waitFor("[0] 3")) << session.screen().text();
  ASSERT_TRUE(prompted(session));
  session.type("\"never\r");
  ASSERT_TRUE(prompted(session, "\"> "));
  session.type("ends\x03");
  ASSERT_TRUE(session.waitFor("^C"));
  ASSERT_TRUE(prompted(session));
  session.type("+\r");
  EXPECT_TRUE(session.waitFor("[0] 8")) << session.screen().text();
}

}  // namespace
