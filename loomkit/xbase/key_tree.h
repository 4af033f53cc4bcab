// SPDX-License-Identifier: MIT
// KeyTree: the B+ tree of one tag. Its entries are pairs of a key and a record
// number, in the order of memcmp over the key, then of the number; no pair occurs
// twice. What goes on inside a block is the business of leaf_node.h and
// branch_node.h.
//
// After R. Bayer and E. McCreight, "Organization and Maintenance of Large Ordered
// Indexes" (1972), with linked leaves and compressed keys in them.
#ifndef LOOMKIT_XBASE_KEY_TREE_H
#define LOOMKIT_XBASE_KEY_TREE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "loomkit/xbase/block_space.h"
#include "loomkit/xbase/branch_node.h"

namespace loomkit::xbase {

/// An entry of a tree, and where it stands.
struct TreeCursor {
  bool valid = false;
  std::uint32_t record = 0;
  std::vector<unsigned char> key;

  // Where it stood when the tree had seen so many changes.
  std::uint32_t leaf = cdx::noBlock;
  unsigned index = 0;
  std::size_t keyBegin = 0;  ///< offset of the first stored byte of the key
  std::uint64_t changes = 0;
};

/// One tree in a space of blocks, which it does not own. What returns an `int`
/// gives a code of codes.h. Whatever the blocks hold, every call ends, and reads
/// and writes inside its blocks only; a tree that turns out to be none gives
/// errorNotAnIndex.
class KeyTree {
 public:
  KeyTree(BlockSpace& space, std::size_t keyLength, unsigned char pad);

  /// Takes over the tree that is there.
  void open(std::uint32_t rootAddress) noexcept { root = rootAddress; }
  /// The same for another tree than the one it had.
  void replace(std::uint32_t rootAddress) noexcept {
    root = rootAddress;
    ++changes;
  }
  /// Makes an empty tree, for record numbers up to `lastRecord` to begin with.
  int create(std::uint32_t lastRecord);

  [[nodiscard]] std::uint32_t rootAddress() const noexcept { return root; }
  [[nodiscard]] std::size_t keyLength() const noexcept { return keySize; }
  [[nodiscard]] unsigned char padByte() const noexcept { return pad; }
  /// Counts the changes of this tree since it is in memory.
  [[nodiscard]] std::uint64_t changeCount() const noexcept { return changes; }

  /// Moves to the first entry that is not before the key and record, over the
  /// first `length` bytes of the key. endOfFile, and no valid cursor, if all are.
  int seek(const unsigned char* key, std::size_t length, std::uint64_t record, TreeCursor* cursor);
  /// Move to an end of the tree. endOfFile, and no valid cursor, if it is empty.
  int first(TreeCursor* cursor);
  int last(TreeCursor* cursor);
  /// Move on or back by an entry; where the cursor's own has gone meanwhile, to
  /// its nearest neighbour. endOfFile and beginningOfFile leave it where it is.
  /// Requires: a valid cursor.
  int next(TreeCursor* cursor);
  int previous(TreeCursor* cursor);

  /// True if an entry has this key, whatever its record number.
  int contains(const unsigned char* key, bool* found);
  /// Adds an entry. Nothing changes if it is there already.
  int insert(const unsigned char* key, std::uint32_t record);
  /// Takes an entry out; notFound if it is not there.
  int remove(const unsigned char* key, std::uint32_t record);

  /// More levels than any tree needs; a way down that is longer leads in circles.
  static constexpr std::size_t deepest = 64;

 private:
  /// A branch on the way from the root, and the entry that led on.
  struct Step {
    std::uint32_t address;
    unsigned index;
  };
  /// An entry that was put at the end of a leaf when the tree had seen so many changes.
  struct Appended {
    std::uint32_t leaf = cdx::noBlock;
    std::uint32_t record = 0;
    std::uint64_t changes = 0;
    std::vector<unsigned char> key;
  };
  /// On which side of a node the next keys are expected.
  enum class Growth { left, spread, right };
  /// The left one of two nodes that are to stand where one stood: its largest key.
  struct Division {
    const unsigned char* key;
    std::uint32_t record;
    std::uint32_t left;
    std::uint32_t right;
  };

  [[nodiscard]] LeafNode leafOf(Block* block) const { return {block->bytes, keySize, pad}; }
  [[nodiscard]] BranchNode branchOf(Block* block) const { return {block->bytes, keySize}; }

  // key_tree.cpp: the way down, and the way along the leaves.
  int readNode(std::uint32_t address, Block** block);
  int readSameKind(std::uint32_t address, const Block& like, Block** block);
  template <typename Choice>
  int descend(Choice choose, Block** leaf);
  int descendTo(const unsigned char* key, std::size_t length, std::uint64_t record, Block** leaf);
  void stand(Block* leaf, unsigned index, TreeCursor* cursor) const;
  void standAt(Block* leaf, const LeafPlace& place, const unsigned char* key,
               TreeCursor* cursor) const;
  int standInNeighbour(std::uint32_t address, bool atEnd, TreeCursor* cursor);
  int relocate(TreeCursor* cursor, Block** leaf, bool* gone);

  // key_tree_change.cpp: insertion and removal.
  template <typename Once>
  int change(Once once);
  int insertOnce(const unsigned char* key, std::uint32_t record);
  [[nodiscard]] LeafPlace placeFor(const unsigned char* key, std::uint32_t record,
                                   const Block& leaf, const LeafNode& entries) const;
  int removeOnce(const unsigned char* key, std::uint32_t record);
  void lastEntry(Block* of, std::vector<unsigned char>* key, std::uint32_t* record) const;
  bool copyEntries(const LeafNode& from, unsigned first, unsigned last, LeafNode* to) const;
  void replaceEntries(Block* leaf, const unsigned char* bytes) const;
  bool widen(Block* leaf, std::uint32_t record);
  int splitLeaf(Block* leaf);
  int addLeaf(Block* leaf, Growth side, const unsigned char* key, std::uint32_t record);
  int linkBetween(std::uint32_t left, Block* added, std::uint32_t right);
  int addToParents(Division division, Growth growth);
  int shareWithSibling(std::size_t level, Block* block, BranchEntries* entries, bool* shared);
  void distribute(const BranchEntries& entries, unsigned leftCount, Block* left,
                  Block* right) const;
  int splitBranch(Block* block, const BranchEntries& entries, unsigned index, Growth growth,
                  Division* division);
  int raise(const Division& division);
  int renewParentKeys(std::size_t level, const unsigned char* key, std::uint32_t record);
  int dropNode(Block* block);
  int unlink(const Block& block);
  int lowerRoot();

  BlockSpace* space;
  std::size_t keySize;
  unsigned char pad;
  std::uint32_t root = cdx::noBlock;
  std::uint64_t changes = 0;
  bool torn = false;                  // a change has begun that several blocks make together
  std::vector<Step> path;             // from the root to the leaf, of the last descent
  Appended appended;                  // the last entry of that kind
  std::vector<unsigned char> before;  // the key that a cursor leaves
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_KEY_TREE_H
