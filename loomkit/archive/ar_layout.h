// SPDX-License-Identifier: MIT
// The Unix ar archive on the disk (the common "!<arch>" layout of <ar.h>, with
// the long names of 4.4BSD): the only place that knows its offsets. All numbers
// are decimal text, padded with blanks.
#ifndef LOOMKIT_ARCHIVE_AR_LAYOUT_H
#define LOOMKIT_ARCHIVE_AR_LAYOUT_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace loomkit::ar {

inline constexpr std::string_view magic = "!<arch>\n";

/// A field of a member's header.
struct Field {
  std::size_t offset;
  std::size_t size;
};

inline constexpr Field nameField = {0, 16};
/// Date, owner, group and mode, which nothing here reads.
inline constexpr Field ignoredFields = {16, 32};
/// Of the data, a long name included.
inline constexpr Field sizeField = {48, 10};
inline constexpr Field trailerField = {58, 2};
inline constexpr std::size_t headerSize = 60;

static_assert(ignoredFields.offset == nameField.offset + nameField.size);
static_assert(sizeField.offset == ignoredFields.offset + ignoredFields.size);
static_assert(trailerField.offset == sizeField.offset + sizeField.size);
static_assert(headerSize == trailerField.offset + trailerField.size);

inline constexpr std::string_view trailer = "`\n";

/// A name field that begins so holds the length of a name that stands in front
/// of the data.
inline constexpr std::string_view longNameMark = "#1/";
inline constexpr Field longNameSizeField = {longNameMark.size(),
                                            nameField.size - longNameMark.size()};

/// Headers begin at even offsets; data of odd size are followed by a pad byte.
constexpr std::uint64_t nextHeader(std::uint64_t dataOffset, std::uint32_t dataSize) {
  return (dataOffset + dataSize + 1) & ~std::uint64_t{1};
}
static_assert(nextHeader(68, 3) == 72 && nextHeader(68, 4) == 72);

}  // namespace loomkit::ar

#endif  // LOOMKIT_ARCHIVE_AR_LAYOUT_H
