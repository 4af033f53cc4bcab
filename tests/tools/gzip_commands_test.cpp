// SPDX-License-Identifier: MIT
// loom gzip, gunzip and run: the plain cases are the examples of the commands.
#include <gtest/gtest.h>

#include "run_program.h"

namespace {

using namespace loomkit::testing;

TEST(GzipCommand, AgreesWithGzip) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "seq 200000 > a && : > b && loom gzip a b && gzip -t a.gz b.gz && "
                       "gzip -dc a.gz | cmp - a && gzip -dc b.gz | cmp - b"),
            (Ended{0, "", ""}));
  EXPECT_EQ(shell(cd + "gzip -9kf a && mv a a0 && loom gunzip a.gz && cmp a a0 && ls"),
            (Ended{0, "a\na.gz\na0\nb\nb.gz\n", ""}));
  EXPECT_EQ(shell(cd + "cat a.gz b.gz a.gz > c.gz && loom gunzip -c c.gz | md5sum && "
                       "cat a0 a0 | md5sum")
                .out.substr(0, 32),
            shell(cd + "cat a0 a0 | md5sum").out.substr(0, 32))
      << "several members are one file";
  EXPECT_EQ(
      shell(cd + "head -c 1000 /dev/zero | cat a.gz - > z.gz && loom gunzip -c z.gz | cmp - a0"),
      (Ended{0, "", ""}))
      << "zeros may fill up the end";
}

TEST(GzipCommand, ADamagedFileLeavesNothing) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  ASSERT_EQ(shell(cd + "seq 1000 | gzip > good.gz && head -c 500 good.gz > cut.gz && "
                       "head -c -8 good.gz > tail.gz && printf 12345678 >> tail.gz && "
                       "echo text > text.gz && : > empty.gz && "
                       "{ cat good.gz; echo garbage; } > behind.gz")
                .code,
            0);
  struct Case {
    const char* name;
    const char* text;
  };
  for (const Case& c : {Case{"cut", "unexpected end"}, Case{"tail", "the data are damaged"},
                        Case{"text", "not a gzip file"}, Case{"empty", "not a gzip file"},
                        Case{"behind", "the data are damaged"}}) {
    const std::string name = c.name;
    EXPECT_EQ(shell(cd + "loom gunzip " + name + ".gz"),
              (Ended{4, "", "loom: " + name + ".gz: " + c.text + "\n"}));
    EXPECT_EQ(shell(cd + "test -e " + name).code, 1);
  }
}

TEST(GzipCommand, ReplacesAndRemovesOnlyWhenTold) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "echo 1 > a && loom gzip a && loom gzip a"),
            (Ended{6, "", "loom: a.gz is there already (--force replaces it)\n"}));
  EXPECT_EQ(shell(cd + "loom gzip --force --remove a && ls"), (Ended{0, "a.gz\n", ""}));
  EXPECT_EQ(shell(cd + "loom gunzip --remove a.gz && ls && cat a"), (Ended{0, "a\n1\n", ""}));
  EXPECT_EQ(shell(cd + "loom gunzip a"), (Ended{2, "", "loom: not a name that ends in .gz: a\n"}));
  EXPECT_EQ(shell(cd + "loom gzip none a").code, 3) << "the others are compressed all the same";
  EXPECT_EQ(shell(cd + "ls"), (Ended{0, "a\na.gz\n", ""}));
}

TEST(GzipCommand, AFullDiskIsTold) {
  const std::string dir = newFolder();
  const std::string cd = "cd " + dir + " && ";
  EXPECT_EQ(shell(cd + "head -c 300000 /dev/urandom > a; ulimit -f 8; trap '' XFSZ; loom gzip a"),
            (Ended{6, "", "loom: a.gz: File too large\n"}));
  EXPECT_EQ(shell(cd + "loom gzip -c a > /dev/full").code, 6);
  EXPECT_EQ(shell(cd + "ls"), (Ended{0, "a\n", ""}));
}

TEST(RunCommand, PassesOnWhatTheChildDoes) {
  EXPECT_EQ(runLoom({"run", "--", "sh", "-c", "echo out; echo err >&2; exit 3"}),
            (Ended{3, "out\n", "err\n"}));
  EXPECT_EQ(runLoom({"run", "--", "sh", "-c", "kill -9 $$"}).code, 137);
  EXPECT_EQ(runLoom({"run", "-C", "/", "--", "pwd"}), (Ended{0, "/\n", ""}));
  EXPECT_EQ(runLoom({"run", "--", "printf", "%s|", "a b", "\"q\"", "", "x\\"}),
            (Ended{0, "a b|\"q\"||x\\|", ""}));
  EXPECT_EQ(runLoom({"run", "--", "/nowhere/at/all"}).code, 3);
  EXPECT_EQ(runLoom({"run", "-t", "x", "--", "true"}).code, 2);
  EXPECT_EQ(
      shell("loom run -- sh -c 'seq 300000; seq 300000 >&2' 2>e | md5sum; md5sum < e; rm e").out,
      shell("seq 300000 | md5sum; seq 300000 | md5sum").out);
}

TEST(RunCommand, EndsAChildWhoseTimeIsUp) {
  EXPECT_EQ(runLoom({"run", "-t", "3", "--", "sh", "-c", "echo begun; exec sleep 60"}),
            (Ended{124, "begun\n", "loom: ended after 3 s: sh\n"}));
}

TEST(RunCommand, PrintsJson) {
  const Ended ended = runLoom({"run", "--json", "--", "sh", "-c", "echo a; echo b >&2; exit 4"});
  EXPECT_EQ(ended.code, 4);
  EXPECT_EQ(ended.out.substr(0, 37), "{\"code\":4,\"timedOut\":false,\"seconds\":");
  EXPECT_NE(ended.out.find("\"out\":\"a\\n\",\"err\":\"b\\n\"}"), std::string::npos) << ended;
}

TEST(RunCommand, DoesNotWaitForAGrandchild) {
  EXPECT_EQ(runLoom({"run", "--", "sh", "-c", "sleep 60 & echo done"}), (Ended{0, "done\n", ""}));
}

}  // namespace
