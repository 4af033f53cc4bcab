// SPDX-License-Identifier: MIT
// Extension: Locator, the text that names a database, taken apart.
//
//   loomkit::Locator locator;
//   if (loomkit::splitLocator("csv:/my%20data?order=files", &locator)) ...
//   // locator.type "csv", locator.path "/my data", locator.options {"order=files"}
#ifndef LOOMKIT_DB_LOCATOR_H
#define LOOMKIT_DB_LOCATOR_H

#include <string>
#include <vector>

#include "loomkit/platform/export.h"

namespace loomkit {

/// The parts of a locator, "type:path?option;option". A plain value, which owns its
/// texts.
struct Locator {
  /// What stands before the first colon, its ASCII letters in lower case.
  std::string type;
  /// What stands behind the colon, up to the first question mark behind it,
  /// with its URI escapes turned into their bytes.
  std::string path;
  /// What stands behind that question mark, split at each semicolon. Options
  /// are left as they are, not unescaped; without a question mark there is none.
  std::vector<std::string> options;
};

/// Takes `text` apart into `*locator`. Returns false, and leaves `*locator` as
/// it is, when there is no colon. Both arguments stay the caller's; `locator` is not
/// null. It keeps no state, so that any thread may call it. The factory of a backend calls it:
/// nothing else is checked, since each backend knows by itself which paths and options it takes.
LOOMKIT_API bool splitLocator(const std::string& text, Locator* locator);

/// The lower-cased type of a locator as GDbDatabase::openDatabase() reads it.
/// Empty when the locator is malformed: no colon, nothing behind it, or a type
/// that is empty or has another character than ASCII letters and digits. Any thread
/// may call it.
LOOMKIT_API std::string locatorType(const std::string& text);

}  // namespace loomkit

#endif  // LOOMKIT_DB_LOCATOR_H
