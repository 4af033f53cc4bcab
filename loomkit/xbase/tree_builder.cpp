// SPDX-License-Identifier: MIT
#include "loomkit/xbase/tree_builder.h"

#include <algorithm>
#include <cstring>

#include "loomkit/xbase/branch_node.h"
#include "loomkit/xbase/codes.h"

namespace loomkit::xbase {

namespace node = cdx::node;

TreeBuilder::TreeBuilder(BlockSpace& blocks, std::size_t length, unsigned char padByte,
                         std::uint32_t highestRecord)
    : space(&blocks),
      keyLength(length),
      pad(padByte),
      format(LeafFormat::forKeys(length, highestRecord)),
      lastKey(length) {}

void TreeBuilder::startNode(std::size_t level) {
  unsigned char* const bytes = levels[level]->bytes;
  level == 0 ? LeafNode::create(bytes, format) : BranchNode::create(bytes);
  levels[level]->empty = true;
}

int TreeBuilder::openLevel(std::size_t level) {
  if (level < levels.size()) return ok;
  levels.push_back(std::make_unique<Level>());
  space->begin();
  Block* block = nullptr;
  const int result = space->allocate(&block);
  if (result < 0) return result;
  levels[level]->address = block->address;
  startNode(level);
  return ok;
}

int TreeBuilder::store(const Level& level) {
  space->begin();
  Block* block = nullptr;
  const int result = space->read(level.address, &block);
  if (result < 0) return result;
  std::memcpy(block->bytes, level.bytes, sizeof block->bytes);
  block->changed = true;
  return ok;
}

// The largest key of a node, the last that it got.
void TreeBuilder::lastEntry(std::size_t level, const unsigned char** key, std::uint32_t* record) {
  *key = lastKey.data();
  *record = lastRecord;
  if (level == 0) return;
  const BranchNode branch(levels[level]->bytes, keyLength);
  *key = branch.key(branch.count() - 1);
  *record = branch.record(branch.count() - 1);
}

// Writes a full node, tells the branch above, and begins its right neighbour.
int TreeBuilder::closeNode(std::size_t level) {
  Level& full = *levels[level];
  space->begin();
  Block* next = nullptr;
  int result = space->allocate(&next);
  if (result < 0) return result;
  const std::uint32_t nextAddress = next->address;
  RecordWriter(full.bytes, cdx::blockSize).put(node::right, nextAddress);
  result = store(full);
  if (result < 0) return result;
  const unsigned char* key = nullptr;
  std::uint32_t record = 0;
  lastEntry(level, &key, &record);
  const std::uint32_t address = full.address;
  result = addToBranch(level + 1, key, record, address);
  if (result < 0) return result;
  full.address = nextAddress;
  startNode(level);
  RecordWriter(full.bytes, cdx::blockSize).put(node::left, address);
  return ok;
}

// Levels are few, and each is entered at most once from the one below.
int TreeBuilder::addToBranch(std::size_t level, const unsigned char* key, std::uint32_t record,
                             std::uint32_t child) {
  int result = openLevel(level);
  if (result < 0) return result;
  if (BranchNode(levels[level]->bytes, keyLength).full()) result = closeNode(level);
  if (result < 0) return result;
  BranchNode branch(levels[level]->bytes, keyLength);
  branch.insert(branch.count(), key, record, child);
  levels[level]->empty = false;
  return ok;
}

int TreeBuilder::add(const unsigned char* key, std::uint32_t record) {
  int result = openLevel(0);
  if (result < 0) return result;
  Level& leaf = *levels[0];
  const auto shared = leaf.empty
                          ? 0
                          : static_cast<std::size_t>(
                                std::mismatch(key, key + keyLength, lastKey.data()).first - key);
  LeafNode entries(leaf.bytes, keyLength, pad);
  if (entries.insert(entries.end(shared), key, record) != LeafNode::Result::done) {
    result = closeNode(0);
    if (result < 0) return result;
    LeafNode fresh(leaf.bytes, keyLength, pad);
    if (fresh.insert(fresh.end(0), key, record) != LeafNode::Result::done) return space->corrupt();
  }
  leaf.empty = false;
  std::memcpy(lastKey.data(), key, keyLength);
  lastRecord = record;
  return ok;
}

int TreeBuilder::finish(std::uint32_t* root) {
  int result = openLevel(0);
  for (std::size_t level = 0; level < levels.size() && result == ok; ++level) {
    const bool top = level + 1 == levels.size();
    RecordWriter node(levels[level]->bytes, cdx::blockSize);
    const unsigned kind = level == 0 ? node::isLeaf : 0U;
    node.put(node::attributes, static_cast<std::uint16_t>(kind | (top ? node::isRoot : 0U)));
    result = store(*levels[level]);
    if (result < 0 || top) break;
    const unsigned char* key = nullptr;
    std::uint32_t record = 0;
    lastEntry(level, &key, &record);
    result = addToBranch(level + 1, key, record, levels[level]->address);
  }
  if (result == ok) *root = levels.back()->address;
  return result;
}

}  // namespace loomkit::xbase
