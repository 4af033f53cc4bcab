// SPDX-License-Identifier: MIT
// ProgressBar: how far a long piece of work has come, for a person to see.
#ifndef LOOM_PROGRESS_BAR_H
#define LOOM_PROGRESS_BAR_H

#include <chrono>
#include <cstdint>
#include <string>

namespace loom {

/// A line on standard error that is drawn at most ten times a second and is
/// gone when the object ends, so that short work shows nothing. Where standard
/// error is no terminal, it does nothing at all.
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

  void show(std::uint64_t done);

 private:
  using Clock = std::chrono::steady_clock;

  std::string label;
  std::uint64_t total;
  bool drawn = false;
  Clock::time_point next;
};

/// The line as it is drawn: "LABEL [#####     ]  50 %", or "LABEL 1234" when
/// `total` is 0.
[[nodiscard]] std::string progressText(const std::string& label, std::uint64_t done,
                                       std::uint64_t total);

}  // namespace loom

#endif  // LOOM_PROGRESS_BAR_H
