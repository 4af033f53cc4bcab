// SPDX-License-Identifier: MIT
// --json of every command: a document that a parser takes, or nothing, whatever happens.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "run_program.h"
#include "tools/loom/command.h"

namespace {

using namespace loomkit::testing;

// Files that no command likes, and some that begin well.
std::vector<std::string> hostileFiles() {
  const std::string folder = newFolder();
  const Ended made =
      shell("cd " + folder +
            "; printf '\\377\\000\\001x' >bytes; seq 5000 >rows; loom zip new whole.zip rows\n"
            "head -c 9000 whole.zip >cut.zip; loom gzip rows; head -c 5000 rows.gz >cut.gz");
  EXPECT_EQ(made.code, 0) << made;
  std::vector<std::string> files{folder + "/missing"};
  for (const char* const name : {"bytes", "cut.zip", "cut.gz"}) {
    files.push_back(folder + "/" + name);
  }
  return files;
}

void expectJson(const std::vector<std::string>& words) {
  const Ended ended = runLoom(words, "1 +\n2\n");
  if (ended.out.empty() || nlohmann::json::accept(ended.out)) return;
  std::string line;
  for (const std::string& word : words) line += word + " ";
  ADD_FAILURE() << line << "\n" << ended;
}

// Every operand is the same file. The last command line of each has words to spare.
TEST(JsonEverywhere, IsValidOrEmptyOnEveryFailure) {
  const std::vector<std::string> files = hostileFiles();
  for (const loom::Family* family : loom::families()) {
    for (const loom::Command& command : family->commands) {
      const bool makesFiles = command.name == "new" || command.name == "gzip" ||
                              command.name == "repl" || command.name == "flush";
      std::vector<std::string> words;
      if (!family->name.empty()) words.emplace_back(family->name);
      words.emplace_back(command.name);
      words.emplace_back("--json");
      expectJson(words);
      if (makesFiles) continue;
      for (const std::string& file : files) {
        std::vector<std::string> line = words;
        for (const loom::Operand& operand : command.operands) {
          const bool isLocator = operand.name == "LOCATOR" || operand.name == "FROM";
          line.push_back((isLocator ? "csv:" : "") + file);
        }
        expectJson(line);
      }
    }
  }
}

TEST(JsonEverywhere, IsValidWhereAFailureComesMidway) {
  const std::string folder = newFolder();
  writeFile(folder + "/rows.csv", "1;a\n2;\"b\n");
  const std::vector<std::vector<std::string>> lines = {
      {"eval", "--json", "1", "1 +", "2"},
      {"eval", "--json", "-"},
      {"eval", "--json", "1", "--file", "/nonexistent"},
      {"repl", "--json"},
      {"db", "scan", "--json", "csv:" + folder, "rows"},
      {"db", "scan", "--json", "--where", "$c1 $c2 +", "csv:" + folder, "rows"},
      {"sum", "--json", folder + "/rows.csv", "/nonexistent"},
      {"text", "quote", "--json", "a", "-"},
      {"words", "--json", "dup", "nothing"},
      {"config", "set", "--json", "--create", "-n", folder + "/app.cfg", "a", "1"},
      {"help", "zip", "--json"},
      {"zip", "ls", "--json", "--help"},
      {"--json", "zip", "--help"},
      {"complete", "--json", "--", "z"},
  };
  for (const std::vector<std::string>& line : lines) expectJson(line);
}

TEST(JsonEverywhere, IsRefusedWhereContentIsPrinted) {
  for (const std::vector<std::string>& line :
       std::vector<std::vector<std::string>>{{"zip", "cat", "--json", "a.zip", "a"},
                                             {"ar", "cat", "--json", "a.a", "a"},
                                             {"db", "export", "--json", "csv:.", "a"},
                                             {"gzip", "--json"},
                                             {"gunzip", "-c", "--json", "a.gz"}}) {
    const Ended ended = runLoom(line, "text");
    EXPECT_EQ(ended.code, 2) << ended;
    EXPECT_EQ(ended.out, "");
  }
}

TEST(JsonEverywhere, IsWholeWhenAnInputEndsInAnError) {
  const Ended ended = shell("loom eval --json 1 - </");
  EXPECT_EQ(ended.code, 3);
  EXPECT_TRUE(nlohmann::json::accept(ended.out)) << ended;
  EXPECT_NE(ended.out, "");
}

}  // namespace
