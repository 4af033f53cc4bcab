// SPDX-License-Identifier: MIT
// The tour of ./run, and what it computes, against other programs.
#include <gtest/gtest.h>

#include "run_program.h"
#include "sessions.h"

namespace {

using namespace loomkit::testing;

TEST(Tour, TheExpressionsGiveWhatTheirCommentsSay) {
  EXPECT_EQ(runLoom({"eval", "--file", LOOMKIT_SOURCE_DIR "/examples/tour/expressions.rpn"}),
            (Ended{0,
                   "954.83\n8916\n37.8\n26.22\n25\n0.523598775598299\nAda Lovelace\n"
                   "report-2026.pdf\ngz\n",
                   ""}));
}

TEST(Tour, RunsToItsEnd) {
  // The examples are built by the install check; here they may be missing.
  const Ended ended =
      shell("EXAMPLES=/nonexistent LOOM=loom " LOOMKIT_SOURCE_DIR "/examples/tour/tour.sh");
  EXPECT_EQ(ended.code, 0) << ended;
  EXPECT_EQ(ended.err, "");
  for (const char* const part :
       {"954.83\n", "\"100\" 1.19  >!< *\n", "    ^ division by zero\n",
        "(examples/functions is not built here)\n", "gpl: OK\n", "hello from loomkit\n[exit 3]\n",
        "1 good, 0 damaged\n", "data.tar", "id: oak-42\n", "34924 records\n", "signs: indexed\n",
        "0040\tCOMMERCIAL AT\t0\n", "signs, record 33, NAME: ", "signs: whole\n",
        "And on a PostgreSQL server, which was started for this\n", "20AC\tEURO SIGN\tSc\t0\n"}) {
    EXPECT_NE(ended.out.find(part), std::string::npos) << part << ended.out;
  }
}

TEST(Tour, SaysSoWhereNoServerIsInstalledAndLeavesNothingBehind) {
  const std::string folder = newFolder();
  const Ended ended =
      shell("export TMPDIR=" + folder +
            "; POSTGRESQL=/nonexistent EXAMPLES=/nonexistent LOOM=loom " LOOMKIT_SOURCE_DIR
            "/examples/tour/tour.sh");
  EXPECT_EQ(ended.code, 0) << ended;
  EXPECT_NE(ended.out.find("none is installed here"), std::string::npos) << ended;
  EXPECT_EQ(shell("ls " + folder).out, "");
}

TEST(Map, CountsTheWordsOfAFileAsWcDoes) {
  const Ended ended = shell(
      "file=/usr/share/common-licenses/GPL-3; [ -r $file ] || file=/etc/passwd\n"
      "test $(loom eval --map '${prev:-0} $nf +' <$file | tail -1) = $(wc -w <$file)");
  EXPECT_EQ(ended.code, 0) << ended;
}

TEST(Map, SumsTheFieldsOfAFileAsAwkDoes) {
  const Ended ended = shell(
      "test $(loom eval --map -F: '${prev:-0} $f3 +' </etc/passwd | tail -1) = "
      "$(awk -F: '{ s += $3 } END { print s }' /etc/passwd)");
  EXPECT_EQ(ended.code, 0) << ended;
}

}  // namespace
