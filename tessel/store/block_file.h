// SPDX-License-Identifier: MIT
// BlockFile: the bytes of a store, read and checked block by block.
//
// The file is not mapped. A mapped file that shrinks, or whose disk fails, ends
// the process with a signal at any later read; here a block is copied into
// memory when it is first touched, and what cannot be read is an error number.
// The price is one read and one copy for each 16 KiB touched, and memory that
// processes do not share; a block in memory costs one more load than a map.
#ifndef TESSEL_STORE_BLOCK_FILE_H
#define TESSEL_STORE_BLOCK_FILE_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tessel/store/error.h"
#include "tessel/store/frame_pool.h"
#include "tessel/store/layout.h"

namespace tessel {

/// An open store file. Its header and its directory are read and checked when it
/// is opened, everything else when it is touched. For one thread at a time.
class BlockFile {
 public:
  BlockFile() = default;
  BlockFile(const BlockFile&) = delete;
  BlockFile& operator=(const BlockFile&) = delete;
  ~BlockFile();

  Error open(const std::string& path);

  /// The directory's bytes, whose checksum is right.
  [[nodiscard]] const std::vector<unsigned char>& directory() const { return directoryBytes; }
  /// The data lie between the header and this place.
  [[nodiscard]] std::uint64_t dataEnd() const { return dataEndsAt; }
  [[nodiscard]] std::uint64_t size() const { return fileSize; }
  [[nodiscard]] std::uint32_t blockCount() const { return blocks; }
  /// How many checksums of groups the directory must have.
  [[nodiscard]] std::uint32_t groupCount() const;
  /// Requires: groupCount() checksums, before any data are touched.
  void setGroupSums(std::vector<std::uint32_t> sums) { groupSums = std::move(sums); }

  /// The byte at `offset`, and those behind it to the end of its block; good
  /// until the next call. Null when the block cannot be had: error() says why.
  /// Requires: `offset` is below dataEnd().
  const unsigned char* at(std::uint64_t offset) {
    const auto block = static_cast<std::size_t>(offset >> layout::blockShift);
    const unsigned char* frame = frames[block];
    if (frame == nullptr) [[unlikely]]
      frame = load(static_cast<std::uint32_t>(block));
    return frame != nullptr ? frame + (offset & (layout::blockSize - 1)) : nullptr;
  }
  /// Has the processor fetch a byte that will be wanted soon, if its block is in
  /// memory. Requires: as at().
  void prefetch(std::uint64_t offset) const {
    const unsigned char* const frame =
        frames[static_cast<std::size_t>(offset >> layout::blockShift)];
    if (frame != nullptr) __builtin_prefetch(frame + (offset & (layout::blockSize - 1)));
  }
  /// How many bytes lie from `offset` to the end of its block.
  static std::size_t leftInBlock(std::uint64_t offset) {
    return layout::blockSize - static_cast<std::size_t>(offset & (layout::blockSize - 1));
  }

  /// Copies bytes that may lie in several blocks. False: error() says why.
  bool copy(std::uint64_t offset, std::size_t size, void* data);
  /// Whether these bytes are the `size` bytes at `data`. False on failure too:
  /// then error() is set.
  bool equals(std::uint64_t offset, std::size_t size, const void* data);

  /// Why the latest block could not be had.
  [[nodiscard]] Error error() const { return failure; }
  void clearError() { failure = Error::none; }

  /// cannotRead when the file is not as long as it was.
  Error checkSize() const;

  /// Reads and checks a block, in memory or not, and keeps nothing.
  Error verify(std::uint32_t block);

  /// How many blocks stay in memory; the one that came first goes first. At
  /// least minFrames, for the sake of at().
  void setFrameLimit(std::size_t limit);

 private:
  static constexpr std::size_t minFrames = 16;
  // 512 MiB, and a quarter of that where addresses are scarce.
  static constexpr std::size_t defaultFrames = sizeof(void*) > 4 ? 32768 : 8192;

  struct CFree {
    void operator()(unsigned char** p) const { std::free(static_cast<void*>(p)); }
  };

  bool read(std::uint64_t offset, void* data, std::size_t size) const;
  Error readHeader();
  Error readDirectory(std::uint64_t offset, std::uint32_t size, std::uint32_t sum);
  Error prepareFrames();
  Error loadGroup(std::uint32_t group);
  Error readBlock(std::uint32_t block, unsigned char* data);
  const unsigned char* load(std::uint32_t block);
  bool makeRoom();

  int handle = -1;
  std::uint64_t fileSize = 0;
  std::uint64_t dataEndsAt = 0;
  std::uint32_t blocks = 0;
  std::vector<unsigned char> directoryBytes;
  std::vector<std::uint32_t> groupSums;
  std::vector<std::unique_ptr<unsigned char[]>> groups;  // the blocks' checksums; null: not read

  // From calloc, whose untouched pages cost nothing however large the file is.
  std::unique_ptr<unsigned char*[], CFree> frames;  // null: not in memory
  FramePool pool;
  unsigned char* spare = nullptr;     // for the next block; null: to be taken from the pool
  std::vector<std::uint32_t> loaded;  // a ring of the blocks in memory
  std::size_t oldest = 0;             // in `loaded`, once it is full
  std::size_t frameLimit = defaultFrames;
  Error failure = Error::none;
};

}  // namespace tessel

#endif  // TESSEL_STORE_BLOCK_FILE_H
