// SPDX-License-Identifier: MIT
// Branch nodes of a compound index, read and changed where they stand in their
// block. An entry is the largest key of a child, that key's record number and
// the child's address.
#ifndef LOOMKIT_XBASE_BRANCH_NODE_H
#define LOOMKIT_XBASE_BRANCH_NODE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "loomkit/xbase/cdx_layout.h"

namespace loomkit::xbase {

/// A branch in a block of cdx::blockSize bytes, which it does not own.
class BranchNode {
 public:
  /// True if the block is a branch whose entries all lie inside it.
  static bool check(const unsigned char* block, std::size_t keyLength) noexcept;

  /// Makes an empty branch without neighbours in the block.
  static void create(unsigned char* block) noexcept;

  /// Requires: check() has passed, or create() was called.
  BranchNode(unsigned char* block, std::size_t keyLength) noexcept;

  [[nodiscard]] unsigned count() const noexcept { return keyCount; }
  [[nodiscard]] bool full() const noexcept { return keyCount == cdx::branch::capacity(keyLength); }

  // Requires: index < count().
  [[nodiscard]] const unsigned char* key(unsigned index) const noexcept { return entry(index); }
  [[nodiscard]] std::uint32_t record(unsigned index) const noexcept;
  [[nodiscard]] std::uint32_t child(unsigned index) const noexcept;
  void setKey(unsigned index, const unsigned char* key, std::uint32_t record) noexcept;
  void setChild(unsigned index, std::uint32_t child) noexcept;

  /// The first entry that is not before the key and record; count() if all are.
  /// Of the keys, `length` bytes count.
  [[nodiscard]] unsigned find(const unsigned char* key, std::size_t length,
                              std::uint64_t record) const noexcept;

  /// The entry of a child; count() if it has none.
  [[nodiscard]] unsigned findChild(std::uint32_t child) const noexcept;

  /// Requires: !full(), index <= count().
  void insert(unsigned index, const unsigned char* key, std::uint32_t record,
              std::uint32_t child) noexcept;
  /// Requires: index < count().
  void remove(unsigned index) noexcept;

  /// All entries, as they stand in the block.
  [[nodiscard]] const unsigned char* entries() const noexcept { return entry(0); }
  /// Makes `number` entries the only ones. Requires: they fit into a block.
  void assign(const unsigned char* newEntries, unsigned number) noexcept;

 private:
  [[nodiscard]] unsigned char* entry(unsigned index) const noexcept {
    return block + cdx::branch::entries + index * entrySize;
  }
  void storeCount(unsigned count) noexcept;

  unsigned char* block;
  std::size_t keyLength;
  std::size_t entrySize;
  unsigned keyCount;
};

/// Entries on their way between branches, in their order.
class BranchEntries {
 public:
  explicit BranchEntries(std::size_t keyLength);

  [[nodiscard]] unsigned count() const noexcept;
  /// Add all entries of a branch, in front of the others or behind them.
  void prepend(const BranchNode& branch);
  void append(const BranchNode& branch);
  /// Requires: index <= count().
  void insert(unsigned index, const unsigned char* key, std::uint32_t record, std::uint32_t child);
  /// Makes `number` entries from `first` on the only ones of a branch, which has
  /// room for them.
  void copyTo(unsigned first, unsigned number, BranchNode branch) const noexcept;

 private:
  std::size_t keyLength;
  std::size_t entrySize;
  std::vector<unsigned char> bytes;
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_BRANCH_NODE_H
