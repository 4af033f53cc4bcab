// SPDX-License-Identifier: MIT
// Runs the shell sessions of the documents and the examples of the commands.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "run_program.h"
#include "sessions.h"
#include "tools/loom/command.h"

namespace {

using namespace loomkit::testing;
using Lines = std::vector<std::string>;

TEST(Sessions, AreReadFromConsoleBlocksThatRunLoom) {
  const std::string page =
      "text\n```console\n$ loom a\nout\n[exit 3]\n\n$ b | \\\n> loom c\n```\n"
      "```console\n$ ./run\nnothing\n```\n```sh\n$ loom d\n```\n";
  const std::vector<SessionStep> steps = sessionSteps(page);
  ASSERT_EQ(steps.size(), 2U);
  EXPECT_EQ(steps[0].line, 3);
  EXPECT_EQ(steps[0].command, "loom a");
  EXPECT_EQ(steps[0].output, (Lines{"out"}));
  EXPECT_EQ(steps[0].exitCode, 3);
  EXPECT_EQ(steps[1].exitCode, -1);
  EXPECT_EQ(steps[1].command, "b | \\\nloom c");
  EXPECT_TRUE(steps[1].output.empty());
}

TEST(Sessions, DotsStandForAnyLines) {
  EXPECT_TRUE(outputMatches({"a", "..."}, {"a"}));
  EXPECT_TRUE(outputMatches({"...", "c"}, {"a", "b", "c"}));
  EXPECT_FALSE(outputMatches({"...", "c"}, {"a", "c", "d"}));
  EXPECT_FALSE(outputMatches({"a"}, {"a", "b"}));
  EXPECT_FALSE(outputMatches({"a", "b"}, {"a"}));
}

// Every page of the tree that may hold sessions.
std::vector<std::string> pages() {
  const std::filesystem::path root = LOOMKIT_SOURCE_DIR;
  std::vector<std::string> result;
  if (std::filesystem::exists(root / "README.md")) result.emplace_back("README.md");
  for (const char* const folder : {"docs", "examples"}) {
    if (!std::filesystem::exists(root / folder)) continue;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root / folder)) {
      if (entry.path().extension() != ".md") continue;
      result.push_back(std::filesystem::relative(entry.path(), root).string());
    }
  }
  std::sort(result.begin(), result.end());
  return result;
}

class DocSessions : public ::testing::TestWithParam<std::string> {};

TEST_P(DocSessions, PrintWhatThePageShows) {
  runSession(GetParam(), sessionSteps(readFile(LOOMKIT_SOURCE_DIR "/" + GetParam())));
}

std::string identifier(std::string name) {
  std::replace_if(
      name.begin(), name.end(), [](char c) { return isalnum(c) == 0; }, '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Pages, DocSessions, ::testing::ValuesIn(pages()),
                         [](const auto& row) { return identifier(row.param); });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(DocSessions);

struct Example {
  std::string command;  // "zip cat"
  std::string session;
  friend std::ostream& operator<<(std::ostream& stream, const Example& example) {
    return stream << example.command;
  }
};

std::vector<Example> examples() {
  std::vector<Example> result;
  for (const loom::Family* family : loom::families())
    for (const loom::Command& command : family->commands)
      result.push_back({fullName(*family, command), std::string(command.example)});
  return result;
}

class CommandExamples : public ::testing::TestWithParam<Example> {};

TEST_P(CommandExamples, PrintWhatTheTableShows) {
  const auto& [command, session] = GetParam();
  const std::vector<SessionStep> steps = stepsOf(linesOf(session), 1);
  EXPECT_FALSE(steps.empty()) << command << " has no example";
  runSession("loom help " + command, steps);
}

INSTANTIATE_TEST_SUITE_P(Commands, CommandExamples, ::testing::ValuesIn(examples()),
                         [](const auto& row) { return identifier(row.param.command); });

}  // namespace
