// SPDX-License-Identifier: MIT
// Runs loom, or a shell script that uses it, and keeps what it said.
#ifndef LOOMKIT_TESTS_TOOLS_RUN_PROGRAM_H
#define LOOMKIT_TESTS_TOOLS_RUN_PROGRAM_H

#include <ostream>
#include <string>
#include <vector>

namespace loomkit::testing {

/// How a program ended. Compare with EXPECT_EQ(run, (Ended{0, "out", "err"})).
struct Ended {
  int code = 0;  ///< the exit code; 128 + the signal's number after a signal
  std::string out;
  std::string err;
  friend bool operator==(const Ended& a, const Ended& b) {
    return a.code == b.code && a.out == b.out && a.err == b.err;
  }
  friend std::ostream& operator<<(std::ostream& stream, const Ended& ended) {
    return stream << "exit " << ended.code << "\nout: " << ended.out << "\nerr: " << ended.err;
  }
};

/// The path of the loom that is tested: this build's own, or what the variable
/// LOOMKIT_TEST_LOOM names, such as a script that runs one for another system.
[[nodiscard]] std::string testedLoom();

/// Runs a program with these words; standard input holds `input`.
[[nodiscard]] Ended runProgram(const std::vector<std::string>& words,
                               const std::string& input = {});

/// Runs loom with these words.
[[nodiscard]] Ended runLoom(std::vector<std::string> words, const std::string& input = {});

/// Runs a script with sh, with loom in the PATH.
[[nodiscard]] Ended shell(const std::string& script, const std::string& input = {});

/// A new folder in the test's own temporary folder.
[[nodiscard]] std::string newFolder();

[[nodiscard]] std::string readFile(const std::string& path);
void writeFile(const std::string& path, const std::string& content);

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_TOOLS_RUN_PROGRAM_H
