// SPDX-License-Identifier: MIT
#include "tools/loom/progress_bar.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "run_program.h"

namespace {

using namespace loomkit::testing;
using loom::progressText;

TEST(ProgressBar, DrawsThePartThatIsDone) {
  const std::string empty(30, ' ');
  const std::string half = std::string(15, '#') + std::string(15, ' ');
  const std::string full(30, '#');
  EXPECT_EQ(progressText("a", 0, 10), "a [" + empty + "]   0 %");
  EXPECT_EQ(progressText("a", 5, 10), "a [" + half + "]  50 %");
  EXPECT_EQ(progressText("a", 10, 10), "a [" + full + "] 100 %");
  EXPECT_EQ(progressText("a", 11, 10), "a [" + full + "] 100 %") << "a total that was too small";
  EXPECT_EQ(progressText("a", std::numeric_limits<std::uint64_t>::max() / 2,
                         std::numeric_limits<std::uint64_t>::max()),
            "a [" + half + "]  50 %");
  EXPECT_EQ(progressText("a", 1234, 0), "a 1234") << "no total";
}

// The copy of a table that takes a moment, watched by a person.
TEST(ProgressBar, IsDrawnOnATerminalAndGoneAtTheEnd) {
  const std::string dir = newFolder();
  std::string rows;
  for (int i = 0; i < 300000; ++i) rows += std::to_string(i) + ";name\n";
  writeFile(dir + "/big.csv", rows);
  const std::string command = "loom db copy csv:" + dir + " big sqlite3:" + dir + "/b.db";
  const Ended ended =
      shell("python3 -c 'import pty, sys; sys.exit(pty.spawn([\"sh\", \"-c\", sys.argv[1]]))' '" +
            command + " >/dev/null'");
  EXPECT_EQ(ended.code, 0);
  EXPECT_NE(ended.out.find("big ["), std::string::npos) << ended;
  EXPECT_EQ(ended.out.substr(ended.out.rfind('\r')), "\r\033[K");
}

}  // namespace
