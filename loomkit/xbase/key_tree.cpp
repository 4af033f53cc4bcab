// SPDX-License-Identifier: MIT
// KeyTree: the way down from the root, and the way along the leaves.
#include "loomkit/xbase/key_tree.h"

#include <cassert>
#include <cstring>

#include "loomkit/xbase/codes.h"

namespace loomkit::xbase {

namespace node = cdx::node;

namespace {

// True if entry `b` stands behind entry `a`.
bool ascends(const std::vector<unsigned char>& a, std::uint32_t recordOfA,
             const std::vector<unsigned char>& b, std::uint32_t recordOfB) noexcept {
  const int order = std::memcmp(a.data(), b.data(), a.size());
  return order < 0 || (order == 0 && recordOfA < recordOfB);
}

}  // namespace

KeyTree::KeyTree(BlockSpace& blocks, std::size_t keyLength, unsigned char padByte)
    : space(&blocks), keySize(keyLength), pad(padByte), before(keyLength) {
  assert(keyLength >= 1 && keyLength <= cdx::longestKey);
  appended.key.resize(keyLength);
}

int KeyTree::create(std::uint32_t lastRecord) {
  space->begin();
  Block* block = nullptr;
  const int result = space->allocate(&block);
  if (result < 0) return result;
  LeafNode::create(block->bytes, LeafFormat::forKeys(keySize, lastRecord));
  block->put(node::attributes, node::isRoot | node::isLeaf);
  block->checkedFor = keySize;
  root = block->address;
  ++changes;
  return ok;
}

// A block of which all entries are known to lie inside it. What comes from the
// file is checked once; what is changed in memory stays sound.
int KeyTree::readNode(std::uint32_t address, Block** block) {
  const int result = space->read(address, block);
  if (result < 0 || (*block)->checkedFor == keySize) return result;
  const bool sound = (*block)->isLeaf() ? LeafNode::check((*block)->bytes, keySize)
                                        : BranchNode::check((*block)->bytes, keySize);
  if (!sound) return space->corrupt();
  (*block)->checkedFor = keySize;
  return ok;
}

// The same for a neighbour, which is on the same level and has keys.
int KeyTree::readSameKind(std::uint32_t address, const Block& like, Block** block) {
  const int result = readNode(address, block);
  if (result < 0) return result;
  const bool empty = (*block)->reader().get(node::keyCount) == 0;
  return empty || (*block)->isLeaf() != like.isLeaf() || *block == &like ? space->corrupt() : ok;
}

// Goes down to a leaf. `choose` says by which entry to leave a branch.
template <typename Choice>
int KeyTree::descend(Choice choose, Block** leaf) {
  path.clear();
  for (std::uint32_t address = root; path.size() < deepest;) {
    const int result = readNode(address, leaf);
    if (result < 0) return result;
    if ((*leaf)->isLeaf()) return leafOf(*leaf).count() > 0 || path.empty() ? ok : space->corrupt();
    const BranchNode branch = branchOf(*leaf);
    if (branch.count() == 0) return space->corrupt();
    path.push_back({address, choose(branch)});
    address = branch.child(path.back().index);
  }
  return space->corrupt();
}

int KeyTree::descendTo(const unsigned char* key, std::size_t length, std::uint64_t record,
                       Block** leaf) {
  return descend(
      [&](const BranchNode& branch) {
        const unsigned index = branch.find(key, length, record);
        // A key behind all others belongs to the last leaf.
        return index < branch.count() ? index : index - 1;
      },
      leaf);
}

void KeyTree::stand(Block* leaf, unsigned index, TreeCursor* cursor) const {
  const LeafNode entries = leafOf(leaf);
  cursor->key.resize(keySize);
  cursor->keyBegin = cdx::blockSize;
  for (unsigned i = 0; i <= index; ++i)
    cursor->record = entries.decode(i, cursor->key.data(), &cursor->keyBegin);
  cursor->leaf = leaf->address;
  cursor->index = index;
  cursor->changes = changes;
  cursor->valid = true;
}

// The same at a place that was found; `key` is null unless it was looked for whole.
void KeyTree::standAt(Block* leaf, const LeafPlace& place, const unsigned char* key,
                      TreeCursor* cursor) const {
  if (key == nullptr || !place.equal) return stand(leaf, place.index, cursor);
  const LeafInfo info = leafOf(leaf).info(place.index);
  cursor->key.assign(key, key + keySize);
  cursor->keyBegin = place.keysEnd - (keySize - info.duplicates - info.trailing);
  cursor->record = info.record;
  cursor->leaf = leaf->address;
  cursor->index = place.index;
  cursor->changes = changes;
  cursor->valid = true;
}

int KeyTree::seek(const unsigned char* key, std::size_t length, std::uint64_t record,
                  TreeCursor* cursor) {
  space->begin();
  cursor->valid = false;
  Block* leaf = nullptr;
  int result = descendTo(key, length, record, &leaf);
  if (result < 0 || leaf == nullptr) return result;
  const LeafPlace place = leafOf(leaf).find(key, length, record);
  if (place.index < leafOf(leaf).count()) {
    standAt(leaf, place, length == keySize ? key : nullptr, cursor);
    return ok;
  }
  const std::uint32_t right = leaf->neighbour(node::right);
  if (right == cdx::noBlock || leafOf(leaf).count() == 0) return endOfFile;
  result = readSameKind(right, *leaf, &leaf);
  if (result == ok) stand(leaf, 0, cursor);
  return result;
}

int KeyTree::first(TreeCursor* cursor) {
  space->begin();
  cursor->valid = false;
  Block* leaf = nullptr;
  const int result = descend([](const BranchNode&) { return 0U; }, &leaf);
  if (result < 0 || leaf == nullptr) return result;
  if (leafOf(leaf).count() == 0) return endOfFile;
  stand(leaf, 0, cursor);
  return ok;
}

int KeyTree::last(TreeCursor* cursor) {
  space->begin();
  cursor->valid = false;
  Block* leaf = nullptr;
  const int result = descend([](const BranchNode& branch) { return branch.count() - 1; }, &leaf);
  if (result < 0 || leaf == nullptr) return result;
  const unsigned count = leafOf(leaf).count();
  if (count == 0) return endOfFile;
  stand(leaf, count - 1, cursor);
  return ok;
}

// Goes from a leaf's end to the next entry of its neighbour. Entries only ever
// ascend, so that neighbours that lead in a circle are met with an error.
int KeyTree::standInNeighbour(std::uint32_t address, bool atEnd, TreeCursor* cursor) {
  if (address == cdx::noBlock) return atEnd ? beginningOfFile : endOfFile;
  Block* from = nullptr;
  int result = readNode(cursor->leaf, &from);
  Block* leaf = nullptr;
  if (result == ok) result = readSameKind(address, *from, &leaf);
  if (result < 0 || leaf == nullptr) return result;
  TreeCursor found;
  stand(leaf, atEnd ? leafOf(leaf).count() - 1 : 0, &found);
  const bool ordered = atEnd ? ascends(found.key, found.record, cursor->key, cursor->record)
                             : ascends(cursor->key, cursor->record, found.key, found.record);
  if (!ordered) return space->corrupt();
  *cursor = std::move(found);
  return ok;
}

// Brings a cursor to its entry again after the tree has changed. If that is gone,
// it stands at the entry behind it.
int KeyTree::relocate(TreeCursor* cursor, Block** leaf, bool* gone) {
  space->begin();
  *gone = false;
  if (cursor->changes != changes) {
    TreeCursor found;
    const int result = seek(cursor->key.data(), keySize, cursor->record, &found);
    if (result != ok) {
      *gone = result == endOfFile;
      return result;
    }
    *gone = found.record != cursor->record || found.key != cursor->key;
    *cursor = std::move(found);
  }
  return readNode(cursor->leaf, leaf);
}

int KeyTree::next(TreeCursor* cursor) {
  assert(cursor->valid);
  Block* leaf = nullptr;
  bool gone = false;
  const int result = relocate(cursor, &leaf, &gone);
  if (result != ok || gone) return result;
  const LeafNode entries = leafOf(leaf);
  if (cursor->index + 1 >= entries.count())
    return standInNeighbour(leaf->neighbour(node::right), false, cursor);
  before = cursor->key;
  const std::uint32_t recordBefore = cursor->record;
  cursor->record = entries.decode(++cursor->index, cursor->key.data(), &cursor->keyBegin);
  return ascends(before, recordBefore, cursor->key, cursor->record) ? ok : space->corrupt();
}

int KeyTree::previous(TreeCursor* cursor) {
  assert(cursor->valid);
  Block* leaf = nullptr;
  bool gone = false;
  int result = relocate(cursor, &leaf, &gone);
  if (result == endOfFile) return last(cursor);
  if (result < 0 || leaf == nullptr) return result;
  if (cursor->index == 0) return standInNeighbour(leaf->neighbour(node::left), true, cursor);
  before = cursor->key;
  const std::uint32_t recordBefore = cursor->record;
  stand(leaf, cursor->index - 1, cursor);
  return ascends(cursor->key, cursor->record, before, recordBefore) ? ok : space->corrupt();
}

int KeyTree::contains(const unsigned char* key, bool* found) {
  TreeCursor cursor;
  const int result = seek(key, keySize, 0, &cursor);
  *found = result == ok && std::memcmp(cursor.key.data(), key, keySize) == 0;
  return result < 0 ? result : ok;
}

}  // namespace loomkit::xbase
