// SPDX-License-Identifier: MIT
// LineEditor: where loom repl takes its lines from.
#ifndef LOOM_LINE_EDITOR_H
#define LOOM_LINE_EDITOR_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace loom {

/// What came of asking for a line.
enum class Typed {
  line,
  dropped,  ///< Ctrl-C: what was typed is to be forgotten
  end       ///< of the input
};

class LineEditor {
 public:
  virtual ~LineEditor() = default;
  /// Stores the next line, without its end. The prompt is for a person.
  virtual Typed next(const std::string& prompt, std::string* line) = 0;
};

/// Gives the words that can stand where `prefix` does, all beginning with it.
using Completer = std::function<std::vector<std::string>(const std::string& prefix)>;

/// An editor for a person at a terminal, with history and completion. The history is
/// kept in the file, when it has a name, from line to line: so it is there however the
/// session ends, and sessions at a time add to it. Null when loom is built without
/// libedit.
[[nodiscard]] std::unique_ptr<LineEditor> makeEditor(const std::string& historyFile,
                                                     const Completer& completer);

/// Reads lines from standard input as they are; prints the prompts to standard error,
/// if they are wanted.
[[nodiscard]] std::unique_ptr<LineEditor> makePlainEditor(bool wantsPrompts);

}  // namespace loom

#endif  // LOOM_LINE_EDITOR_H
