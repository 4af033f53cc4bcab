// SPDX-License-Identifier: MIT
// BlockBuf and DirectoryStream: read the directory of an archive in blocks, so that
// its many small records cost no system call each. Private to the archives.
#ifndef LOOMKIT_ARCHIVE_BLOCK_BUF_H
#define LOOMKIT_ARCHIVE_BLOCK_BUF_H

#include <cstddef>
#include <istream>
#include <optional>
#include <streambuf>
#include <vector>

namespace loomkit {

/// A stream buffer that reads from a file's buffer, which stays the caller's and is
/// left at no particular position. It moves forward only and keeps count of its
/// position. Records that follow each other closely are read in ever larger blocks,
/// up to 64 KiB; after a leap over data it begins with a small block again.
class BlockBuf : public std::streambuf {
 public:
  /// `source` is at `position`.
  BlockBuf(std::streambuf* source, std::streamoff position)
      : stream(source), block(smallest), blockEnd(position) {}

  [[nodiscard]] std::streamoff position() const { return blockEnd - (egptr() - gptr()); }

 protected:
  int_type underflow() override;
  pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                   std::ios_base::openmode which) override;
  pos_type seekpos(pos_type target, std::ios_base::openmode which) override;

 private:
  pos_type skip(off_type count);

  static constexpr std::size_t smallest = 4096;
  static constexpr std::size_t largest = 65536;

  std::streambuf* stream;
  std::vector<char> block;
  std::streamoff blockEnd;  // the stream's position
  std::size_t nextSize = smallest;
};

/// The stream of an archive while its directory is read. A file's is read through a
/// BlockBuf; any other, for which a call costs little, is read as it is.
class DirectoryStream {
 public:
  /// `source` stays the caller's. It is at `position`.
  DirectoryStream(std::istream& source, std::streamoff position);

  [[nodiscard]] std::istream& get() { return blocks ? *reading : direct; }
  [[nodiscard]] std::streamoff position();

 private:
  std::istream& direct;
  std::optional<BlockBuf> blocks;
  std::optional<std::istream> reading;
};

}  // namespace loomkit

#endif  // LOOMKIT_ARCHIVE_BLOCK_BUF_H
