// SPDX-License-Identifier: MIT
// What the header of a tag says, decoded.
#ifndef LOOMKIT_XBASE_TAG_HEADER_H
#define LOOMKIT_XBASE_TAG_HEADER_H

#include <cstdint>
#include <string>

#include "loomkit/xbase/cdx_layout.h"

namespace loomkit::xbase {

struct TagHeader {
  std::uint32_t root = 0;
  std::uint32_t version = 0;
  unsigned keyLength = 0;
  unsigned typeCode = 0;
  bool descending = false;
  std::string expression;
  std::string filter;

  [[nodiscard]] bool isTagOfTags() const { return (typeCode & cdx::typeTagOfTags) != 0; }

  /// Reads cdx::header::size bytes. False for what is no tag: a type code below
  /// cdx::typeCompact, a root that is no address, texts beyond their room, a key
  /// length that no tree has.
  bool decode(const unsigned char* bytes);
  /// Writes the header, but for the free blocks and the mark, which stay. The texts
  /// have at most cdx::longestSource characters.
  void encode(unsigned char* bytes) const;
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_TAG_HEADER_H
