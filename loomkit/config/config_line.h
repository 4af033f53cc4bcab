// SPDX-License-Identifier: MIT
// ConfigLine: one line of a configuration file, taken apart. This is the only
// place that knows the syntax. Private to the folder.
//
//   # a comment
//   [Section]
//   key = value
#ifndef LOOMKIT_CONFIG_CONFIG_LINE_H
#define LOOMKIT_CONFIG_CONFIG_LINE_H

#include <string>
#include <string_view>

namespace loomkit {

/// The parts of a line. The texts point into the line that was parsed.
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

/// Takes a line apart, which is given without its line end.
ConfigLine parseConfigLine(std::string_view line);

/// The text without white space at its ends.
std::string_view trimmed(std::string_view text);

/// The name of a section in the form in which names are compared: in lower case.
std::string sectionKey(std::string_view name);

}  // namespace loomkit

#endif  // LOOMKIT_CONFIG_CONFIG_LINE_H
