// SPDX-License-Identifier: MIT
// What opening and building of index files share.
#ifndef LOOMKIT_XBASE_INDEX_PARTS_H
#define LOOMKIT_XBASE_INDEX_PARTS_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "loomkit/xbase/index_file.h"
#include "loomkit/xbase/tag_header.h"

namespace loomkit::xbase {

/// Makes a tag without a place in the file: name, key and filter are set, once
/// they are found to be possible.
int makeTag(IndexFile& index, const TagDescription& description, std::unique_ptr<Expression> key,
            std::size_t keyLength, std::unique_ptr<Tag>* tag);

/// What the header of a tag, and of the tag of tags, is to say now.
TagHeader headerOf(const Tag& tag);
TagHeader headerOfTagOfTags(const IndexFile& index);

/// Puts a header into its two blocks.
int writeTagHeader(IndexFile& index, std::uint32_t address, const TagHeader& header);

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_INDEX_PARTS_H
