// SPDX-License-Identifier: MIT
// Shell sessions out of the documents: read from the page, run, compared.
//
// A session is a fenced block whose info word is "console" and in which loom
// is run. In it,
//   $ command            is run by sh; a line that ends in a backslash goes on
//   > more of it         on the next line, behind "> ";
//   anything else        is what the command before prints, both streams in
//                        the order of their writing;
//   ...                  alone on a line stands for any number of lines;
//   [exit 5]             as the last line is the exit code, where it matters.
// The commands of one page share a folder and its files; examples/ is in it.
#ifndef LOOMKIT_TESTS_TOOLS_SESSIONS_H
#define LOOMKIT_TESTS_TOOLS_SESSIONS_H

#include <string>
#include <vector>

namespace loomkit::testing {

/// A command, and what it prints.
struct SessionStep {
  int line = 0;  ///< of the page, from 1
  std::string command;
  std::vector<std::string> output;
  int exitCode = -1;  ///< -1: any
};

/// The fenced blocks of a page with one of these info words, with the number
/// of the line behind the fence.
struct FencedBlock {
  int line = 0;
  std::vector<std::string> lines;
};
[[nodiscard]] std::vector<FencedBlock> fencedBlocks(const std::string& page,
                                                    const std::string& info);

/// The steps of the sessions of a page.
[[nodiscard]] std::vector<SessionStep> sessionSteps(const std::string& page);

/// The steps of a text that is one session, such as the example of a command.
[[nodiscard]] std::vector<SessionStep> stepsOf(const std::vector<std::string>& lines,
                                               int firstLine);

/// True when the printed lines are the expected ones.
[[nodiscard]] bool outputMatches(const std::vector<std::string>& expected,
                                 const std::vector<std::string>& printed);

/// Runs the steps in one folder and reports each difference as a test failure.
void runSession(const std::string& pageName, const std::vector<SessionStep>& steps);

[[nodiscard]] std::vector<std::string> linesOf(const std::string& text);

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_TOOLS_SESSIONS_H
