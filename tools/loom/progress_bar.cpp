// SPDX-License-Identifier: MIT
#include "progress_bar.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "terminal.h"
#include "visible_text.h"

namespace loom {

namespace {

constexpr auto interval = std::chrono::milliseconds(100);
// In place of what the line shows now.
void draw(const std::string& text) {
  std::fputs(("\r\033[K" + text).c_str(), stderr);
  std::fflush(stderr);
}

}  // namespace

std::string progressText(const std::string& label, std::uint64_t done, std::uint64_t total) {
  if (total == 0) return label + " " + std::to_string(done);
  constexpr std::size_t width = 30;
  const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
  const auto filled = static_cast<std::size_t>(part * width);
  const std::string percent = std::to_string(static_cast<int>(part * 100));
  return label + " [" + std::string(filled, '#') + std::string(width - filled, ' ') + "] " +
         std::string(3 - percent.size(), ' ') + percent + " %";
}

ProgressBar::ProgressBar(std::string whose, std::uint64_t whole)
    : label(visible(whose)), total(whole), next(Clock::now() + interval) {}

ProgressBar::~ProgressBar() {
  if (drawn) draw("");
}

bool ProgressBar::watched() { return isTerminal(StandardStream::error); }

void ProgressBar::show(std::uint64_t done) {
  const Clock::time_point now = Clock::now();
  if (now < next || !watched()) return;
  next = now + interval;
  drawn = true;
  draw(progressText(label, done, total));
}

}  // namespace loom
