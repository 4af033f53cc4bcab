// SPDX-License-Identifier: MIT
// What a tag of a compound index is to be.
#ifndef LOOMKIT_XBASE_TAG_DESCRIPTION_H
#define LOOMKIT_XBASE_TAG_DESCRIPTION_H

#include <string>

namespace loomkit::xbase {

/// A tag to be created.
struct TagDescription {
  std::string name;         ///< at most 10 characters count
  std::string expression;   ///< of the key
  std::string filter = {};  ///< empty: every record is in the tag
  bool unique = false;      ///< a second record with the same key is refused
  bool descending = false;
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_TAG_DESCRIPTION_H
