// SPDX-License-Identifier: MIT
#include "sessions.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <regex>
#include <sstream>

#include "run_program.h"

namespace loomkit::testing {

namespace {

// Printed behind each step: no document contains it.
constexpr const char* mark = "@@loom-session-step@@";

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += "    " + line + "\n";
  return text;
}

bool runsLoom(const FencedBlock& block) {
  static const std::regex command(R"((^|[|&;(]|\$)\s*loom(\s|$))");
  for (const std::string& line : block.lines) {
    if (line.starts_with("$ ") && std::regex_search(line, command)) return true;
  }
  return false;
}

bool matchesFrom(const std::vector<std::string>& expected, std::size_t e,
                 const std::vector<std::string>& printed, std::size_t p) {
  for (; e < expected.size(); ++e, ++p) {
    if (expected[e] == "...") {
      for (std::size_t rest = p; rest <= printed.size(); ++rest) {
        if (matchesFrom(expected, e + 1, printed, rest)) return true;
      }
      return false;
    }
    if (p == printed.size() || expected[e] != printed[p]) return false;
  }
  return p == printed.size();
}

}  // namespace

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::vector<FencedBlock> fencedBlocks(const std::string& page, const std::string& info) {
  std::vector<FencedBlock> blocks;
  bool inside = false;
  bool wanted = false;
  int number = 0;
  for (const std::string& line : linesOf(page)) {
    ++number;
    if (line.starts_with("```")) {
      inside = !inside;
      wanted = inside && line.substr(3) == info;
      if (wanted) blocks.push_back({number + 1, {}});
    } else if (wanted) {
      blocks.back().lines.push_back(line);
    }
  }
  return blocks;
}

std::vector<SessionStep> stepsOf(const std::vector<std::string>& lines, int firstLine) {
  std::vector<SessionStep> steps;
  bool goesOn = false;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::string& line = lines[i];
    if (goesOn && line.starts_with("> ")) {
      steps.back().command += "\n" + line.substr(2);
    } else if (line.starts_with("$ ")) {
      steps.push_back({firstLine + static_cast<int>(i), line.substr(2), {}, -1});
    } else if (!steps.empty()) {
      steps.back().output.push_back(line);
      continue;
    }
    goesOn = line.ends_with('\\');
  }
  // A line that is left empty for the eye before the next command is not output.
  for (SessionStep& step : steps) {
    while (!step.output.empty() && step.output.back().empty()) step.output.pop_back();
    if (step.output.empty() || !step.output.back().starts_with("[exit ")) continue;
    step.exitCode = std::atoi(step.output.back().c_str() + 6);
    step.output.pop_back();
  }
  return steps;
}

std::vector<SessionStep> sessionSteps(const std::string& page) {
  std::vector<SessionStep> steps;
  for (const FencedBlock& block : fencedBlocks(page, "console")) {
    if (!runsLoom(block)) continue;
    for (SessionStep& step : stepsOf(block.lines, block.line)) steps.push_back(std::move(step));
  }
  return steps;
}

bool outputMatches(const std::vector<std::string>& expected,
                   const std::vector<std::string>& printed) {
  return matchesFrom(expected, 0, printed, 0);
}

void runSession(const std::string& pageName, const std::vector<SessionStep>& steps) {
  const std::string folder = newFolder();
  std::filesystem::create_directory_symlink(LOOMKIT_SOURCE_DIR "/examples", folder + "/examples");
  std::string script = "exec 2>&1 </dev/null\ncd '" + folder + "'\nHOME=$PWD XDG_STATE_HOME=$PWD; ";
  script += "export HOME XDG_STATE_HOME\n(exit 0)\n";
  for (const SessionStep& step : steps) {
    // A `$?` in the next step still sees how this one ended.
    script += step.command + "\nset -- $?; echo '" + mark + "'; echo $1; (exit $1)\n";
  }
  std::istringstream printed(shell(script).out);
  for (const SessionStep& step : steps) {
    std::vector<std::string> lines;
    bool ended = false;
    for (std::string line; !ended && std::getline(printed, line);) {
      ended = line.ends_with(mark);
      if (ended) line.resize(line.size() - std::string(mark).size());
      if (!ended || !line.empty()) lines.push_back(line);
    }
    while (!lines.empty() && lines.back().empty()) lines.pop_back();
    EXPECT_TRUE(outputMatches(step.output, lines))
        << pageName << ":" << step.line << ": $ " << step.command << "\n  expected:\n"
        << joined(step.output) << "  printed:\n"
        << joined(lines);
    std::string code;
    std::getline(printed, code);
    if (step.exitCode >= 0) {
      EXPECT_EQ(code, std::to_string(step.exitCode)) << pageName << ":" << step.line;
    }
  }
  std::filesystem::remove_all(folder);
}

}  // namespace loomkit::testing
