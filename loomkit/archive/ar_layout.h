// SPDX-License-Identifier: MIT
// The Unix ar archive on the disk (the common "!<arch>" layout of <ar.h>, with
// the long names of 4.4BSD and System V): the only place that knows its offsets;
// docs/formats/ar.md explains the fields. All numbers are decimal text, padded
// with blanks.
#ifndef LOOMKIT_ARCHIVE_AR_LAYOUT_H
#define LOOMKIT_ARCHIVE_AR_LAYOUT_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "loomkit/text/binary.h"

namespace loomkit::ar {

/// The first bytes of the archive.
inline constexpr std::string_view magic = "!<arch>\n";
/// Those of a thin archive, which names files and holds none of their data.
inline constexpr std::string_view thinMagic = "!<thin>\n";
static_assert(thinMagic.size() == magic.size());

/// The record in front of a member's data.
namespace header {
inline constexpr BytesField name{0, 16};
/// Seconds since 1970.
inline constexpr BytesField date{16, 12};
/// Nothing here reads owner and group.
inline constexpr BytesField owner{28, 6};
inline constexpr BytesField group{34, 6};
/// Type and rights as on Unix, in octal digits.
inline constexpr BytesField mode{40, 8};
/// The size of what follows the header: the data, and a long name before them.
inline constexpr BytesField dataSize{48, 10};
inline constexpr BytesField trailer{58, 2};
inline constexpr std::size_t size = 60;

static_assert(date.offset == name.end() && owner.offset == date.end());
static_assert(group.offset == owner.end() && mode.offset == group.end());
static_assert(dataSize.offset == mode.end() && trailer.offset == dataSize.end());
static_assert(size == trailer.end());

inline constexpr std::string_view trailerText = "`\n";

/// A name field that begins so holds, in the rest of it, the length of a name
/// that stands in front of the data.
inline constexpr std::string_view longNameMark = "#1/";
inline constexpr BytesField longNameSize{longNameMark.size(), name.size - longNameMark.size()};

/// A name field of a slash and digits gives the place of a name in the table of names.
inline constexpr char nameTableMark = '/';
inline constexpr BytesField placeInNameTable{1, name.size - 1};
}  // namespace header

/// The member of the System V dialect that holds the names of more than 15 bytes, and what
/// the first member of a BSD archive is called when it lists the symbols. System V's
/// symbol tables are the members whose name is a slash and no digits.
inline constexpr std::string_view nameTable = "//";
inline constexpr std::string_view bsdSymbolTable = "__.SYMDEF";

/// Headers begin at even offsets; data of odd size are followed by a pad byte.
constexpr std::uint64_t nextHeader(std::uint64_t dataOffset, std::uint64_t dataSize) {
  return (dataOffset + dataSize + 1) & ~std::uint64_t{1};
}
static_assert(nextHeader(68, 3) == 72 && nextHeader(68, 4) == 72);

}  // namespace loomkit::ar

#endif  // LOOMKIT_ARCHIVE_AR_LAYOUT_H
