// SPDX-License-Identifier: MIT
// BraceIndex: finds the '}' that closes a parameter's default.
#ifndef LOOMKIT_RPN_BRACE_INDEX_H
#define LOOMKIT_RPN_BRACE_INDEX_H

#include <cstddef>
#include <vector>

namespace loomkit {

/// The closing braces of the defaults in one evaluation. If every default were
/// walked through from its opening brace, a megabyte of defaults nested in each
/// other would take a time that grows with the square of its length. So the walk
/// through a default that is nested deep notes the pairs of all braces inside it,
/// and the defaults inside it are looked up in these notes.
class BraceIndex {
 public:
  /// The '}' that closes the default between `begin` and `end`, or null. A null
  /// `end` stands for the text's NUL. `open` is the default's '{' and `depth`
  /// the number of defaults around it. Braces inside string literals do not
  /// count; a quote behind an odd number of backslashes does not end a literal.
  const char* close(const char* open, const char* begin, const char* end, unsigned depth);

 private:
  struct Pair {
    const char* open;
    const char* close;
  };
  [[nodiscard]] const char* find(const char* open) const;
  const char* build(const char* open, const char* begin, const char* end);

  std::vector<Pair> pairs;  // ascending by `open`
};

}  // namespace loomkit

#endif  // LOOMKIT_RPN_BRACE_INDEX_H
