// SPDX-License-Identifier: MIT
#include "loomkit/xbase/block_space.h"

#include <algorithm>
#include <cstring>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/file.h"

namespace loomkit::xbase {

namespace {

constexpr std::size_t fewestBlocks = 64;

// A free block looks like a node without keys that is neither root nor leaf,
// which no tree has. Its left neighbour is the next free block. Other programs
// may link their free blocks in another way: theirs are not taken for ours.
bool looksFree(const Block& block) noexcept {
  const RecordReader record(block.bytes, cdx::blockSize);
  return record.get(cdx::node::attributes) == 0 && record.get(cdx::node::keyCount) == 0;
}

}  // namespace

BlockSpace::BlockSpace(Engine& owner, File& blockFile, std::size_t blockLimit)
    : engine(&owner), file(&blockFile), limit(std::max(blockLimit, fewestBlocks)) {
  buckets.resize(fewestBlocks);
}

void BlockSpace::noteCorruption() {
  noteFailure(*engine, errorNotAnIndex, engine->report.files, fileNameLine(file->name()).c_str(),
              "Corrupt index file", nullptr);
}

int BlockSpace::open(bool torn) {
  endAddress =
      std::min<std::uint64_t>(file->length(), cdx::noBlock) / cdx::blockSize * cdx::blockSize;
  begin();
  Block* first = nullptr;
  const int result = read(0, &first);
  if (result != ok) return result;
  const RecordReader record(first->bytes, cdx::blockSize);
  freeList = record.get(cdx::header::freeList);
  const bool changing = record.get(cdx::header::mark) == cdx::header::changing;
  return changing && !torn ? corrupt() : ok;
}

int BlockSpace::clear(std::size_t headerBlocks) {
  blocks.clear();
  rehash(buckets.size());
  hand = 0;
  freeList = cdx::noBlock;
  endAddress = 0;
  broken = false;
  begin();
  // From here on the file is empty, or the mark is its only content, until all is
  // written: no reader takes it for an index.
  int result = file->setLength(0);
  std::uint32_t address = 0;
  if (result == ok) result = extend(headerBlocks, &address);
  if (result == ok) result = setMark(true);
  marked = result == ok;
  return result;
}

Block** BlockSpace::bucketOf(std::uint32_t address) noexcept {
  return &buckets[address / cdx::blockSize % buckets.size()];
}

Block* BlockSpace::find(std::uint32_t address) noexcept {
  Block* block = *bucketOf(address);
  while (block != nullptr && block->address != address) block = block->next;
  return block;
}

void BlockSpace::addToBucket(Block* block) noexcept {
  Block** bucket = bucketOf(block->address);
  block->next = *bucket;
  *bucket = block;
}

void BlockSpace::takeFromBucket(Block* block) noexcept {
  Block** link = bucketOf(block->address);
  while (*link != block) link = &(*link)->next;
  *link = block->next;
}

// Spreads all blocks over so many buckets.
void BlockSpace::rehash(std::size_t bucketCount) {
  buckets.assign(bucketCount, nullptr);
  for (const auto& block : blocks) addToBucket(block.get());
}

// A block that can go: the hand of a clock passes over those of the present work,
// and over those used since it came by last. Null if all are of the present work.
Block* BlockSpace::victim() noexcept {
  for (std::size_t tries = 0; tries < 2 * blocks.size(); ++tries) {
    Block* block = blocks[hand].get();
    hand = (hand + 1) % blocks.size();
    if (block->work == work) continue;
    if (!block->used) return block;
    block->used = false;
  }
  return nullptr;
}

// A block of memory for the address, with whatever bytes it has.
int BlockSpace::obtain(std::uint32_t address, Block** block) {
  Block* made = blocks.size() < limit ? nullptr : victim();
  if (made != nullptr) {
    const int result = made->changed ? write(made) : ok;
    if (result != ok) return result;
    takeFromBucket(made);
  } else {
    auto added = std::make_unique<Block>();
    if (blocks.size() >= buckets.size()) rehash(2 * buckets.size());
    made = blocks.emplace_back(std::move(added)).get();
  }
  made->address = address;
  made->changed = false;
  made->used = true;
  made->checkedFor = 0;
  made->work = work;
  addToBucket(made);
  *block = made;
  return ok;
}

int BlockSpace::read(std::uint32_t address, Block** block) {
  Block* found = find(address);
  if (found != nullptr) {
    found->used = true;
    found->work = work;
    *block = found;
    return ok;
  }
  if (address % cdx::blockSize != 0 || address >= endAddress) return corrupt();
  // Read before the cache knows of it: a failed read leaves no trace.
  unsigned char bytes[cdx::blockSize];
  int result = file->readAll(address, bytes, sizeof bytes);
  if (result == ok) result = obtain(address, &found);
  if (result != ok) return result;
  std::memcpy(found->bytes, bytes, sizeof bytes);
  *block = found;
  return ok;
}

int BlockSpace::write(Block* block) {
  const int result = file->writeAt(block->address, block->bytes, cdx::blockSize);
  if (result == ok) block->changed = false;
  return result;
}

int BlockSpace::setMark(bool changing) {
  Block* first = nullptr;
  int result = read(0, &first);
  if (result != ok || first == nullptr) return result;
  RecordWriter record(first->bytes, cdx::blockSize);
  constexpr char none[cdx::header::mark.size] = {};
  record.put(cdx::header::mark,
             changing ? cdx::header::changing : std::string_view(none, sizeof none));
  result = write(first);
  return result == ok ? file->writeBack() : result;
}

int BlockSpace::change() {
  if (broken) return corrupt();
  if (marked) return ok;
  int result = setMark(true);
  if (result == ok) result = file->sync();
  marked = result == ok;
  return result;
}

int BlockSpace::extend(std::size_t count, std::uint32_t* address) {
  if (endAddress + count * cdx::blockSize >= cdx::noBlock)
    return fail(*engine, errorSettingLength, engine->report.files,
                fileNameLine(file->name()).c_str());
  *address = static_cast<std::uint32_t>(endAddress);
  for (std::size_t i = 0; i < count; ++i) {
    Block* made = nullptr;
    const int result = obtain(static_cast<std::uint32_t>(endAddress), &made);
    if (result != ok) return result;
    std::memset(made->bytes, 0, sizeof made->bytes);
    made->changed = true;
    endAddress += cdx::blockSize;
  }
  return ok;
}

// The first free block; null if there is none. A list that leads to anything but
// a free block is given up: what it held is lost room, and nothing worse.
int BlockSpace::takeFree(Block** block) {
  *block = nullptr;
  if (freeList == cdx::noBlock) return ok;
  const std::uint32_t address = freeList;
  freeList = cdx::noBlock;
  if (address < cdx::header::size || address % cdx::blockSize != 0 || address >= endAddress)
    return ok;
  Block* first = nullptr;
  const int result = read(address, &first);
  if (result != ok || first == nullptr || !looksFree(*first)) return result;
  freeList = RecordReader(first->bytes, cdx::blockSize).get(cdx::node::left);
  *block = first;
  return ok;
}

int BlockSpace::allocate(Block** block) {
  int result = takeFree(block);
  if (result != ok) return result;
  if (*block == nullptr) {
    std::uint32_t address = 0;
    result = extend(1, &address);
    return result == ok ? read(address, block) : result;
  }
  std::memset((*block)->bytes, 0, sizeof(*block)->bytes);
  (*block)->changed = true;
  (*block)->checkedFor = 0;
  return ok;
}

void BlockSpace::release(Block* block) noexcept {
  std::memset(block->bytes, 0, sizeof block->bytes);
  RecordWriter record(block->bytes, cdx::blockSize);
  record.put(cdx::node::left, freeList);
  record.put(cdx::node::right, cdx::noBlock);
  block->changed = true;
  block->checkedFor = 0;
  freeList = block->address;
}

// In the order of the file, so that what lies together is written together.
int BlockSpace::writeChanged() {
  std::vector<Block*> changed;
  for (const auto& block : blocks) {
    if (block->changed) changed.push_back(block.get());
  }
  std::sort(changed.begin(), changed.end(),
            [](const Block* a, const Block* b) { return a->address < b->address; });
  for (Block* block : changed) {
    const int result = write(block);
    if (result != ok) return result;
  }
  return ok;
}

int BlockSpace::flush() {
  if (!marked) return ok;
  if (broken) return corrupt();
  begin();
  Block* first = nullptr;
  int result = read(0, &first);
  if (result != ok || first == nullptr) return result;
  RecordWriter(first->bytes, cdx::blockSize).put(cdx::header::freeList, freeList);
  first->changed = true;
  result = writeChanged();
  if (result == ok) result = file->sync();
  if (result == ok) result = setMark(false);
  if (result == ok) marked = false;
  return result;
}

}  // namespace loomkit::xbase
