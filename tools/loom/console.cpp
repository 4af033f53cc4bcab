// SPDX-License-Identifier: MIT
#include "console.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "progress_bar.h"
#include "visible_text.h"

namespace loom {

namespace {

enum class Colors { byTerminal, always, never };
Colors colors = Colors::byTerminal;
bool midLine = false;

constexpr std::string_view codes[] = {"31", "32", "33", "36", "1", "2"};

}  // namespace

void print(std::string_view text) {
  if (text.empty()) return;
  if (ProgressBar::isDrawn() && isTerminal(StandardStream::output)) ProgressBar::clear();
  midLine = text.back() != '\n';
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) throw WriteFailure{errno};
}

bool isMidLine() { return midLine; }

void printLine(std::string_view text) {
  print(text);
  print("\n");
}

void flushResults() {
  if (std::fflush(stdout) != 0) throw WriteFailure{errno};
}

std::string shown(std::string_view name) {
  return isTerminal(StandardStream::output) ? visible(name) : std::string(name);
}

std::string counted(std::uint64_t count, std::string_view one, std::string_view several) {
  return std::to_string(count).append(" ").append(count == 1 ? one : several);
}

void complain(std::string_view text) { complainPlainly("loom: " + visible(text)); }

void complainPlainly(std::string_view text) {
  ProgressBar::clear();
  // Where both streams end in one place, a message stands behind the results
  // it follows. Failing to write those is reported at the end, not here.
  std::fflush(stdout);
  std::string line(text);
  line += '\n';
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);  // not every C library leaves it without a buffer
}

void setColors(std::string_view when) {
  colors = when == "always" ? Colors::always : when == "never" ? Colors::never : Colors::byTerminal;
}

bool colorsOn(StandardStream stream) {
  if (colors != Colors::byTerminal) return colors == Colors::always;
  const char* const noColor = std::getenv("NO_COLOR");
  if (noColor != nullptr && *noColor != '\0') return false;
  return canClearLines() && isTerminal(stream);
}

std::string colored(StandardStream stream, Color color, std::string_view text) {
  if (text.empty() || !colorsOn(stream)) return std::string(text);
  std::string result = "\033[";
  result.append(codes[static_cast<int>(color)]).append("m").append(text).append("\033[0m");
  return result;
}

void ConsoleOutput::output(GOutputLevel level, const std::string& /*sys*/, const char* text) {
  // A system's error text may end in a line end; one is enough.
  std::string_view line(text);
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.remove_suffix(1);
  const std::string_view kind = level == GOutputWarning   ? "warning: "
                                : level == GOutputMessage ? "note: "
                                                          : "";
  complain(std::string(kind).append(line));
}

}  // namespace loom
