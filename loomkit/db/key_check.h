// SPDX-License-Identifier: MIT
// Whether the keys of a lookup can be read. Private to the library.
#ifndef LOOMKIT_DB_KEY_CHECK_H
#define LOOMKIT_DB_KEY_CHECK_H

#include <algorithm>

#include "loomkit/db/key.h"

namespace loomkit {

/// False when there are keys but no array of them, or when a String key has no
/// text. A backend answers that with GDbInvalidArgument before it reads a key. A
/// `count` of 0 or less reads nothing.
inline bool areReadable(const GDbKey* keys, int count) {
  if (count <= 0) return true;
  return keys != nullptr && std::none_of(keys, keys + count, [](const GDbKey& key) {
           return key.type == GDbFieldString && key.value.stringValue == nullptr;
         });
}

}  // namespace loomkit

#endif  // LOOMKIT_DB_KEY_CHECK_H
