// SPDX-License-Identifier: MIT
#include "tools/loom/progress_bar.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "run_program.h"
#include "terminal_session.h"
#include "tools/loom/command_line.h"
#include "tools/loom/display_width.h"

namespace {

using namespace loomkit::testing;
using loom::progressText;

std::string bar(std::size_t filled, std::size_t width) {
  return "[" + std::string(filled, '#') + std::string(width - filled, ' ') + "]";
}

TEST(ProgressBar, DrawsThePartThatIsDone) {
  EXPECT_EQ(progressText("a", 0, 10, 80), "a " + bar(0, 30) + "   0 %");
  EXPECT_EQ(progressText("a", 5, 10, 80), "a " + bar(15, 30) + "  50 %");
  EXPECT_EQ(progressText("a", 10, 10, 80), "a " + bar(30, 30) + " 100 %");
  EXPECT_EQ(progressText("a", 11, 10, 80), "a " + bar(30, 30) + " 100 %")
      << "a total that was too small";
  EXPECT_EQ(progressText("a", std::numeric_limits<std::uint64_t>::max() / 2,
                         std::numeric_limits<std::uint64_t>::max(), 80),
            "a " + bar(15, 30) + "  50 %");
  EXPECT_EQ(progressText("a", 1234, 0, 80), "a 1234") << "no total";
}

TEST(ProgressBar, GivesTheRoomThatThereIsToTheBarFirstAndThenToTheLabel) {
  const std::string label = "a/rather/long/name.csv";
  EXPECT_EQ(progressText(label, 1, 2, 60), label + " " + bar(14, 28) + "  50 %");
  EXPECT_EQ(progressText(label, 1, 2, 42), label + " " + bar(5, 10) + "  50 %");
  EXPECT_EQ(progressText(label, 1, 2, 34), "a/rather/long… " + bar(5, 10) + "  50 %");
  EXPECT_EQ(progressText(label, 1, 2, 20), "a/rather/lon…  50 %");
  EXPECT_EQ(progressText(label, 1, 2, 8), "50 %");
  EXPECT_EQ(progressText(label, 12345678, 0, 20), "a/rather/… 12345678");
}

TEST(ProgressBar, LeavesTheLastColumnFreeInEveryTerminal) {
  for (const std::string label : {"", "a", "long.name.of.a.file", "日本語の長い名前.csv"}) {
    for (std::size_t columns = 1; columns < 120; ++columns) {
      for (const std::uint64_t total : {0U, 7U, 100U}) {
        const std::string text = progressText(label, 7, total, columns);
        EXPECT_LT(loom::displayWidth(text), columns) << label << " " << total;
      }
    }
  }
}

// Three parts of a file, the second after more than the bar's patience.
constexpr const char* slowly =
    "head -c 60000 /dev/urandom | od -An -v -tx1 | tr -d ' \\n' | loom gzip -c >x.gz\n"
    "slowly() { head -c 30000 x.gz; sleep 0.7; tail -c +30001 x.gz | head -c 30000; sleep 0.2; "
    "tail -c +60001 x.gz; }\n";

// The script in a folder of its own, with slowly().
std::string scene(const std::string& script) {
  return "cd " + newFolder() + "\n" + slowly + script;
}

TEST(ProgressBar, AppearsAfterAMomentAndIsGoneAtTheEnd) {
  TerminalSession session(scene("slowly | loom sum >/dev/null; echo end"));
  EXPECT_EQ(session.end(), 0);
  EXPECT_NE(session.output().find("\r\033[Kstandard input "), std::string::npos)
      << session.output();
  EXPECT_EQ(session.screen().row(0), "end");
}

TEST(ProgressBar, StaysAwayWhereItIsNotWanted) {
  const struct {
    const char* where;
    const char* script;
  } rows[] = {
      {"short work", "loom sum x.gz >/dev/null"},
      {"no terminal", "slowly | loom sum 2>&1 >/dev/null | cat"},
      {"a dumb terminal", "slowly | TERM=dumb loom sum >/dev/null"},
      {"a terminal without a name", "slowly | TERM= loom sum >/dev/null"},
      {"a job in the background", "set -m; slowly | loom sum >/dev/null & wait"},
  };
  std::vector<std::unique_ptr<TerminalSession>> sessions;  // at the same time, since all wait
  for (const auto& row : rows) {
    sessions.push_back(std::make_unique<TerminalSession>(scene(row.script) + "\necho end"));
  }
  for (std::size_t i = 0; i < sessions.size(); ++i) {
    EXPECT_EQ(sessions[i]->end(), 0) << rows[i].where;
    EXPECT_EQ(sessions[i]->output(), "end\r\n") << rows[i].where;
  }
}

TEST(ProgressBar, DoesNotClearTheBeginningOfALineOfResults) {
  TerminalSession session(scene("slowly | loom gzip -dc"));
  EXPECT_EQ(session.end(), 0);
  std::string seen = session.screen().text();
  std::erase(seen, '\n');
  EXPECT_EQ(seen.size(), 120000U);
  EXPECT_EQ(seen.find_first_not_of("0123456789abcdef"), std::string::npos);
}

TEST(ProgressBar, MakesRoomForAMessage) {
  TerminalSession session(scene("slowly | head -c 65000 | loom gzip -dc >/dev/null"));
  EXPECT_EQ(session.end(), 4);
  EXPECT_NE(session.output().find("\033[K"), std::string::npos);
  EXPECT_EQ(session.screen().row(0).substr(0, 6), "loom: ") << session.screen().text();
  EXPECT_EQ(session.screen().row(1), "");
}

int runIn(const std::string& folder, const std::vector<std::string>& words) {
  try {
    if (chdir(folder.c_str()) == 0) return static_cast<int>(loom::runCommandLine(words));
  } catch (const std::exception& error) {
    std::fputs(error.what(), stderr);
  }
  return 99;
}

// A table of 5,000 records with one field, a number of five digits.
std::string xbaseTable() {
  std::string bytes(65, '\0');
  bytes.replace(0, 11, std::string("\x03\x60\x01\x01\x88\x13\0\0\x41\0\x06", 11));
  bytes[32] = bytes[43] = 'N';  // the field's name and its type
  bytes[48] = 5;
  bytes[64] = '\r';
  for (int i = 0; i < 5000; ++i) bytes += " 12345";
  return bytes + '\x1a';
}

// 5,000 rows as a CSV table, a store and an xBase table, and an archive.
std::string folderOfTables() {
  const std::string folder = newFolder();
  writeFile(folder + "/x.dbf", xbaseTable());
  std::string rows;
  for (int i = 0; i < 5000; ++i) rows += std::to_string(i) + ";name\n";
  writeFile(folder + "/rows.csv", rows);
  const Ended made = shell("cd " + folder +
                           " && loom db copy csv:. rows tessel:rows.tessel && loom zip new "
                           "rows.zip rows.csv");
  EXPECT_EQ(made.code, 0) << made;
  return folder;
}

TEST(ProgressBar, ShowsWhatEveryLongCommandDoes) {
  const std::string folder = folderOfTables();
  const std::vector<std::vector<std::string>> commands = {
      {"sum", "rows.csv"},
      {"gzip", "--keep", "rows.csv"},
      {"zip", "new", "new.zip", "rows.csv"},
      {"zip", "test", "rows.zip"},
      {"zip", "x", "--directory", "y", "rows.zip"},
      {"db", "copy", "csv:.", "rows", "sqlite3:rows.db"},
      {"db", "copy", "csv:.", "rows", "tessel:new.tessel"},
      {"tessel", "check", "rows.tessel"},
      {"xbase", "check", "."},
      {"xbase", "pack", "."},
  };
  // They run in forks of this process, which has then run long enough for a bar.
  std::this_thread::sleep_for(std::chrono::milliseconds(600));
  for (const std::vector<std::string>& words : commands) {
    SCOPED_TRACE(words[0] + " " + words[1]);
    TerminalSession session([&] { return runIn(folder, words); });
    EXPECT_EQ(session.end(), 0);
    EXPECT_NE(session.output().find(" %"), std::string::npos) << session.output();
    EXPECT_EQ(session.screen().text().find('%'), std::string::npos) << session.output();
  }
}

TEST(ProgressBar, FitsIntoANarrowTerminal) {
  TerminalSession session(scene("slowly | loom sum >/dev/null"), 20);
  EXPECT_EQ(session.end(), 0);
  EXPECT_NE(session.output().find("…"), std::string::npos) << session.output();
  EXPECT_LT(session.screen().widest(), 20U);
}

TEST(ProgressBar, IsTakenAwayByCtrlC) {
  TerminalSession session(scene("trap 'echo ended' INT; (slowly; sleep 10) | loom sum >/dev/null"));
  ASSERT_TRUE(session.waitFor("standard input "));
  session.type("\x03");
  ASSERT_TRUE(session.waitFor("ended"));
  session.end();
  EXPECT_EQ(session.screen().row(0), "ended") << session.screen().text();
}

}  // namespace
