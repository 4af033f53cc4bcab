// SPDX-License-Identifier: MIT
// BlockSpace: the blocks of a compound index file. It keeps the blocks that were
// used last, hands out new ones, takes back those that are empty, and sees to it
// that a file which was left in the midst of a change can be told from a whole
// one.
//
//   space.begin();                       // the blocks of the work before may go
//   Block* block = nullptr;
//   if (space.read(address, &block) < 0) return space.error();
//   if (space.change() == ok) ...        // before the first change of any block
#ifndef LOOMKIT_XBASE_BLOCK_SPACE_H
#define LOOMKIT_XBASE_BLOCK_SPACE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "loomkit/xbase/cdx_layout.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/leaf_node.h"

namespace loomkit::xbase {

struct Engine;
class File;

/// A block in memory.
struct Block {
  std::uint32_t address = 0;
  bool changed = false;        ///< ahead of the file
  bool used = false;           ///< since the hand of the clock came by
  std::size_t checkedFor = 0;  ///< the key length for which the node was checked; 0: none
  std::uint64_t work = 0;      ///< the piece of work that used it last
  Block* next = nullptr;       ///< in the chain of its bucket
  unsigned char bytes[paddedBlockSize] = {};

  [[nodiscard]] RecordReader reader() const noexcept { return {bytes, cdx::blockSize}; }

  // Of a node.
  [[nodiscard]] unsigned attributes() const noexcept { return reader().get(cdx::node::attributes); }
  [[nodiscard]] bool isLeaf() const noexcept { return (attributes() & cdx::node::isLeaf) != 0; }
  /// `side` is cdx::node::left or cdx::node::right.
  [[nodiscard]] std::uint32_t neighbour(Le32 side) const noexcept { return reader().get(side); }

  /// Writes a field, and sets the block as changed.
  template <class Field>
  void put(Field field, typename Field::Value value) noexcept {
    RecordWriter(bytes, cdx::blockSize).put(field, value);
    changed = true;
  }
};

/// The blocks of one file. What returns an `int` gives a code of codes.h.
///
/// Blocks that were handed out stay where they are until begin() is called the
/// next time. A change of a block is made in memory, with `changed` set; it
/// reaches the file when the block has to make room, or at flush().
///
/// Before the first change after opening and after each flush, the file gets a
/// mark that is brought to the disk; flush() takes it away when all blocks are
/// on the disk. A change that fails half-way leaves the mark for good.
class BlockSpace {
 public:
  /// Neither is owned. `blockLimit` is how many blocks are kept in memory.
  BlockSpace(Engine& engine, File& file, std::size_t blockLimit);
  BlockSpace(const BlockSpace&) = delete;
  BlockSpace& operator=(const BlockSpace&) = delete;

  /// Takes over a file that is there. errorNotAnIndex if it is too short, or has
  /// the mark of a file that was left in the midst of a change; with `torn`, that
  /// is passed over, for one who builds the file anew.
  int open(bool torn = false);
  /// Empties the file, to be filled anew: it begins with `headerBlocks` blocks of
  /// zeros, and counts as changed until the next flush.
  int clear(std::size_t headerBlocks);

  /// Begins a piece of work, during which blocks stay where they are.
  void begin() noexcept { ++work; }

  /// The block at an address; errorNotAnIndex if there cannot be one.
  int read(std::uint32_t address, Block** block);
  /// Announces a change. Without success nothing may be changed.
  int change();
  /// A block of zeros, set as changed, from the free blocks or the file's end.
  int allocate(Block** block);
  /// Room for `count` blocks of zeros in a row, at the file's end.
  int extend(std::size_t count, std::uint32_t* address);
  /// Gives a block back. It becomes the first free one.
  void release(Block* block) noexcept;

  /// Brings all changes to the disk, then takes the mark away. After a change
  /// that failed: errorNotAnIndex, and the file keeps its mark.
  int flush();
  /// Makes the space refuse to change or flush from now on.
  void giveUp() noexcept { broken = true; }
  [[nodiscard]] bool isBroken() const noexcept { return broken; }

  /// What is to be said of a file whose blocks make no tree: errorNotAnIndex.
  int corrupt() {
    noteCorruption();
    return errorNotAnIndex;
  }

  /// The first address behind the last block.
  [[nodiscard]] std::uint64_t end() const noexcept { return endAddress; }
  [[nodiscard]] std::uint32_t firstFree() const noexcept { return freeList; }

 private:
  void noteCorruption();

  Block** bucketOf(std::uint32_t address) noexcept;
  Block* find(std::uint32_t address) noexcept;
  int obtain(std::uint32_t address, Block** block);
  void addToBucket(Block* block) noexcept;
  void rehash(std::size_t bucketCount);
  void takeFromBucket(Block* block) noexcept;
  Block* victim() noexcept;
  int write(Block* block);
  int writeChanged();
  int setMark(bool changing);
  int takeFree(Block** block);

  Engine* engine;
  File* file;
  std::size_t limit;
  std::vector<std::unique_ptr<Block>> blocks;
  std::vector<Block*> buckets;
  std::size_t hand = 0;
  std::uint64_t work = 1;
  std::uint64_t endAddress = 0;
  std::uint32_t freeList = cdx::noBlock;
  bool marked = false;
  bool broken = false;
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_BLOCK_SPACE_H
