// SPDX-License-Identifier: MIT
// KeyTree: insertion and removal. A change that needs room splits a node and is
// then tried again from the root, so that each step deals with one thing.
#include <algorithm>
#include <cassert>
#include <cstring>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/key_tree.h"

namespace loomkit::xbase {

namespace node = cdx::node;

namespace {

// The answer of a step that made room: the change is to be tried again.
constexpr int again = 1;

std::size_t agreement(const unsigned char* a, const unsigned char* b, std::size_t length) noexcept {
  return static_cast<std::size_t>(std::mismatch(a, a + length, b).first - a);
}

}  // namespace

// Does a change step by step. One that ends in the midst of what several blocks
// make together, by a failure or for want of memory, gives the file up.
template <typename Once>
int KeyTree::change(Once once) {
  int result = space->change();
  if (result < 0) return result;
  struct Guard {
    KeyTree* tree;
    ~Guard() {
      if (tree->torn) tree->space->giveUp();
    }
  } const guard{this};
  do {
    torn = false;
    result = once();
  } while (result == again);
  if (result >= 0) torn = false;
  return result;
}

int KeyTree::insert(const unsigned char* key, std::uint32_t record) {
  return change([&] { return insertOnce(key, record); });
}

int KeyTree::remove(const unsigned char* key, std::uint32_t record) {
  const int result = change([&] { return removeOnce(key, record); });
  return result == endOfFile ? notFound : result;
}

// Keys that come in order need not be looked for: each stands behind the one before.
LeafPlace KeyTree::placeFor(const unsigned char* key, std::uint32_t record, const Block& leaf,
                            const LeafNode& entries) const {
  if (appended.leaf == leaf.address && appended.changes == changes) {
    const std::size_t shared = agreement(appended.key.data(), key, keySize);
    const bool isBehind =
        shared == keySize ? appended.record < record : appended.key[shared] < key[shared];
    if (isBehind) return entries.end(shared);
  }
  return entries.find(key, keySize, record);
}

int KeyTree::insertOnce(const unsigned char* key, std::uint32_t record) {
  space->begin();
  Block* leaf = nullptr;
  const int result = descendTo(key, keySize, record, &leaf);
  if (result < 0) return result;
  LeafNode entries = leafOf(leaf);
  const LeafPlace place = placeFor(key, record, *leaf, entries);
  if (place.equal && entries.info(place.index).record == record) return ok;
  const bool atEnd = place.index == entries.count();
  switch (entries.insert(place, key, record)) {
    case LeafNode::Result::done:
      leaf->changed = true;
      ++changes;
      if (!atEnd) return ok;
      std::memcpy(appended.key.data(), key, keySize);
      appended.leaf = leaf->address;
      appended.record = record;
      appended.changes = changes;
      return renewParentKeys(path.size(), key, record);
    case LeafNode::Result::recordTooWide:
      return widen(leaf, record) ? again : splitLeaf(leaf);
    case LeafNode::Result::noRoom:
      if (atEnd) return addLeaf(leaf, Growth::right, key, record);
      return place.index == 0 ? addLeaf(leaf, Growth::left, key, record) : splitLeaf(leaf);
    case LeafNode::Result::damaged:
      break;
  }
  return space->corrupt();
}

int KeyTree::removeOnce(const unsigned char* key, std::uint32_t record) {
  space->begin();
  Block* leaf = nullptr;
  const int result = descendTo(key, keySize, record, &leaf);
  if (result < 0) return result;
  LeafNode entries = leafOf(leaf);
  const LeafPlace place = entries.find(key, keySize, record);
  if (!place.equal || entries.info(place.index).record != record) return endOfFile;
  if (entries.remove(place, key) == LeafNode::Result::noRoom) return splitLeaf(leaf);
  leaf->changed = true;
  ++changes;
  if (path.empty()) return ok;
  torn = true;
  if (entries.count() == 0) return dropNode(leaf);
  if (place.index < entries.count()) return ok;
  std::vector<unsigned char> lastKey;
  std::uint32_t lastRecord = 0;
  lastEntry(leaf, &lastKey, &lastRecord);
  return renewParentKeys(path.size(), lastKey.data(), lastRecord);
}

// The largest key of a node that has one.
void KeyTree::lastEntry(Block* block, std::vector<unsigned char>* key,
                        std::uint32_t* record) const {
  if ((block->attributes() & node::isLeaf) != 0) {
    TreeCursor cursor;
    stand(block, leafOf(block).count() - 1, &cursor);
    *key = std::move(cursor.key);
    *record = cursor.record;
  } else {
    const BranchNode branch = branchOf(block);
    const unsigned char* bytes = branch.key(branch.count() - 1);
    key->assign(bytes, bytes + keySize);
    *record = branch.record(branch.count() - 1);
  }
}

// Appends entries of one leaf to another. False if there is no room for all.
bool KeyTree::copyEntries(const LeafNode& from, unsigned first, unsigned last, LeafNode* to) const {
  std::vector<unsigned char> keys(2 * keySize);
  unsigned char* key = keys.data();
  unsigned char* keyBefore = key + keySize;
  std::size_t keyBegin = cdx::blockSize;
  for (unsigned i = 0; i < last; ++i) {
    const std::uint32_t record = from.decode(i, key, &keyBegin);
    if (i >= first) {
      const std::size_t shared = i > first ? agreement(keyBefore, key, keySize) : 0;
      if (to->insert(to->end(shared), key, record) != LeafNode::Result::done) return false;
    }
    std::memcpy(keyBefore, key, keySize);
  }
  return true;
}

// Gives a leaf the entries of another block; it stays where it is in the tree.
void KeyTree::replaceEntries(Block* leaf, const unsigned char* bytes) const {
  const RecordReader old(leaf->bytes, cdx::blockSize);
  const auto attributes = old.get(node::attributes);
  const auto left = old.get(node::left);
  const auto right = old.get(node::right);
  std::memcpy(leaf->bytes, bytes, cdx::blockSize);
  RecordWriter record(leaf->bytes, cdx::blockSize);
  record.put(node::attributes, attributes);
  record.put(node::left, left);
  record.put(node::right, right);
  leaf->changed = true;
}

// Packs a leaf anew with fields in which the record number has room. False if
// the entries then need more than a block.
bool KeyTree::widen(Block* leaf, std::uint32_t record) {
  unsigned char bytes[paddedBlockSize];
  const LeafNode old = leafOf(leaf);
  LeafNode::create(bytes, old.format().withRecords(record));
  LeafNode packed(bytes, keySize, pad);
  if (!copyEntries(old, 0, old.count(), &packed)) return false;
  replaceEntries(leaf, bytes);
  ++changes;
  return true;
}

// Moves the second half of a leaf, by its bytes, to a new one.
int KeyTree::splitLeaf(Block* leaf) {
  const LeafNode old = leafOf(leaf);
  // Entries of a leaf that was filled by its own program fit one by one.
  if (old.count() < 2) return space->corrupt();
  const std::size_t half = (cdx::leaf::room - old.freeBytes()) / 2;
  unsigned first = 0;
  for (std::size_t used = 0; used < half && first + 1 < old.count(); ++first) {
    const LeafInfo info = old.info(first);
    used += old.format().infoSize + keySize - info.duplicates - info.trailing;
  }
  first = std::max(first, 1U);

  // The first entry of the right half is stored whole, which can take more room
  // than the other half leaves.
  unsigned char right[paddedBlockSize];
  for (;; ++first) {
    LeafNode::create(right, old.format());
    LeafNode packed(right, keySize, pad);
    if (copyEntries(old, first, old.count(), &packed)) break;
    if (first + 1 >= old.count()) return space->corrupt();
  }
  unsigned char left[paddedBlockSize];
  LeafNode::create(left, old.format());
  LeafNode packed(left, keySize, pad);
  copyEntries(old, 0, first, &packed);

  Block* added = nullptr;
  int result = space->allocate(&added);
  if (result < 0) return result;
  std::memcpy(added->bytes, right, sizeof right);
  added->checkedFor = keySize;
  result = linkBetween(leaf->address, added, leaf->neighbour(node::right));
  if (result < 0) return result;
  replaceEntries(leaf, left);
  ++changes;
  std::vector<unsigned char> key;
  Division division{nullptr, 0, leaf->address, added->address};
  lastEntry(leaf, &key, &division.record);
  division.key = key.data();
  result = addToParents(division, Growth::spread);
  return result == ok ? again : result;
}

// Puts a key that belongs to an end of a full leaf into a new one beside it. Keys
// that come in order then fill one leaf after the other.
int KeyTree::addLeaf(Block* leaf, Growth side, const unsigned char* key, std::uint32_t record) {
  Block* added = nullptr;
  int result = space->allocate(&added);
  if (result < 0) return result;
  const LeafFormat format = leafOf(leaf).format();
  LeafNode::create(added->bytes, record <= format.recordMask ? format : format.withRecords(record));
  LeafNode entries = leafOf(added);
  entries.insert(entries.end(0), key, record);
  added->checkedFor = keySize;
  ++changes;
  if (side == Growth::left) {
    result = linkBetween(leaf->neighbour(node::left), added, leaf->address);
    if (result < 0) return result;
    return addToParents({key, record, added->address, leaf->address}, side);
  }
  result = linkBetween(leaf->address, added, leaf->neighbour(node::right));
  if (result == ok) result = renewParentKeys(path.size(), key, record);
  if (result < 0) return result;
  std::vector<unsigned char> lastKey;
  Division division{nullptr, 0, leaf->address, added->address};
  lastEntry(leaf, &lastKey, &division.record);
  division.key = lastKey.data();
  return addToParents(division, side);
}

// Makes a new node the neighbour of two that were neighbours. From here on the
// tree is torn until the parents know of it.
int KeyTree::linkBetween(std::uint32_t left, Block* added, std::uint32_t right) {
  const auto link = [&](std::uint32_t address, Le32 towards, std::uint32_t other) -> int {
    if (address == cdx::noBlock) return ok;
    Block* block = nullptr;
    const int result = readSameKind(address, *added, &block);
    if (result < 0) return result;
    if (block->neighbour(towards) != other) return space->corrupt();
    block->put(towards, added->address);
    return ok;
  };
  torn = true;
  int result = link(left, node::right, right);
  if (result == ok) result = link(right, node::left, left);
  if (result < 0) return result;
  added->put(node::left, left);
  added->put(node::right, right);
  return ok;
}

// Tells the branches above that one of their nodes has become two.
int KeyTree::addToParents(Division division, Growth growth) {
  for (std::size_t level = path.size(); level-- > 0;) {
    Block* block = nullptr;
    int result = readNode(path[level].address, &block);
    if (result < 0) return result;
    const unsigned index = path[level].index;
    BranchNode branch = branchOf(block);
    branch.setChild(index, division.right);
    block->changed = true;
    if (!branch.full()) {
      branch.insert(index, division.key, division.record, division.left);
      return ok;
    }
    BranchEntries entries(keySize);
    entries.append(branch);
    entries.insert(index, division.key, division.record, division.left);
    bool shared = false;
    result = shareWithSibling(level, block, &entries, &shared);
    if (result < 0 || shared) return result;
    result = splitBranch(block, entries, index, growth, &division);
    if (result < 0) return result;
  }
  return raise(division);
}

// Puts the entries of a branch that has one too many into it and a neighbour that
// has room, if one of the same parent has. Branches of the longest keys have two
// entries at most: if they were split whenever they are full, most would be left
// with one, and the tree would grow up instead of out.
int KeyTree::shareWithSibling(std::size_t level, Block* block, BranchEntries* entries,
                              bool* shared) {
  if (level == 0) return ok;
  Block* parentBlock = nullptr;
  int result = readNode(path[level - 1].address, &parentBlock);
  if (result < 0) return result;
  BranchNode parent = branchOf(parentBlock);
  const unsigned own = path[level - 1].index;
  for (const bool toLeft : {true, false}) {
    if (toLeft ? own == 0 : own + 1 >= parent.count()) continue;
    Block* sibling = nullptr;
    result = readSameKind(parent.child(toLeft ? own - 1 : own + 1), *block, &sibling);
    if (result < 0) return result;
    if (branchOf(sibling).full()) continue;
    Block* const left = toLeft ? sibling : block;
    Block* const right = toLeft ? block : sibling;
    toLeft ? entries->prepend(branchOf(sibling)) : entries->append(branchOf(sibling));
    distribute(*entries, (entries->count() + 1) / 2, left, right);
    const BranchNode filled = branchOf(left);
    parent.setKey(toLeft ? own - 1 : own, filled.key(filled.count() - 1),
                  filled.record(filled.count() - 1));
    parentBlock->changed = true;
    *shared = true;
    return ok;
  }
  return ok;
}

void KeyTree::distribute(const BranchEntries& entries, unsigned leftCount, Block* left,
                         Block* right) const {
  entries.copyTo(0, leftCount, branchOf(left));
  entries.copyTo(leftCount, entries.count() - leftCount, branchOf(right));
  left->changed = true;
  right->changed = true;
}

// Divides a branch that has one entry too many; the one at `index` is new. Where
// keys come in order, the node that they leave behind stays full.
int KeyTree::splitBranch(Block* block, const BranchEntries& entries, unsigned index, Growth growth,
                         Division* division) {
  Block* added = nullptr;
  int result = space->allocate(&added);
  if (result < 0) return result;
  BranchNode::create(added->bytes);
  added->checkedFor = keySize;
  const unsigned count = entries.count();
  unsigned leftCount = count / 2;
  if (growth == Growth::right) leftCount = index + 2 == count ? count - 1 : (count + 1) / 2;
  if (growth == Growth::left && index == 0) leftCount = 1;
  result = linkBetween(block->address, added, block->neighbour(node::right));
  if (result < 0) return result;
  distribute(entries, leftCount, block, added);
  const BranchNode left = branchOf(block);
  *division = {left.key(leftCount - 1), left.record(leftCount - 1), block->address, added->address};
  return ok;
}

// Puts a new root above the two nodes that the old one has become.
int KeyTree::raise(const Division& division) {
  if (path.size() + 1 >= deepest) return space->corrupt();
  Block* old = nullptr;
  Block* right = nullptr;
  Block* added = nullptr;
  int result = readNode(root, &old);
  if (result == ok) result = readNode(division.right, &right);
  if (result == ok) result = space->allocate(&added);
  if (result < 0 || old == nullptr || added == nullptr) return result;
  old->put(node::attributes, static_cast<std::uint16_t>(old->attributes() & ~node::isRoot));
  BranchNode::create(added->bytes);
  added->put(node::attributes, static_cast<std::uint16_t>(node::isRoot));
  added->checkedFor = keySize;
  BranchNode branch = branchOf(added);
  branch.insert(0, division.key, division.record, division.left);
  std::vector<unsigned char> key;
  std::uint32_t record = 0;
  lastEntry(right, &key, &record);
  branch.insert(1, key.data(), record, division.right);
  root = added->address;
  return ok;
}

// Brings the entries for a node, whose largest key this has become, up to date:
// its parent's, and those above as far as they are about the same key.
int KeyTree::renewParentKeys(std::size_t level, const unsigned char* key, std::uint32_t record) {
  while (level-- > 0) {
    Block* block = nullptr;
    const int result = readNode(path[level].address, &block);
    if (result < 0) return result;
    BranchNode branch = branchOf(block);
    branch.setKey(path[level].index, key, record);
    block->changed = true;
    if (path[level].index + 1 < branch.count()) break;
  }
  return ok;
}

// Takes a node without keys out of the tree, and with it each branch above that
// has no other.
int KeyTree::dropNode(Block* block) {
  while (!path.empty()) {
    int result = unlink(*block);
    if (result < 0) return result;
    space->release(block);
    const Step parent = path.back();
    path.pop_back();
    result = readNode(parent.address, &block);
    if (result < 0) return result;
    BranchNode branch = branchOf(block);
    branch.remove(parent.index);
    block->changed = true;
    if (branch.count() == 0) continue;
    if (parent.index == branch.count()) {
      std::vector<unsigned char> key;
      std::uint32_t record = 0;
      lastEntry(block, &key, &record);
      result = renewParentKeys(path.size(), key.data(), record);
    }
    return result == ok ? lowerRoot() : result;
  }
  space->release(block);
  return create(0);
}

// Makes the neighbours of a node neighbours of each other.
int KeyTree::unlink(const Block& block) {
  const auto link = [&](Le32 side, Le32 back) -> int {
    const std::uint32_t address = block.neighbour(side);
    if (address == cdx::noBlock) return ok;
    Block* beside = nullptr;
    const int result = readSameKind(address, block, &beside);
    if (result < 0) return result;
    if (beside->neighbour(back) != block.address) return space->corrupt();
    beside->put(back, block.neighbour(back));
    return ok;
  };
  const int result = link(node::left, node::right);
  return result == ok ? link(node::right, node::left) : result;
}

// A root with a single child gives way to it.
int KeyTree::lowerRoot() {
  for (;;) {
    Block* top = nullptr;
    Block* child = nullptr;
    int result = readNode(root, &top);
    if (result < 0) return result;
    if ((top->attributes() & node::isLeaf) != 0 || branchOf(top).count() != 1) return ok;
    result = readNode(branchOf(top).child(0), &child);
    if (result < 0) return result;
    if (child == top) return space->corrupt();
    child->put(node::attributes, static_cast<std::uint16_t>(child->attributes() | node::isRoot));
    root = child->address;
    space->release(top);
  }
}

}  // namespace loomkit::xbase
