// SPDX-License-Identifier: MIT
// ProgressBar: how far a long piece of work has come, for a person to see.
#ifndef LOOM_PROGRESS_BAR_H
#define LOOM_PROGRESS_BAR_H

#include <cstdint>
#include <string>

namespace loom {

/// A line on standard error for work that takes a while: it appears when loom has
/// run for half a second, is drawn at most ten times a second, and is gone when
/// the object ends, however that comes about; a signal that ends loom takes it away
/// too. Where standard error is no terminal, or one that cannot clear a line, and
/// while loom runs in the background, nothing is drawn.
///
/// Of several bars at a time the oldest has the line. What is printed by print()
/// and complain() clears the line first.
///
///   ProgressBar bar("parts.csv", size);
///   while (...) bar.show(bytesDone);
class ProgressBar {
 public:
  /// `total` is what show() arrives at; 0 when that is not known, which shows
  /// the number alone.
  ProgressBar(std::string label, std::uint64_t total);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar();

  /// True when somebody may be watching: what only serves the bar, such as
  /// finding out the total, is worth doing.
  [[nodiscard]] static bool watched();

  /// Says how much is done. Cheap enough to be called for every row.
  void show(std::uint64_t done) {
    if (visibleBar == this) update(done);
  }

  /// The same where the total is only now known, or changes.
  void show(std::uint64_t done, std::uint64_t whole) {
    total = whole;
    show(done);
  }

  /// Clears the line of the bar that is drawn, if there is one.
  static void clear();
  /// True while a bar is drawn.
  [[nodiscard]] static bool isDrawn();

 private:
  void update(std::uint64_t done);

  static inline const ProgressBar* visibleBar = nullptr;  // the one that has the line
  std::string label;
  std::uint64_t total;
};

/// The line as it is drawn in a terminal of so many columns, the last of which stays
/// free: "LABEL [#####     ]  50 %", or "LABEL 1234" when `total` is 0. Where there
/// is little room, first the bar gets shorter, then the label is cut; where there is
/// next to none, the numbers stand alone.
[[nodiscard]] std::string progressText(const std::string& label, std::uint64_t done,
                                       std::uint64_t total, std::size_t columns);

}  // namespace loom

#endif  // LOOM_PROGRESS_BAR_H
