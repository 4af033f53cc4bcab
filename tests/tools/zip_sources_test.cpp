// SPDX-License-Identifier: MIT
// loom zip new on trees that are odd or change while it runs.
#include <gtest/gtest.h>

#include "run_program.h"

namespace {

using namespace loomkit::testing;

// Runs loom at a terminal of its own. Python code stands between the two prompts for the
// password, when the files are listed and none is read yet.
Ended atTerminal(const std::string& dir, const std::string& words, const std::string& meanwhile,
                 const std::string& password) {
  writeFile(dir + "/../typing.py",
            "import os, pty, shutil, sys\n"
            "pid, fd = pty.fork()\n"
            "if pid == 0: os.execvp('loom', ['loom'] + sys.argv[1:])\n"
            "seen = b''\n"
            "def wait_for(prompt):\n"
            "  global seen\n"
            "  while prompt not in seen: seen += os.read(fd, 1000)\n"
            "wait_for(b'Password: ')\n" +
                meanwhile + "\nos.write(fd, b'" + password +
                "\\n')\n"
                "wait_for(b'Again: ')\n"
                "os.write(fd, b'" +
                password +
                "\\n')\n"
                "try:\n"
                "  while True:\n"
                "    more = os.read(fd, 1000)\n"
                "    if not more: break\n"
                "    seen += more\n"
                "except OSError: pass\n"
                "print(seen.decode().replace('\\r', ''), end='')\n"
                "sys.exit(os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]))\n");
  return shell("cd " + dir + " && python3 ../typing.py " + words);
}

class ZipSources : public ::testing::Test {
 protected:
  ZipSources() {
    EXPECT_EQ(
        shell(cd + "mkdir t && echo first > t/a && echo second > t/b && echo third > t/c").code, 0);
  }
  const std::string dir = [] {
    const std::string made = newFolder() + "/in";
    return shell("mkdir " + made).code == 0 ? made : std::string();
  }();
  const std::string cd = "cd " + dir + " && ";
};

TEST_F(ZipSources, EnterTwiceIsNoPassword) {
  const Ended run = atTerminal(dir, "zip new -e x.zip t", "", "");
  EXPECT_EQ(run.code, 2);
  EXPECT_NE(run.out.find("the password is empty, which would mean no encryption"),
            std::string::npos)
      << run;
  EXPECT_EQ(shell(cd + "ls -A").out, "t\n");
}

TEST_F(ZipSources, AFileThatVanishesIsLeftOutAndSaid) {
  const Ended run = atTerminal(dir, "zip new --strict -e x.zip t", "os.remove('t/b')", "pw");
  EXPECT_EQ(run.code, 1);
  EXPECT_NE(run.out.find("loom: left out: t/b: No such file or directory\n"), std::string::npos)
      << run;
  EXPECT_EQ(shell(cd + "unzip -P pw -tqq x.zip && zipinfo -1 x.zip"),
            (Ended{0, "t/\nt/a\nt/c\n", ""}));
}

TEST_F(ZipSources, AFileThatIsNamedMustNotVanish) {
  const Ended run = atTerminal(dir, "zip new -e x.zip t/a t/b", "os.remove('t/b')", "pw");
  EXPECT_EQ(run.code, 3);
  EXPECT_NE(run.out.find("loom: cannot open t/b: No such file or directory\n"), std::string::npos)
      << run;
  EXPECT_EQ(shell(cd + "ls -A").out, "t\n");
}

TEST_F(ZipSources, FilesThatShrinkAndGrowAreTakenAsTheyAreRead) {
  const Ended run = atTerminal(dir, "zip new -e x.zip t",
                               "open('t/a', 'w').close()\n"
                               "open('t/b', 'a').write('more\\n' * 100000)",
                               "pw");
  EXPECT_EQ(run.code, 0) << run;
  EXPECT_EQ(shell(cd + "unzip -P pw -tqq x.zip && unzip -P pw -qq x.zip -d o && diff -r t o/t"),
            (Ended{0, "", ""}));
  EXPECT_EQ(shell(cd + "echo pw > pw && loom zip test --password-file pw x.zip"),
            (Ended{0, "3 good, 0 damaged\n", ""}));
}

TEST_F(ZipSources, AFileThatBecomesADirectoryIsLeftOut) {
  const Ended run =
      atTerminal(dir, "zip new -e x.zip t", "os.remove('t/b')\nos.mkdir('t/b')", "pw");
  EXPECT_EQ(run.code, 0);
  EXPECT_NE(run.out.find("loom: left out: t/b: Is a directory\n"), std::string::npos) << run;
  EXPECT_EQ(shell(cd + "unzip -P pw -tqq x.zip").code, 0);
}

// Nobody may wait forever for the other end of a FIFO.
TEST_F(ZipSources, AFileThatBecomesAFifoIsLeftOut) {
  const Ended run =
      atTerminal(dir, "zip new -e x.zip t", "os.remove('t/b')\nos.mkfifo('t/b')", "pw");
  EXPECT_EQ(run.code, 0);
  EXPECT_NE(run.out.find("loom: left out: t/b: it is no file any more\n"), std::string::npos)
      << run;
}

TEST_F(ZipSources, SocketsFifosAndDevicesAreLeftOutAndSaid) {
  ASSERT_EQ(shell(cd + "mkfifo t/fifo && python3 -c \"import socket\n"
                       "socket.socket(socket.AF_UNIX).bind('t/socket')\" && ln -s /dev/null t/null")
                .code,
            0);
  EXPECT_EQ(shell(cd + "loom zip new --strict x.zip t /dev/null /dev/tty 2>&1 | sort"),
            (Ended{0,
                   "loom: left out: /dev/null: it is a device\n"
                   "loom: left out: /dev/tty: it is a device\n"
                   "loom: left out: t/fifo: it is a FIFO\n"
                   "loom: left out: t/null: it is a link (--links stores links)\n"
                   "loom: left out: t/socket: it is a socket\n",
                   ""}));
  EXPECT_EQ(shell(cd + "loom zip new --strict -f x.zip t 2>log").code, 1);
  EXPECT_EQ(shell(cd + "loom zip test x.zip"), (Ended{0, "3 good, 0 damaged\n", ""}));
}

TEST_F(ZipSources, ADirectoryThatCannotBeReadIsSaid) {
  // A privileged user reads every directory, without these privileges not.
  const std::string asOthers =
      "if [ $(id -u) = 0 ]; then as='setpriv --bounding-set=-dac_override,-dac_read_search'; fi; ";
  EXPECT_EQ(shell(cd + "mkdir t/shut && echo 1 > t/shut/a && chmod 000 t/shut t/c && " + asOthers +
                  "$as loom zip new --strict x.zip t; code=$?; chmod 700 t/shut t/c; exit $code"),
            (Ended{1, "",
                   "loom: left out: t/shut: what is in it: Permission denied\n"
                   "loom: left out: t/c: Permission denied\n"}));
  EXPECT_EQ(shell(cd + "zipinfo -1 x.zip").out, "t/\nt/a\nt/b\nt/shut/\n");
}

}  // namespace
