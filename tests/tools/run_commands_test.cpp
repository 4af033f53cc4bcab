// SPDX-License-Identifier: MIT
// loom run: the plain cases are the examples of the command, and side_by_side.sh
// compares it with timeout.
#include <gtest/gtest.h>

#include "run_program.h"

namespace {

using namespace loomkit::testing;

TEST(RunCommand, PassesOnWhatTheChildDoes) {
  EXPECT_EQ(runLoom({"run", "--", "sh", "-c", "echo out; echo err >&2; exit 3"}),
            (Ended{3, "out\n", "err\n"}));
  EXPECT_EQ(runLoom({"run", "--", "sh", "-c", "kill -9 $$"}).code, 137);
  EXPECT_EQ(runLoom({"run", "-C", "/", "--", "pwd"}), (Ended{0, "/\n", ""}));
  EXPECT_EQ(runLoom({"run", "--", "printf", "%s|", "a b", "\"q\"", "", "x\\"}),
            (Ended{0, "a b|\"q\"||x\\|", ""}));
  EXPECT_EQ(runLoom({"run", "-e", "A=1", "--", "sh", "-c", "echo $A"}), (Ended{0, "1\n", ""}));
}

TEST(RunCommand, TheChildHasTheStreamsAndFilesOfLoom) {
  EXPECT_EQ(runLoom({"run", "--", "cat"}, "input"), (Ended{0, "input", ""}));
  EXPECT_EQ(shell("echo three | (exec 3<&0; loom run -t 9 -- sh -c 'cat <&3')"),
            (Ended{0, "three\n", ""}));
  EXPECT_EQ(shell("trap '' HUP; loom run -- sh -c 'kill -HUP $$; echo lives'"),
            (Ended{0, "lives\n", ""}));
  EXPECT_EQ(shell("(loom run -- sh -c 'echo 1; echo 2 >&2; echo 3') 2>&1").out, "1\n2\n3\n")
      << "in the order of their writing";
}

TEST(RunCommand, HasTheExitCodesOfTimeout) {
  const std::string dir = newFolder();
  writeFile(dir + "/text", "no program");
  EXPECT_EQ(runLoom({"run", "--", "/nowhere/at/all"}),
            (Ended{127, "", "loom: cannot run /nowhere/at/all: No such file or directory\n"}));
  EXPECT_EQ(runLoom({"run", "--", "no-such-program-anywhere"}).code, 127);
  EXPECT_EQ(runLoom({"run", "--", dir + "/text"}),
            (Ended{126, "", "loom: cannot run " + dir + "/text: Permission denied\n"}));
  EXPECT_EQ(runLoom({"run", "-t", "x", "--", "true"}),
            (Ended{125, "", "loom: not a span of time: x\n"}));
  for (const char* const span : {"-1", "1x", "1ss", "", "nan"})
    EXPECT_EQ(runLoom({"run", std::string("--timeout=") + span, "--", "true"}).code,
              *span == '\0' ? 2 : 125)
        << span;
  EXPECT_EQ(runLoom({"run", "-s", "FOO", "--", "true"}),
            (Ended{125, "", "loom: not a signal: FOO\n"}));
  EXPECT_EQ(runLoom({"run", "-C", "/nowhere", "--", "true"}),
            (Ended{125, "", "loom: cannot change to /nowhere: No such file or directory\n"}));
  EXPECT_EQ(runLoom({"run", "-C", "/etc/passwd", "--", "true"}).code, 125);
  EXPECT_EQ(runLoom({"run", "-t", "0", "--", "true"}).code, 0) << "0 is no limit";
  EXPECT_EQ(runLoom({"run", "-t", "1d", "--", "true"}).code, 0);
}

// Here loom is the program that loom runs, which it finds on every system.
TEST(RunCommand, RunsItself) {
  EXPECT_EQ(shell(R"(loom run -- loom eval '"a b\\" " c" +')"), (Ended{0, "a b\\\" c\n", ""}));
  EXPECT_EQ(shell("loom run -- loom eval '1 +'"),
            (Ended{5, "", "loom: rpn error: stack underflow:\n1  >!< +\n"}));
  EXPECT_EQ(shell("loom run -- loom sum - && loom run -- loom eval 1", "abc"),
            (Ended{0, "900150983cd24fb0d6963f7d28e17f72  -\n1\n", ""}));
  EXPECT_EQ(shell("cd " + newFolder() +
                  " && mkdir 'a b' && printf abc > 'a b/c' && loom run -C 'a b' -- loom sum c"),
            (Ended{0, "900150983cd24fb0d6963f7d28e17f72  c\n", ""}));
}

TEST(RunCommand, EndsItselfWhenTheTimeIsUp) {
  const std::string begin = "cd " + newFolder() + " && truncate -s 20G big && loom run -t 0.3 ";
  EXPECT_EQ(shell(begin + "-- loom gzip big"), (Ended{124, "", "loom: ended after 0.3 s: loom\n"}));
  const Ended killed = shell(begin + "--json -s KILL -- loom gzip big");
  EXPECT_EQ(killed.code, 137);
  EXPECT_EQ(killed.out.substr(0, 28), "{\"code\":137,\"timedOut\":true,");
}

TEST(RunCommand, EndsAChildWhoseTimeIsUp) {
  EXPECT_EQ(runLoom({"run", "-t", "1", "--", "sh", "-c", "echo begun; exec sleep 60"}),
            (Ended{124, "begun\n", "loom: ended after 1 s: sh\n"}));
  EXPECT_EQ(runLoom({"run", "-t", "0.2s", "--", "sh", "-c", "trap 'exit 3' TERM; sleep 60"}).code,
            124);
}

TEST(RunCommand, ChoosesTheSignal) {
  const std::string script = "trap 'echo caught; exit 3' USR1; while :; do sleep 0.1; done";
  for (const char* const name : {"USR1", "SIGUSR1", "usr1", "10"}) {
    const Ended ended = runLoom({"run", "-t", "0.3", "-s", name, "--", "sh", "-c", script});
    EXPECT_EQ(ended.code, 124) << name;
    EXPECT_EQ(ended.out, "caught\n") << name;
  }
}

TEST(RunCommand, KillsWhatRefusesToEnd) {
  const std::string deaf = "trap '' TERM; while :; do sleep 0.1; done";
  EXPECT_EQ(runLoom({"run", "-t", "0.2", "-k", "0.2", "--", "sh", "-c", deaf}).code, 137);
  EXPECT_EQ(runLoom({"run", "-t", "0.2", "-s", "KILL", "--", "sh", "-c", deaf}).code, 137);
}

// A script that runs a child with a child of its own, and waits until that one has
// ended: what is left of it then may wait for a parent.
std::string family(const std::string& options, const std::string& behind) {
  const std::string dir = newFolder();
  return "cd " + dir + "; loom run " + options +
         " -- sh -c 'sh -c \"echo \\$\\$ > grandchild; exec sleep 60\" & wait' " + behind +
         "; while grep -qs 'State:.[^Z]' /proc/$(cat grandchild)/status; do sleep 0.05; done; echo "
         "gone";
}

TEST(RunCommand, ATimeLimitEndsTheWholeGroup) {
  EXPECT_EQ(shell(family("-t 0.5", "2>&-")).out, "gone\n");
  EXPECT_EQ(shell(family("-t 0.5 -s KILL", "2>&-")).out, "gone\n");
  EXPECT_EQ(shell(family("-t 0.5 --json", ">json")).out, "gone\n");
}

TEST(RunCommand, PassesItsOwnEndOn) {
  const std::string wait = "& while ! test -s grandchild; do sleep 0.01; done; kill ";
  for (const char* const signal : {"-TERM", "-HUP"}) {
    const Ended ended = shell(family("--json", ">json " + wait + signal + " $!; wait $!; echo $?"));
    EXPECT_EQ(ended.out, std::string(signal) == "-HUP" ? "129\ngone\n" : "143\ngone\n") << ended;
    const Ended plain = shell(family("", wait + signal + " $!; wait $!; echo $?"));
    EXPECT_EQ(plain.out, ended.out) << plain;
  }
  EXPECT_EQ(shell("loom run -k 0.2 -- sh -c 'trap \"\" TERM; echo > ready; while :; do sleep 0.1; "
                  "done' & sleep 0.5; kill $!; wait $!; code=$?; rm ready; exit $code")
                .code,
            137)
      << "who refuses a signal that was passed on is killed, too";
}

TEST(RunCommand, InTheForegroundOnlyTheChildIsSignalled) {
  EXPECT_EQ(shell("loom run --foreground -t 0.3 -- sh -c '(trap \"\" HUP; sleep 1; echo lives) & "
                  "exec sleep 60' 2>&-; sleep 1.2")
                .out,
            "lives\n");
}

TEST(RunCommand, PrintsJson) {
  const Ended ended =
      runLoom({"run", "--json", "--", "sh", "-c", "cat; echo b >&2; exit 4"}, "a\n");
  EXPECT_EQ(ended.code, 4);
  EXPECT_EQ(ended.out.substr(0, 37), "{\"code\":4,\"timedOut\":false,\"seconds\":");
  EXPECT_NE(ended.out.find("\"out\":\"a\\n\",\"err\":\"b\\n\"}"), std::string::npos) << ended;
  const Ended late = runLoom({"run", "--json", "-t", "0.2", "-s", "9", "--", "sleep", "60"});
  EXPECT_EQ(late.code, 137);
  EXPECT_EQ(late.out.substr(0, 28), "{\"code\":137,\"timedOut\":true,");
}

TEST(RunCommand, DoesNotWaitForAGrandchild) {
  EXPECT_EQ(runLoom({"run", "--json", "--", "sh", "-c", "sleep 5 & echo done"}).code, 0);
}

}  // namespace
