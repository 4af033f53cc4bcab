// SPDX-License-Identifier: MIT
// The backend's part of a database locator, "type:path?option;option".
// Private to the library.
#ifndef LOOMKIT_DB_LOCATOR_H
#define LOOMKIT_DB_LOCATOR_H

#include <string>
#include <vector>

namespace loomkit {

/// What stands behind the type id of a locator.
struct Locator {
  std::string path;                  ///< unescaped
  std::vector<std::string> options;  ///< as they stand, not unescaped; none without a "?"
};

/// Takes `locator` apart at its first colon and the first question mark behind
/// it. False when there is no colon.
bool splitLocator(const char* locator, Locator* parts);

}  // namespace loomkit

#endif  // LOOMKIT_DB_LOCATOR_H
