// SPDX-License-Identifier: MIT
// A line of a configuration file: the only place that knows the syntax.
//
//   # a comment
//   [Section]
//   key = value
#ifndef LOOMKIT_CONFIG_CONFIG_LINE_H
#define LOOMKIT_CONFIG_CONFIG_LINE_H

#include <string>
#include <string_view>

namespace loomkit {

struct ConfigLine {
  enum Kind : unsigned char {
    Other,   ///< blank, or a comment
    Header,  ///< `name` as it is written, not yet in lower case
    Entry,   ///< `name` and `value`
    Wrong    ///< `error` says why
  };

  Kind kind = Other;
  std::string_view name;
  std::string_view value;
  const char* error = nullptr;
};

/// Takes a line without its line end apart. The parts point into `line`.
ConfigLine parseConfigLine(std::string_view line);

/// The text without white space at its ends.
std::string_view trimmed(std::string_view text);

/// A section's name as sections are compared: in lower case, as GiString has it.
std::string sectionKey(std::string_view name);

}  // namespace loomkit

#endif  // LOOMKIT_CONFIG_CONFIG_LINE_H
