// SPDX-License-Identifier: MIT
#include "progress_bar.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <utility>

#include "console.h"
#include "display_width.h"
#include "interruption.h"
#include "terminal.h"
#include "visible_text.h"

namespace loom {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto patience = std::chrono::milliseconds(500);
constexpr auto interval = std::chrono::milliseconds(100);
constexpr std::size_t usualColumns = 80;
constexpr std::size_t longestBar = 30;
constexpr std::size_t shortestBar = 10;
constexpr std::size_t barFrame = 3;  // " [" and "]"

// When the line may be drawn next. Work is measured from the start of loom, so that a
// thousand small files show that something is going on, too.
Clock::time_point nextDrawing = Clock::now() + patience;

std::atomic<bool> drawn{false};

// Also called by a signal handler.
void clearLine() {
  if (drawn.exchange(false)) writeAtOnce(StandardStream::error, "\r\033[K");
}

// Clearing it would take away the beginning of a line of results.
bool resultsAreInTheWay() { return isTerminal(StandardStream::output) && isMidLine(); }

std::string percentText(std::uint64_t done, std::uint64_t total) {
  const double part = static_cast<double>(done) / static_cast<double>(total);
  const std::string percent = std::to_string(static_cast<int>(std::min(1.0, part) * 100));
  return std::string(3 - percent.size(), ' ') + percent + " %";
}

std::string barText(std::uint64_t done, std::uint64_t total, std::size_t width) {
  const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
  const auto filled = static_cast<std::size_t>(part * static_cast<double>(width));
  return " [" + std::string(filled, '#') + std::string(width - filled, ' ') + "]";
}

}  // namespace

std::string progressText(const std::string& label, std::uint64_t done, std::uint64_t total,
                         std::size_t columns) {
  constexpr std::size_t shortestLabel = 4;
  const std::string numbers = " " + (total == 0 ? std::to_string(done) : percentText(done, total));
  const std::size_t bar = total == 0 ? 0 : shortestBar + barFrame;
  const std::size_t free = columns == 0 ? 0 : columns - 1;
  if (free < shortestLabel + numbers.size()) {
    return cutToWidth(numbers.substr(numbers.find_first_not_of(' ')), free);
  }
  const bool hasBar = bar > 0 && free >= shortestLabel + bar + numbers.size();
  const std::size_t room = free - numbers.size() - (hasBar ? bar : 0);
  const std::string shownLabel = cutToWidth(label, room);
  if (!hasBar) return shownLabel + numbers;
  const std::size_t spare = room - displayWidth(shownLabel);
  return shownLabel + barText(done, total, std::min(longestBar, shortestBar + spare)) + numbers;
}

ProgressBar::ProgressBar(std::string whose, std::uint64_t whole)
    : label(visible(whose)), total(whole) {
  if (visibleBar != nullptr || !watched()) return;
  visibleBar = this;
  addCleanup(clearLine);
}

ProgressBar::~ProgressBar() {
  if (visibleBar != this) return;
  clear();
  visibleBar = nullptr;
}

bool ProgressBar::watched() { return isTerminal(StandardStream::error) && canClearLines(); }

bool ProgressBar::isDrawn() { return drawn; }

void ProgressBar::clear() { clearLine(); }

void ProgressBar::update(std::uint64_t done) {
  const Clock::time_point now = Clock::now();
  if (now < nextDrawing) return;
  nextDrawing = now + interval;
  if (!isInForeground(StandardStream::error) || resultsAreInTheWay()) return;
  const std::size_t columns = terminalWidth(StandardStream::error);
  drawn = true;
  writeAtOnce(StandardStream::error,
              "\r\033[K" + progressText(label, done, total, columns == 0 ? usualColumns : columns));
}

}  // namespace loom
