// SPDX-License-Identifier: MIT
#include "did_you_mean.h"

#include <algorithm>

#include "loomkit/text/edit_distance.h"
#include "loomkit/text/letter_case.h"

namespace loom {

std::string nearestOf(const std::string& word, const std::vector<std::string>& names) {
  constexpr std::size_t longest = 100;
  if (word.size() > longest) return {};
  const std::string lower = loomkit::lowerCased(word);
  const std::string* nearest = nullptr;
  int least = static_cast<int>(std::min<std::size_t>(word.size(), 6)) / 2 + 1;
  for (const std::string& name : names) {
    const int distance = gEditDistance(lower.c_str(), loomkit::lowerCased(name).c_str(), false);
    if (distance >= least) continue;
    least = distance;
    nearest = &name;
  }
  return nearest == nullptr ? std::string() : *nearest;
}

std::string didYouMean(const std::string& word, const std::vector<std::string>& names) {
  const std::string nearest = nearestOf(word, names);
  return nearest.empty() ? std::string() : "; did you mean '" + nearest + "'?";
}

}  // namespace loom
