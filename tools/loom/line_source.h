// SPDX-License-Identifier: MIT
// LineSource: the lines of a file or of standard input.
#ifndef LOOM_LINE_SOURCE_H
#define LOOM_LINE_SOURCE_H

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace loom {

/// Reads lines of any length; a line ends with LF or CR LF, or with the end of
/// the input. Cannot open or read: throws Failure with ExitCode::cannotOpen.
///
///   LineSource lines("-");
///   for (std::string line; lines.next(&line);) ...
class LineSource {
 public:
  /// `path` "-" is standard input.
  explicit LineSource(const std::string& path);
  /// Stores the next line without its end; false at the end of the input.
  /// Brings the results printed so far out first when it may have to wait, so
  /// that a program that writes a line and reads its answer is not kept waiting.
  bool next(std::string* line);

 private:
  bool fill();

  struct Close {
    void operator()(std::FILE* file) const;
  };
  std::string name;
  std::unique_ptr<std::FILE, Close> file;
  std::vector<char> block;
  std::size_t position = 0;
  std::size_t filled = 0;
};

/// Calls `use` with each of the texts; a text "-" stands for the lines of
/// standard input.
void forEachText(const std::vector<std::string>& texts,
                 const std::function<void(const std::string&)>& use);

}  // namespace loom

#endif  // LOOM_LINE_SOURCE_H
