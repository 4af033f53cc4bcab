// SPDX-License-Identifier: MIT
// Window: a large file whose small records are read in blocks. Private to the archives.
#ifndef LOOMKIT_ARCHIVE_WINDOW_H
#define LOOMKIT_ARCHIVE_WINDOW_H

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace loomkit {

/// A file that is read in blocks. Records that follow each other closely share one
/// block, and a leap reads no more than it needs to go on.
class Window {
 public:
  /// `handle` is one of platform/random_access.h and stays the caller's.
  Window(int handle, std::uint64_t fileSize) : file(handle), total(fileSize) {}

  [[nodiscard]] std::uint64_t size() const { return total; }

  /// `count` bytes at `offset`, which stay until the next call; null when they are
  /// not all there or cannot be read. Requires: count is at most `largest`.
  const unsigned char* at(std::uint64_t offset, std::size_t count);

  /// What can be had at `offset` without another read, at least one byte and at most
  /// `limit`; a null pointer when nothing can be read there.
  std::pair<const unsigned char*, std::size_t> some(std::uint64_t offset, std::uint64_t limit);

  static constexpr std::size_t largest = 1U << 18;

 private:
  bool load(std::uint64_t offset, std::size_t count);

  int file;
  std::uint64_t total;
  std::vector<unsigned char> block;
  std::uint64_t start = 0;
  std::size_t filled = 0;
};

}  // namespace loomkit

#endif  // LOOMKIT_ARCHIVE_WINDOW_H
