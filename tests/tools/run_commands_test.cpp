// SPDX-License-Identifier: MIT
// loom run: the plain cases are the examples of the command.
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
