// SPDX-License-Identifier: MIT
// The checksums that loom sum knows.
#ifndef LOOM_CHECKSUM_H
#define LOOM_CHECKSUM_H

#include <istream>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace loom {

/// A row of the table of checksums.
struct ChecksumKind {
  std::string_view option;  ///< "--sha256"
  std::string_view name;    ///< "sha256", as JSON calls it
  std::string_view label;   ///< "SHA256", as BSD lines call it
  std::size_t digits;       ///< of the checksum in hexadecimal: no two kinds share a number
  std::optional<std::string> (*sumOf)(std::istream&);
};

[[nodiscard]] std::span<const ChecksumKind> checksumKinds();

/// The kind whose checksums have so many digits, or that BSD lines call so; null:
/// none.
[[nodiscard]] const ChecksumKind* kindWithDigits(std::size_t digits);
[[nodiscard]] const ChecksumKind* kindWithLabel(std::string_view label);

}  // namespace loom

#endif  // LOOM_CHECKSUM_H
