// SPDX-License-Identifier: MIT
#include "loomkit/xbase/file.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "loomkit/platform/random_access.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/engine.h"

namespace loomkit::xbase {
namespace {

constexpr char readOnlyWrite[] = "Attempt to write to a read-only file";
constexpr char readOnlyLength[] = "Attempt to change file length of a read-only file";

platform::ShareMode shareMode(const Engine& engine) {
  return engine.exclusive ? platform::ShareMode::none : platform::ShareMode::readWrite;
}

}  // namespace

File::File(Engine& owner) : engine(&owner) {}

File::~File() { close(); }

int File::failed(int code, const char* text) {
  return fail(*engine, code, engine->report.files, fileNameLine(path).c_str(), text);
}

int File::open(const std::string& newPath) {
  if (engine->errorCode < 0) return engine->errorCode;
  path = newPath;
  readOnly = engine->readOnly;
  const auto mode = readOnly ? platform::OpenMode::readOnly : platform::OpenMode::readWrite;
  int opened = -1;
  if (platform::openRandomAccess(path, mode, shareMode(*engine), &opened)) return start(opened);
  if (!engine->report.open) {
    engine->errorCode = notOpened;
    return notOpened;
  }
  return fail(*engine, errorOpening, true, fileNameLine(path).c_str());
}

int File::create(const std::string& newPath) {
  if (engine->errorCode < 0) return engine->errorCode;
  path = newPath;
  readOnly = false;
  const auto mode =
      engine->safety ? platform::OpenMode::createNew : platform::OpenMode::createAlways;
  int opened = -1;
  if (platform::openRandomAccess(path, mode, shareMode(*engine), &opened)) return start(opened);
  return fail(*engine, errorCreating, engine->report.create, fileNameLine(path).c_str());
}

int File::become(platform::Replacement* replacement) {
  const platform::ReplacedFile result =
      platform::replaceOpenFile(replacement, shareMode(*engine), &handle);
  if (result == platform::ReplacedFile::notOpened) return failed(errorOpening);
  if (result == platform::ReplacedFile::notReplaced) return failed(errorRenaming);
  forget();
  return start(handle);
}

int File::start(int newHandle) {
  handle = newHandle;
  written = false;
  if (platform::fileSize(handle, &size)) return ok;
  platform::closeFile(handle);
  handle = -1;
  return failed(errorLength, "fileLength()");
}

int File::close() {
  if (handle < 0) return ok;
  const int result = withoutThrowing(*engine, [this] { return writeBack(); });
  const bool closed = platform::closeFile(handle);
  handle = -1;
  forget();
  if (closed || result != ok) return result;
  return withoutThrowing(*engine, [this] { return failed(errorClosing); });
}

void File::forget() {
  blocks.clear();
  slots.clear();
  latest = nullptr;
  hand = 0;
  view = {};
  ahead = {};
  expected = 0;
  window = 1;
  size = 0;
}

// How much of a block is inside the file.
std::size_t File::lengthOf(std::uint64_t number) const {
  const std::uint64_t begin = number * engine->cacheBlockSize;
  return begin >= size ? 0
                       : static_cast<std::size_t>(
                             std::min<std::uint64_t>(size - begin, engine->cacheBlockSize));
}

File::Block* File::find(std::uint64_t number) {
  if (latest != nullptr && latest->number == number) return latest;
  const std::uint32_t slot = slots.find(number);
  if (slot == SlotTable::none) return nullptr;
  latest = &blocks[slot];
  latest->used = true;
  return latest;
}

// Gives the slot of a new block. Slots are made until there are enough; then
// the hand of a clock looks for one that was not used since it came by last.
int File::makeRoom(std::uint32_t* slot) {
  if (blocks.size() < std::max<std::size_t>(engine->cacheBlocks, 1)) {
    auto bytes = std::make_unique_for_overwrite<char[]>(engine->cacheBlockSize);
    blocks.emplace_back().bytes = std::move(bytes);
    *slot = static_cast<std::uint32_t>(blocks.size() - 1);
    return ok;
  }
  while (blocks[hand].used) {
    blocks[hand].used = false;
    hand = (hand + 1) % blocks.size();
  }
  *slot = static_cast<std::uint32_t>(hand);
  if (blocks[hand].changed) {
    const int result = writeAround(blocks[hand]);
    if (result < 0) return result;
  }
  slots.erase(blocks[hand].number);
  blocks[hand].number = noBlock;
  hand = (hand + 1) % blocks.size();
  return ok;
}

// A block of the cache for that number, with whatever bytes it has.
int File::obtain(std::uint64_t number, Block** block) {
  latest = nullptr;  // the vector that it points into may move
  view = {};
  std::uint32_t slot = 0;
  const int result = makeRoom(&slot);
  if (result < 0) return result;
  Block& made = blocks[slot];
  slots.insert(number, slot);
  made.number = number;
  made.changed = false;
  made.used = true;
  latest = &made;
  *block = &made;
  return ok;
}

// How many blocks from `first` on are in the file and not in the cache.
std::size_t File::missingRun(std::uint64_t first, std::size_t atMost) const {
  std::size_t count = 1;
  while (count < atMost && lengthOf(first + count) > 0 &&
         slots.find(first + count) == SlotTable::none)
    ++count;
  return count;
}

int File::readBlock(std::uint64_t number) {
  Block* block = nullptr;
  const int result = obtain(number, &block);
  if (result < 0) return result;
  const std::size_t blockSize = engine->cacheBlockSize;
  std::size_t got = 0;
  if (!platform::readAt(handle, number * blockSize, block->bytes.get(), blockSize, &got)) {
    // The slot stays, under a number that no file reaches.
    slots.erase(number);
    block->number = noBlock;
    return failed(errorReading);
  }
  // Blocks of a gap that was never written, and a file that others cut.
  std::memset(block->bytes.get() + got, 0, blockSize - got);
  return ok;
}

int File::readBlocks(std::uint64_t first, std::size_t count) {
  if (count == 1) return readBlock(first);
  const std::size_t blockSize = engine->cacheBlockSize;
  if (transfer.size() < count * blockSize) transfer.resize(count * blockSize);
  std::size_t got = 0;
  if (!platform::readAt(handle, first * blockSize, transfer.data(), count * blockSize, &got))
    return failed(errorReading);
  std::memset(transfer.data() + got, 0, count * blockSize - got);
  std::vector<char> bytes;
  bytes.swap(transfer);  // making room may write, and needs the buffer
  int result = ok;
  // The first comes last, so that making room for the others cannot drop it.
  for (std::size_t i = count; i-- > 0 && result == ok;) {
    Block* block = nullptr;
    result = obtain(first + i, &block);
    if (result == ok) std::memcpy(block->bytes.get(), bytes.data() + i * blockSize, blockSize);
  }
  bytes.swap(transfer);
  return result;
}

// How many blocks to read for one that the cache does not have: those of the `span`
// blocks that the caller is about to ask for, and more, twice as many each time, for a
// reader that goes on where the last reading ended.
std::size_t File::plan(std::uint64_t number, std::size_t span) {
  window = number == expected ? std::min(window * 2, engine->readAheadBlocks) : 1;
  const std::size_t limit = std::max<std::size_t>(engine->cacheBlocks / 2, 1);
  const std::size_t count = std::clamp<std::size_t>(std::max(window, span), 1, limit);
  return missingRun(number, count);
}

// Gives a block, and reads it, and others with it, if it has to be read.
int File::fetch(std::uint64_t number, std::size_t span, Block** block) {
  *block = find(number);
  if (*block != nullptr) return ok;
  const std::size_t count = plan(number, span);
  const int result = readBlocks(number, count);
  if (result < 0) return result;
  expected = number + count;
  *block = latest;
  return ok;
}

void File::dropAhead() {
  if (view.bytes == ahead.bytes) view = {};
  ahead = {};
}

// Reads blocks for a reader that has gone on for long, from front to back. They do not
// go into the cache, where they would take the place of others and be of no more use.
int File::readAhead(std::uint64_t number, std::size_t count) {
  const std::uint64_t begin = number * engine->cacheBlockSize;
  const std::size_t bytes = count * engine->cacheBlockSize;
  dropAhead();
  // As long as it will ever have to be, so that what plainBytes() gave stays where it is.
  aheadBytes.resize(engine->readAheadBlocks * engine->cacheBlockSize);
  std::size_t got = 0;
  if (!platform::readAt(handle, begin, aheadBytes.data(), bytes, &got)) return failed(errorReading);
  // A file that others cut.
  std::memset(aheadBytes.data() + got, 0, bytes - got);
  const auto inside = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, size - begin));
  ahead = {begin, begin + inside, aheadBytes.data()};
  // Asked once for all the records that are in it.
  ahead.isPlain = std::memchr(ahead.bytes, 0, inside) == nullptr;
  return ok;
}

// Brings the byte at `offset` into view, and as many behind it as are at hand. `count`
// is how many the caller wants.
int File::show(std::uint64_t offset, std::size_t count) {
  const std::size_t blockSize = engine->cacheBlockSize;
  const std::uint64_t number = offset / blockSize;
  Block* block = find(number);
  if (block == nullptr && !ahead.has(offset, 1)) {
    const auto inside = static_cast<std::size_t>(offset % blockSize);
    std::size_t missing = plan(number, (inside + count + blockSize - 1) / blockSize);
    const bool goesOn = window > 1 && window == engine->readAheadBlocks;
    if (goesOn) missing = std::min(missing, window);
    const int result = goesOn ? readAhead(number, missing) : readBlocks(number, missing);
    if (result < 0) return result;
    expected = number + missing;
    if (!goesOn) block = latest;
  }
  const std::uint64_t begin = number * blockSize;
  view = block == nullptr
             ? ahead
             : View{begin, std::min<std::uint64_t>(begin + blockSize, size), block->bytes.get()};
  return ok;
}

int File::readAt(std::uint64_t offset, void* data, std::size_t count, std::size_t* got) {
  *got = 0;
  if (engine->errorCode < 0) return engine->errorCode;
  if (offset >= size) return ok;
  const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(count, size - offset));
  auto* target = static_cast<char*>(data);
  while (*got < wanted) {
    if (!view.has(offset, 1)) {
      const int result = show(offset, wanted - *got);
      if (result < 0) return result;
    }
    const auto part =
        static_cast<std::size_t>(std::min<std::uint64_t>(wanted - *got, view.end - offset));
    std::memcpy(target + *got, view.bytes + (offset - view.begin), part);
    *got += part;
    offset += part;
  }
  return ok;
}

int File::readAll(std::uint64_t offset, void* data, std::size_t count) {
  // The usual case, when records are read one after the other.
  if (engine->errorCode >= 0 && view.has(offset, count)) {
    std::memcpy(data, view.bytes + (offset - view.begin), count);
    return ok;
  }
  std::size_t got = 0;
  const int result = readAt(offset, data, count, &got);
  if (result < 0) return result;
  return got == count ? ok : failed(errorReading);
}

// The block to be changed; one that is overwritten as a whole, or that begins at
// the file's end, need not be read.
int File::forWriting(std::uint64_t number, bool whole, Block** block) {
  if (ahead.has(number * engine->cacheBlockSize, 1)) dropAhead();
  *block = find(number);
  if (*block != nullptr) return ok;
  if (!whole && lengthOf(number) > 0) return fetch(number, 1, block);
  const int result = obtain(number, block);
  if (result == ok) std::memset((*block)->bytes.get(), 0, engine->cacheBlockSize);
  return result;
}

int File::writeAt(std::uint64_t offset, const void* data, std::size_t count) {
  if (engine->errorCode < 0) return engine->errorCode;
  if (readOnly) return failed(errorWriting, readOnlyWrite);
  const std::size_t blockSize = engine->cacheBlockSize;
  const auto* source = static_cast<const char*>(data);
  while (count > 0) {
    const auto inside = static_cast<std::size_t>(offset % blockSize);
    const std::size_t part = std::min(count, blockSize - inside);
    Block* block = nullptr;
    const int result = forWriting(offset / blockSize, part == blockSize, &block);
    if (result < 0) return result;
    std::memcpy(block->bytes.get() + inside, source, part);
    block->changed = true;
    block->used = true;
    source += part;
    offset += part;
    count -= part;
    size = std::max(size, offset);
  }
  return ok;
}

// Writes blocks that follow each other.
int File::writeRun(const std::vector<Block*>& run) {
  const std::size_t blockSize = engine->cacheBlockSize;
  const char* bytes = run.front()->bytes.get();
  const std::size_t last = lengthOf(run.back()->number);
  const std::size_t count = (run.size() - 1) * blockSize + last;
  if (run.size() > 1) {
    if (transfer.size() < run.size() * blockSize) transfer.resize(run.size() * blockSize);
    for (std::size_t i = 0; i < run.size(); ++i)
      std::memcpy(transfer.data() + i * blockSize, run[i]->bytes.get(), blockSize);
    bytes = transfer.data();
  }
  written = true;
  if (!platform::writeAt(handle, run.front()->number * blockSize, bytes, count))
    return failed(errorWriting);
  for (Block* block : run) block->changed = false;
  return ok;
}

// Writes a block that has to go, and the changed ones behind it.
int File::writeAround(const Block& block) {
  std::vector<Block*> run;
  const std::size_t limit = std::max<std::size_t>(engine->readAheadBlocks, 1);
  for (std::uint64_t number = block.number; run.size() < limit; ++number) {
    const std::uint32_t slot = slots.find(number);
    if (slot == SlotTable::none || !blocks[slot].changed) break;
    run.push_back(&blocks[slot]);
  }
  return writeRun(run);
}

int File::writeBack() {
  std::vector<Block*> changed;
  for (Block& block : blocks) {
    if (block.changed) changed.push_back(&block);
  }
  std::sort(changed.begin(), changed.end(),
            [](const Block* a, const Block* b) { return a->number < b->number; });
  const std::size_t limit = std::max<std::size_t>(engine->readAheadBlocks, 1);
  for (auto first = changed.begin(); first != changed.end();) {
    auto last = first + 1;
    while (last != changed.end() && (*last)->number == (*(last - 1))->number + 1 &&
           static_cast<std::size_t>(last - first) < limit)
      ++last;
    const int result = writeRun({first, last});
    if (result < 0) return result;
    first = last;
  }
  return ok;
}

int File::sync() {
  if (engine->errorCode < 0) return engine->errorCode;
  const int result = writeBack();
  if (result < 0 || !written) return result;
  if (!platform::syncFile(handle)) return failed(errorWriting);
  written = false;
  return ok;
}

int File::setLength(std::uint64_t newLength) {
  if (engine->errorCode < 0) return engine->errorCode;
  if (readOnly) return failed(errorSettingLength, readOnlyLength);
  const int result = writeBack();
  if (result < 0) return result;
  if (!platform::setFileSize(handle, newLength)) return failed(errorSettingLength);
  written = true;
  // Everything is on the disk, and what the cache has of the tail is no longer
  // so: it is read again when it is wanted.
  forget();
  size = newLength;
  return ok;
}

}  // namespace loomkit::xbase
