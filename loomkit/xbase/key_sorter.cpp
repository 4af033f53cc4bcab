// SPDX-License-Identifier: MIT
#include "loomkit/xbase/key_sorter.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <queue>
#include <utility>

#include "loomkit/text/binary.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/scratch_file.h"

namespace loomkit::xbase {

namespace {

// In the scratch file, an entry is its key and then its record number.
constexpr std::size_t recordSize = Le32::size;

constexpr std::size_t fewestEntries = 16;
constexpr std::size_t smallestBuffer = 4096;

// The first eight bytes, so that they compare as the bytes do.
std::uint64_t rankOf(const unsigned char* bytes, std::size_t count) noexcept {
  if (count >= 8) return loadBe64(bytes);
  std::uint64_t rank = 0;
  for (std::size_t i = 0; i < 8; ++i) rank = rank << 8 | (i < count ? bytes[i] : 0U);
  return rank;
}

}  // namespace

KeySorter::KeySorter(Engine& owner, std::size_t length, std::string tableDirectory)
    : engine(&owner),
      keyLength(length),
      limit(std::max(owner.sortMemory / (length + recordSize + sizeof(Rank)), fewestEntries)),
      directory(std::move(tableDirectory)) {}

KeySorter::~KeySorter() = default;

void KeySorter::reserve(std::size_t count) {
  const std::size_t inMemory = std::min(count, limit);
  keys.reserve(inMemory * keyLength);
  records.reserve(inMemory);
}

const unsigned char* KeySorter::keyAt(std::uint32_t index) const noexcept {
  return keys.data() + index * keyLength;
}

int KeySorter::add(const unsigned char* key, std::uint32_t record) {
  if (records.size() == limit) {
    const int result = writeRun();
    if (result < 0) return result;
  }
  if (ordered && !records.empty())
    ordered = std::memcmp(keys.data() + keys.size() - keyLength, key, keyLength) <= 0;
  keys.insert(keys.end(), key, key + keyLength);
  records.push_back(record);
  return ok;
}

// How many leading bytes all keys in memory have in common.
std::size_t KeySorter::commonPrefix() const noexcept {
  std::size_t common = keyLength;
  for (std::size_t at = keyLength; at < keys.size() && common > 0; at += keyLength) {
    common = static_cast<std::size_t>(
        std::mismatch(keys.begin(), keys.begin() + static_cast<std::ptrdiff_t>(common),
                      keys.begin() + static_cast<std::ptrdiff_t>(at))
            .first -
        keys.begin());
  }
  return common;
}

// Brings `ranks` into the order of the keys in memory. Records came in the order
// of their numbers, so that of equal keys the one with the lower index is first.
void KeySorter::sortRun() {
  ranks.resize(records.size());
  const std::size_t common = ordered ? keyLength : commonPrefix();
  const std::size_t ranked = std::min<std::size_t>(keyLength - common, 8);
  for (std::uint32_t i = 0; i < ranks.size(); ++i)
    ranks[i] = {rankOf(keyAt(i) + common, ranked), i};
  if (ordered) return;
  const std::size_t rest = common + ranked;
  std::sort(ranks.begin(), ranks.end(), [&](const Rank& a, const Rank& b) {
    if (a.bytes != b.bytes) return a.bytes < b.bytes;
    const int order = std::memcmp(keyAt(a.index) + rest, keyAt(b.index) + rest, keyLength - rest);
    return order != 0 ? order < 0 : a.index < b.index;
  });
}

int KeySorter::writeRun() {
  if (scratch == nullptr) scratch = std::make_unique<ScratchFile>(*engine, directory);
  sortRun();
  int result = scratch->open();
  runs.push_back({scratch->length(), records.size()});
  std::vector<unsigned char> entry(keyLength + recordSize);
  for (const Rank& rank : ranks) {
    if (result < 0) return result;
    std::memcpy(entry.data(), keyAt(rank.index), keyLength);
    storeLe32(entry.data() + keyLength, records[rank.index]);
    result = scratch->append(entry.data(), entry.size());
  }
  keys.clear();
  records.clear();
  ordered = true;
  return result;
}

// Reads a run through a buffer of its own.
class KeySorter::RunReader {
 public:
  RunReader(ScratchFile& file, const Run& run, std::size_t entryBytes, std::size_t bufferBytes)
      : scratch(&file), next(run.offset), left(run.count), entrySize(entryBytes) {
    perBuffer = std::max<std::size_t>(bufferBytes / entrySize, 1);
  }

  [[nodiscard]] bool atEnd() const noexcept { return left == 0; }
  // The present entry; load() has to have succeeded.
  [[nodiscard]] const unsigned char* key() const noexcept { return buffer.data() + at; }
  [[nodiscard]] std::uint32_t record() const noexcept {
    return loadLe32(key() + entrySize - recordSize);
  }

  int load() {
    if (left == 0 || at < buffer.size()) return ok;
    buffer.resize(static_cast<std::size_t>(std::min<std::uint64_t>(left, perBuffer)) * entrySize);
    at = 0;
    const int result = scratch->read(next, buffer.data(), buffer.size());
    next += buffer.size();
    return result;
  }
  int advance() {
    at += entrySize;
    --left;
    return load();
  }

 private:
  ScratchFile* scratch;
  std::uint64_t next;
  std::uint64_t left;
  std::size_t entrySize;
  std::size_t perBuffer = 1;
  std::size_t at = 0;
  std::vector<unsigned char> buffer;
};

int KeySorter::merge(const Take& take) {
  const std::size_t bufferSize = std::max(engine->sortMemory / runs.size(), smallestBuffer);
  std::vector<RunReader> readers;
  readers.reserve(runs.size());
  for (const Run& run : runs)
    readers.emplace_back(*scratch, run, keyLength + recordSize, bufferSize);
  // Runs follow each other in the order of their records, so that of equal keys
  // the one of the earlier run is first.
  const auto later = [&](std::size_t a, std::size_t b) {
    const int order = std::memcmp(readers[a].key(), readers[b].key(), keyLength);
    return order != 0 ? order > 0 : a > b;
  };
  std::priority_queue<std::size_t, std::vector<std::size_t>, decltype(later)> heap(later);
  for (std::size_t i = 0; i < readers.size(); ++i) {
    const int result = readers[i].load();
    if (result < 0) return result;
    heap.push(i);
  }
  while (!heap.empty()) {
    const std::size_t first = heap.top();
    heap.pop();
    int result = take(readers[first].key(), readers[first].record());
    if (result == ok) result = readers[first].advance();
    if (result != ok) return result;
    if (!readers[first].atEnd()) heap.push(first);
  }
  return ok;
}

int KeySorter::forEach(const Take& take) {
  int result = ok;
  if (!runs.empty()) {
    if (!records.empty()) result = writeRun();
    // The memory of the run becomes that of the buffers.
    keys = {};
    records = {};
    ranks = {};
    if (result == ok) result = merge(take);
  } else {
    sortRun();
    for (const Rank& rank : ranks) {
      result = take(keyAt(rank.index), records[rank.index]);
      if (result != ok) break;
    }
  }
  keys.clear();
  records.clear();
  runs.clear();
  scratch.reset();
  ordered = true;
  return result;
}

}  // namespace loomkit::xbase
