// SPDX-License-Identifier: MIT
// What could stand at the end of a command line that is being typed, found from the
// command table. The completion scripts of all shells ask for it.
#ifndef LOOM_CANDIDATES_H
#define LOOM_CANDIDATES_H

#include <string>
#include <vector>

namespace loom {

/// One way to go on. What ends in '/', ':' or '=' is to be followed by more without a
/// blank.
struct Candidate {
  std::string text;  ///< the whole word
  std::string help = {};
};

/// The candidates for the last of the words, which may be empty. The words are those
/// behind "loom" as they stand on the line; an open quote does not matter.
[[nodiscard]] std::vector<Candidate> candidatesFor(const std::vector<std::string>& words);

}  // namespace loom

#endif  // LOOM_CANDIDATES_H
