// SPDX-License-Identifier: MIT
// Leaf nodes of a compound index, read and changed where they stand in their
// block. Keys are never unpacked to be compared: what an entry shares with the
// one before it says how far it agrees with the key that is looked for.
//
//   if (!LeafNode::check(block, keyLength)) return errorNotAnIndex;
//   LeafNode leaf(block, keyLength, pad);
//   const LeafPlace place = leaf.find(key, keyLength, record);
//   if (leaf.insert(place, key, record) == LeafNode::Result::noRoom) split();
#ifndef LOOMKIT_XBASE_LEAF_NODE_H
#define LOOMKIT_XBASE_LEAF_NODE_H

#include <cstddef>
#include <cstdint>

#include "loomkit/xbase/cdx_layout.h"

namespace loomkit::xbase {

/// Bytes of a block in memory: behind the block's own stand zeros, so that an
/// information field can be loaded as eight bytes wherever it is.
inline constexpr std::size_t paddedBlockSize = cdx::blockSize + 8;

/// How wide the parts of a leaf's information fields are.
struct LeafFormat {
  std::uint32_t recordMask = 0;
  unsigned duplicateMask = 0;
  unsigned trailingMask = 0;
  unsigned recordBits = 0;
  unsigned duplicateBits = 0;
  unsigned trailingBits = 0;
  unsigned infoSize = 0;  ///< bytes of an information field

  /// The format of a new leaf, in which record numbers up to `lastRecord` fit.
  /// Keys of 128 bytes or more need eight bits for a count. The rule for masks
  /// then gives an empty mask, and such keys are stored whole: every reader of
  /// the file goes by the mask.
  static LeafFormat forKeys(std::size_t keyLength, std::uint32_t lastRecord) noexcept;

  /// The same with as many bits for the record number as `lastRecord` asks for.
  [[nodiscard]] LeafFormat withRecords(std::uint32_t lastRecord) const noexcept;

  /// True if information fields of this kind can be read and written.
  [[nodiscard]] bool sound() const noexcept;
};

/// What an information field says.
struct LeafInfo {
  std::uint32_t record = 0;
  unsigned duplicates = 0;  ///< leading bytes shared with the key before it
  unsigned trailing = 0;    ///< pad bytes at the end, which are not stored
};

/// Where a key stands in a leaf, or would stand.
struct LeafPlace {
  unsigned index = 0;            ///< of the first entry that is not before the key
  std::size_t keysEnd = 0;       ///< offset behind the bytes of that entry's key
  std::size_t sharedBefore = 0;  ///< leading bytes that the entry before shares with the key
  std::size_t sharedHere = 0;    ///< and those that this entry shares
  bool equal = false;            ///< this entry has the key, over the length that was looked for
};

/// A leaf in a block of `paddedBlockSize` bytes, which it does not own. A value
/// that is made anew for each use: a later one sees what this one changed.
class LeafNode {
 public:
  enum class Result { done, noRoom, recordTooWide, damaged };

  /// True if the block is a leaf whose entries all lie inside it. Counts the
  /// free bytes anew.
  static bool check(unsigned char* block, std::size_t keyLength) noexcept;

  /// Makes an empty leaf without neighbours in the block.
  static void create(unsigned char* block, const LeafFormat& format) noexcept;

  /// Requires: check() has passed, or create() was called.
  LeafNode(unsigned char* block, std::size_t keyLength, unsigned char pad) noexcept;

  [[nodiscard]] unsigned count() const noexcept { return keyCount; }
  [[nodiscard]] std::size_t freeBytes() const noexcept { return free; }
  [[nodiscard]] const LeafFormat& format() const noexcept { return widths; }
  [[nodiscard]] LeafInfo info(unsigned index) const noexcept;

  /// The place of the first entry that is not before the key and record. Of the
  /// key, `length` bytes count; a record number above all others finds the place
  /// behind all entries of that key.
  [[nodiscard]] LeafPlace find(const unsigned char* key, std::size_t length,
                               std::uint64_t record) const noexcept;

  /// The place behind the last entry, for a key that shares `shared` bytes with it.
  [[nodiscard]] LeafPlace end(std::size_t shared) const noexcept;

  /// Puts an entry at its place, which find() has given. The block is as it was
  /// unless this is done.
  Result insert(const LeafPlace& place, const unsigned char* key, std::uint32_t record) noexcept;

  /// Takes out the entry at the place of the key. There may be no room: the next
  /// entry can need bytes again that stood for pad bytes in this one.
  Result remove(const LeafPlace& place, const unsigned char* key) noexcept;

  /// Goes over the keys: with the previous entry's key in `key`, and `*keysEnd`
  /// the offset behind this entry's bytes (the block's size for entry 0), makes
  /// this entry's key. The entry's record number.
  std::uint32_t decode(unsigned index, unsigned char* key, std::size_t* keysEnd) const noexcept;

 private:
  [[nodiscard]] std::size_t storedSize(const LeafInfo& of) const noexcept {
    return keyLength - of.duplicates - of.trailing;
  }
  [[nodiscard]] std::size_t lowestKeyByte() const noexcept {
    return cdx::leaf::entries + keyCount * widths.infoSize + free;
  }
  [[nodiscard]] std::size_t agreement(const LeafInfo& of, std::size_t start,
                                      const unsigned char* key, std::size_t length) const noexcept;
  [[nodiscard]] LeafInfo infoFor(const unsigned char* key, std::uint32_t record,
                                 std::size_t shared) const noexcept;
  void storeInfo(unsigned index, const LeafInfo& value) noexcept;
  void storeCounts(unsigned count, std::size_t freeBytes) noexcept;

  unsigned char* block;
  std::size_t keyLength;
  unsigned char pad;
  LeafFormat widths;
  unsigned keyCount;
  std::size_t free;
};

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_LEAF_NODE_H
