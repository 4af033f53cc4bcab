// SPDX-License-Identifier: MIT
// The lines of checksum lists, as md5sum and its like write and read them.
#ifndef LOOM_CHECKSUM_LINE_H
#define LOOM_CHECKSUM_LINE_H

#include <optional>
#include <string>

#include "checksum.h"

namespace loom {

/// A name as lists have it: a line end is \n, a carriage return \r, a backslash \\,
/// and the line of a name that has one of them begins with a backslash.
struct EscapedName {
  std::string mark;  ///< what the line begins with: a backslash or nothing
  std::string name;
};
[[nodiscard]] EscapedName escapedName(const std::string& name);

/// "SUM  NAME", or with `bsd` "MD5 (NAME) = SUM", without a line end.
[[nodiscard]] std::string checksumLine(const ChecksumKind& kind, const std::string& sum,
                                       const std::string& name, bool bsd);

struct ListedSum {
  const ChecksumKind* kind;
  std::string sum;  ///< in small letters
  std::string name;
};

/// Reads a line of either form; in the first one a '*' may stand for the second
/// blank. Nothing for any other line.
[[nodiscard]] std::optional<ListedSum> readChecksumLine(const std::string& line);

}  // namespace loom

#endif  // LOOM_CHECKSUM_LINE_H
