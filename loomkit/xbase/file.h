// SPDX-License-Identifier: MIT
// File: one of the engine's files, read and written through a small cache of
// blocks.
#ifndef LOOMKIT_XBASE_FILE_H
#define LOOMKIT_XBASE_FILE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/platform/replacement.h"
#include "loomkit/xbase/slot_table.h"

namespace loomkit::xbase {

struct Engine;

/// A file that is read and written at any place. What is written stays in the
/// cache until it has to make room, or until writeBack(); which blocks reach the
/// disk first is then not the caller's to say, so that who needs an order calls
/// writeBack() or sync() between two steps.
///
/// Every `int` result is a code of codes.h; a negative one is also kept in the
/// engine. A block that cannot be written stays in the cache and is tried again.
/// The cache is made for one program: what others write into the file meanwhile
/// is not seen.
class File {
 public:
  explicit File(Engine& engine);
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  /// close(), whose result is lost.
  ~File();

  /// Opens a file that is there, with the access and the sharing of the engine's
  /// settings. notOpened, or errorOpening where the engine reports openings.
  int open(const std::string& path);
  /// Makes an empty file, open for reading and writing. With the engine's safety,
  /// a file that is there is a failure. errorCreating.
  int create(const std::string& path);
  /// Writes what is to be written and closes. Repeatable. Does not throw: what there is
  /// no memory to write is lost, and the code is errorMemory.
  int close();

  /// Has another file take this one's place, and goes over to it. What was not
  /// written to the old one is forgotten. errorOpening, errorRenaming.
  int become(platform::Replacement* replacement);

  [[nodiscard]] bool isOpen() const { return handle >= 0; }
  [[nodiscard]] bool isReadOnly() const { return readOnly; }
  /// The path as it was given.
  [[nodiscard]] const std::string& name() const { return path; }
  /// In bytes, what is still to be written included.
  [[nodiscard]] std::uint64_t length() const { return size; }

  /// Reads `count` bytes, fewer at the file's end; `*got` tells how many.
  int readAt(std::uint64_t offset, void* data, std::size_t count, std::size_t* got);
  /// Reads all `count` bytes, or fails: an end in the midst is errorReading too.
  int readAll(std::uint64_t offset, void* data, std::size_t count);
  /// Where those bytes are in memory, if they were read ahead for a sequential reader and
  /// it is known that none of them is zero; null otherwise. Valid until the next call.
  [[nodiscard]] const char* plainBytes(std::uint64_t offset, std::size_t count) const noexcept {
    const bool isThere = ahead.isPlain && ahead.has(offset, count);
    return isThere ? ahead.bytes + (offset - ahead.begin) : nullptr;
  }
  /// Behind the end, the gap is filled with zero bytes.
  int writeAt(std::uint64_t offset, const void* data, std::size_t count);
  /// Cuts the file, on the disk at once, or lengthens it by zero bytes.
  int setLength(std::uint64_t newLength);

  /// Hands every changed block to the operating system.
  int writeBack();
  /// writeBack(), and brings it all to the disk if anything was written since
  /// the last time.
  int sync();

 private:
  /// The number of a cache's block that holds none of the file's.
  static constexpr std::uint64_t noBlock = ~std::uint64_t{0};

  struct Block {
    std::uint64_t number = noBlock;
    bool changed = false;
    bool used = false;  // since the hand of the clock came by
    std::unique_ptr<char[]> bytes;
  };

  /// Bytes of the file that are in memory.
  struct View {
    std::uint64_t begin = 0;  // offsets in the file
    std::uint64_t end = 0;
    const char* bytes = nullptr;
    bool isPlain = false;  // whether it is known that none of them is zero

    [[nodiscard]] bool has(std::uint64_t offset, std::size_t count) const noexcept {
      return offset >= begin && offset < end && count <= end - offset;
    }
  };

  int start(int newHandle);
  Block* find(std::uint64_t number);
  std::size_t plan(std::uint64_t number, std::size_t span);
  int fetch(std::uint64_t number, std::size_t span, Block** block);
  void dropAhead();
  int readAhead(std::uint64_t number, std::size_t count);
  int show(std::uint64_t offset, std::size_t count);
  int obtain(std::uint64_t number, Block** block);
  int makeRoom(std::uint32_t* slot);
  int readBlock(std::uint64_t number);
  int readBlocks(std::uint64_t first, std::size_t count);
  std::size_t missingRun(std::uint64_t first, std::size_t atMost) const;
  int writeRun(const std::vector<Block*>& run);
  int writeAround(const Block& block);
  int forWriting(std::uint64_t number, bool whole, Block** block);
  [[nodiscard]] std::size_t lengthOf(std::uint64_t number) const;
  void forget();
  int failed(int code, const char* text = nullptr);

  Engine* engine;
  std::string path;
  int handle = -1;
  bool readOnly = false;
  bool written = false;  // since the last sync
  std::uint64_t size = 0;

  std::vector<Block> blocks;
  SlotTable slots;               // by block number
  Block* latest = nullptr;       // the block used last
  std::size_t hand = 0;          // of the clock that picks a victim
  std::uint64_t expected = 0;    // the block that a sequential reader wants next
  std::size_t window = 1;        // how many blocks it was given last
  View view;                     // what was read last
  View ahead;                    // what was read ahead and is in no block
  std::vector<char> aheadBytes;  // and the memory for it
  std::vector<char> transfer;    // several blocks on their way
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_FILE_H
