// SPDX-License-Identifier: MIT
#include "tessel/builder/range_collector.h"

#include <algorithm>

namespace tessel {

bool RangeCollector::add(std::int64_t value) {
  if (!collected.empty() && collected.back().value + collected.back().count == value) {
    ++collected.back().count;
  } else {
    if (collected.size() >= std::min(mostRanges, firstRanges + rows / rowsPerRange)) return false;
    collected.push_back({value, rows, 1});
  }
  ++rows;
  return true;
}

bool RangeCollector::finish() {
  std::sort(collected.begin(), collected.end(),
            [](const CollectedRange& a, const CollectedRange& b) { return a.value < b.value; });
  constexpr std::size_t worth = 8;
  if (rows == 0 || collected.size() * worth > std::max<std::size_t>(rows, worth)) return false;
  return std::adjacent_find(collected.begin(), collected.end(),
                            [](const CollectedRange& a, const CollectedRange& b) {
                              return b.value - a.value < a.count;
                            }) == collected.end();
}

}  // namespace tessel
