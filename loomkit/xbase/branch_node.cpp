// SPDX-License-Identifier: MIT
#include "loomkit/xbase/branch_node.h"

#include <cassert>
#include <cstring>

namespace loomkit::xbase {

namespace branch = cdx::branch;
namespace node = cdx::node;

bool BranchNode::check(const unsigned char* block, std::size_t keyLength) noexcept {
  const RecordReader record(block, cdx::blockSize);
  return (record.get(node::attributes) & node::isLeaf) == 0 &&
         record.get(node::keyCount) <= branch::capacity(keyLength);
}

void BranchNode::create(unsigned char* block) noexcept {
  std::memset(block, 0, cdx::blockSize);
  RecordWriter record(block, cdx::blockSize);
  record.put(node::left, cdx::noBlock);
  record.put(node::right, cdx::noBlock);
}

BranchNode::BranchNode(unsigned char* bytes, std::size_t length) noexcept
    : block(bytes),
      keyLength(length),
      entrySize(branch::entrySize(length)),
      keyCount(RecordReader(bytes, cdx::blockSize).get(node::keyCount)) {}

std::uint32_t BranchNode::record(unsigned index) const noexcept {
  return RecordReader(entry(index), entrySize).get(branch::record(keyLength));
}

std::uint32_t BranchNode::child(unsigned index) const noexcept {
  return RecordReader(entry(index), entrySize).get(branch::child(keyLength));
}

void BranchNode::setKey(unsigned index, const unsigned char* key, std::uint32_t record) noexcept {
  std::memcpy(entry(index), key, keyLength);
  RecordWriter(entry(index), entrySize).put(branch::record(keyLength), record);
}

void BranchNode::setChild(unsigned index, std::uint32_t child) noexcept {
  RecordWriter(entry(index), entrySize).put(branch::child(keyLength), child);
}

unsigned BranchNode::find(const unsigned char* key, std::size_t length,
                          std::uint64_t record) const noexcept {
  unsigned low = 0;
  unsigned high = keyCount;
  while (low < high) {
    const unsigned middle = (low + high) / 2;
    const int order = std::memcmp(entry(middle), key, length);
    if (order < 0 || (order == 0 && this->record(middle) < record)) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

unsigned BranchNode::findChild(std::uint32_t child) const noexcept {
  unsigned index = 0;
  while (index < keyCount && this->child(index) != child) ++index;
  return index;
}

void BranchNode::insert(unsigned index, const unsigned char* key, std::uint32_t record,
                        std::uint32_t child) noexcept {
  assert(!full() && index <= keyCount);
  std::memmove(entry(index + 1), entry(index), (keyCount - index) * entrySize);
  setKey(index, key, record);
  setChild(index, child);
  storeCount(keyCount + 1);
}

void BranchNode::remove(unsigned index) noexcept {
  assert(index < keyCount);
  std::memmove(entry(index), entry(index + 1), (keyCount - index - 1) * entrySize);
  storeCount(keyCount - 1);
}

void BranchNode::assign(const unsigned char* newEntries, unsigned number) noexcept {
  assert(number <= branch::capacity(keyLength));
  std::memcpy(entry(0), newEntries, number * entrySize);
  storeCount(number);
}

void BranchNode::storeCount(unsigned count) noexcept {
  keyCount = count;
  RecordWriter(block, cdx::blockSize).put(node::keyCount, static_cast<std::uint16_t>(count));
}

BranchEntries::BranchEntries(std::size_t length)
    : keyLength(length), entrySize(branch::entrySize(length)) {}

unsigned BranchEntries::count() const noexcept {
  return static_cast<unsigned>(bytes.size() / entrySize);
}

void BranchEntries::prepend(const BranchNode& from) {
  bytes.insert(bytes.begin(), from.entries(), from.entries() + from.count() * entrySize);
}

void BranchEntries::append(const BranchNode& from) {
  bytes.insert(bytes.end(), from.entries(), from.entries() + from.count() * entrySize);
}

void BranchEntries::insert(unsigned index, const unsigned char* key, std::uint32_t record,
                           std::uint32_t child) {
  std::vector<unsigned char> made(key, key + keyLength);
  made.resize(entrySize);
  RecordWriter writer(made.data(), entrySize);
  writer.put(branch::record(keyLength), record);
  writer.put(branch::child(keyLength), child);
  bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(index * entrySize), made.begin(),
               made.end());
}

void BranchEntries::copyTo(unsigned first, unsigned number, BranchNode to) const noexcept {
  assert(first + number <= count());
  to.assign(bytes.data() + first * entrySize, number);
}

}  // namespace loomkit::xbase
