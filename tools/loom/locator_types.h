// SPDX-License-Identifier: MIT
// The types of databases that loom opens, and what to say about a locator that names
// none of them.
#ifndef LOOM_LOCATOR_TYPES_H
#define LOOM_LOCATOR_TYPES_H

#include <span>
#include <string>
#include <string_view>

namespace loom {

/// A type of databases.
struct LocatorType {
  std::string_view prefix;  ///< "csv:", what the locator begins with
  std::string_view help;
};

/// All types, the most usual first.
[[nodiscard]] std::span<const LocatorType> locatorTypes();

/// A sentence that says what a locator of no known type may have been meant to be: a
/// path without its prefix, which is looked at, or a mistyped prefix.
[[nodiscard]] std::string locatorHint(const std::string& locator);

}  // namespace loom

#endif  // LOOM_LOCATOR_TYPES_H
