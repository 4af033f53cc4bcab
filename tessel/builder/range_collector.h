// SPDX-License-Identifier: MIT
// RangeCollector: finds out whether the rows of a column come in long ranges of
// values that follow each other, as numbers do that a counter has given out.
#ifndef TESSEL_BUILDER_RANGE_COLLECTOR_H
#define TESSEL_BUILDER_RANGE_COLLECTOR_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessel {

/// Rows first, first + 1 ... first + count - 1 have the values value, value + 1 ...
struct CollectedRange {
  std::int64_t value;
  std::uint32_t row;
  std::uint32_t count;
};

/// Holds the values of a column for as long as they are few ranges.
class RangeCollector {
 public:
  /// Adds the value of the next row. False when there are too many ranges: this
  /// value was not added then, and none may be added later.
  bool add(std::int64_t value);

  /// Ends the adding, and brings the ranges into the order of their values. True
  /// when they are worth an index: there is a row, no two rows have the same value,
  /// and the ranges take no more than an eighth of what an entry for each row takes.
  bool finish();

  [[nodiscard]] const std::vector<CollectedRange>& ranges() const { return collected; }

 private:
  // A search in so many ranges stays in the processor's caches.
  static constexpr std::size_t mostRanges = 4096;
  // Few gaps are accepted at the start, and then one for each rowsPerRange rows.
  static constexpr std::size_t firstRanges = 64;
  static constexpr std::size_t rowsPerRange = 128;

  std::vector<CollectedRange> collected;
  std::uint32_t rows = 0;
};

}  // namespace tessel

#endif  // TESSEL_BUILDER_RANGE_COLLECTOR_H
