// SPDX-License-Identifier: MIT
// A guess at what a mistyped name was meant to be.
#ifndef LOOM_DID_YOU_MEAN_H
#define LOOM_DID_YOU_MEAN_H

#include <string>
#include <vector>

namespace loom {

/// The nearest of the names, capital letters or not, or an empty text when none is near.
[[nodiscard]] std::string nearestOf(const std::string& word, const std::vector<std::string>& names);

/// The nearest of the names as the end of a sentence, "; did you mean 'eval'?",
/// or nothing when none is near.
[[nodiscard]] std::string didYouMean(const std::string& word,
                                     const std::vector<std::string>& names);

}  // namespace loom

#endif  // LOOM_DID_YOU_MEAN_H
