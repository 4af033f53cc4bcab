// SPDX-License-Identifier: MIT
// LineEditor: where loom repl takes its lines from.
#ifndef LOOM_LINE_EDITOR_H
#define LOOM_LINE_EDITOR_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace loom {

class LineEditor {
 public:
  virtual ~LineEditor() = default;
  /// Stores the next line, without its end; false at the end of the input.
  virtual bool next(std::string* line) = 0;
};

/// Gives the words that can stand where `prefix` does, all beginning with it.
using Completer = std::function<std::vector<std::string>(const std::string& prefix)>;

/// An editor for a person at a terminal, with history (kept in the file, when
/// it has a name) and completion. Null when loom is built without libedit.
[[nodiscard]] std::unique_ptr<LineEditor> makeEditor(const std::string& prompt,
                                                     const std::string& historyFile,
                                                     const Completer& completer);

/// Reads lines from standard input as they are; prints the prompt, if there is
/// one, to standard error.
[[nodiscard]] std::unique_ptr<LineEditor> makePlainEditor(const std::string& prompt);

}  // namespace loom

#endif  // LOOM_LINE_EDITOR_H
