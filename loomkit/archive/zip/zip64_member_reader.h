// SPDX-License-Identifier: MIT
// zip::Inflater and zip::LocalHeader: the parts of reading one member of an archive of
// any size. Private to GZip64Reader.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP64_MEMBER_READER_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP64_MEMBER_READER_H

#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "loomkit/archive/window.h"
#include "loomkit/archive/zip/zip_member.h"

namespace loomkit::zip {

/// Raw deflate. One object serves many members, because setting zlib up costs more
/// than a small member itself.
class Inflater {
 public:
  Inflater() = default;
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;
  ~Inflater();

  using Take = std::function<bool(const unsigned char* data, std::size_t size)>;

  /// Begins a member. False when memory has run out.
  bool begin();
  /// Inflates a piece and hands on what comes out. False for bad data, or when `take`
  /// is false.
  bool run(const unsigned char* data, std::size_t size, const Take& take);
  /// True when the data have come to their own end.
  [[nodiscard]] bool isAtEnd() const { return atEnd; }
  /// Bytes that came behind the end.
  [[nodiscard]] std::uint64_t extraBytes() const { return extra; }

 private:
  static constexpr std::size_t outputSize = 1U << 16;

  z_stream z{};
  bool ready = false;
  bool atEnd = false;
  std::uint64_t extra = 0;
  std::unique_ptr<unsigned char[]> output;
};

/// Compares a member's local header with the directory and tells where its data begin.
/// Null, or what is wrong.
const char* checkLocalHeader(Window& window, const GZipMember& member, std::uint64_t* dataStart);

/// Tells where a member's data end, from the lengths in its local header alone. False
/// when there is no local header.
bool findDataEnd(Window& window, const GZipMember& member, std::uint64_t* dataEnd);

}  // namespace loomkit::zip

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP64_MEMBER_READER_H
