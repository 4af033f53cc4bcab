// SPDX-License-Identifier: MIT
#include "loomkit/xbase/leaf_node.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace loomkit::xbase {

namespace {

namespace leaf = cdx::leaf;
namespace node = cdx::node;

constexpr std::uint64_t lowBits(unsigned count) noexcept {
  return count >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << count) - 1;
}

constexpr bool isLowBits(std::uint64_t mask) noexcept { return (mask & (mask + 1)) == 0; }

LeafFormat formatOf(const unsigned char* block) noexcept {
  const RecordReader record(block, cdx::blockSize);
  LeafFormat format;
  format.recordMask = record.get(leaf::recordMask);
  format.duplicateMask = record.get(leaf::duplicateMask);
  format.trailingMask = record.get(leaf::trailingMask);
  format.recordBits = record.get(leaf::recordBits);
  format.duplicateBits = record.get(leaf::duplicateBits);
  format.trailingBits = record.get(leaf::trailingBits);
  format.infoSize = record.get(leaf::infoSize);
  return format;
}

LeafInfo unpackInfo(std::uint64_t bits, const LeafFormat& format) noexcept {
  return {static_cast<std::uint32_t>(bits & format.recordMask),
          static_cast<unsigned>(bits >> format.recordBits) & format.duplicateMask,
          static_cast<unsigned>(bits >> (format.recordBits + format.duplicateBits)) &
              format.trailingMask};
}

std::uint64_t packInfo(const LeafInfo& info, const LeafFormat& format) noexcept {
  return info.record | std::uint64_t{info.duplicates} << format.recordBits |
         std::uint64_t{info.trailing} << (format.recordBits + format.duplicateBits);
}

std::size_t padBytesAtEnd(const unsigned char* key, std::size_t length, unsigned char pad) {
  std::size_t count = 0;
  while (count < length && key[length - 1 - count] == pad) ++count;
  return count;
}

}  // namespace

LeafFormat LeafFormat::forKeys(std::size_t keyLength, std::uint32_t lastRecord) noexcept {
  const auto countBits = static_cast<unsigned>(std::bit_width(keyLength));
  LeafFormat format;
  format.duplicateMask = 0xFFU >> (8 - countBits % 8);
  format.trailingMask = format.duplicateMask;
  format.duplicateBits = countBits;
  format.trailingBits = countBits;
  return format.withRecords(lastRecord);
}

LeafFormat LeafFormat::withRecords(std::uint32_t lastRecord) const noexcept {
  const unsigned counts = duplicateBits + trailingBits;
  unsigned bits = static_cast<unsigned>(std::bit_width(lastRecord)) + (0U - counts) % 8;
  bits = std::max(bits, leaf::fewestRecordBits);
  bits += (0U - (bits + counts)) % 8;
  LeafFormat format = *this;
  // The bits that fill the field up are the record number's, which has 32.
  format.recordBits = std::min(bits, 32U);
  format.recordMask = static_cast<std::uint32_t>(lowBits(format.recordBits));
  format.infoSize = (format.recordBits + counts + 7) / 8;
  return format;
}

bool LeafFormat::sound() const noexcept {
  return infoSize >= 1 && infoSize <= leaf::widestInfo && recordBits <= 32 && duplicateBits <= 8 &&
         trailingBits <= 8 && recordBits + duplicateBits + trailingBits <= 8 * infoSize &&
         recordMask == lowBits(recordBits) && isLowBits(duplicateMask) &&
         duplicateMask <= lowBits(duplicateBits) && isLowBits(trailingMask) &&
         trailingMask <= lowBits(trailingBits);
}

bool LeafNode::check(unsigned char* block, std::size_t keyLength) noexcept {
  const RecordReader record(block, cdx::blockSize);
  if ((record.get(node::attributes) & node::isLeaf) == 0) return false;
  const std::size_t count = record.get(node::keyCount);
  const LeafFormat format = formatOf(block);
  if (!format.sound() || count * format.infoSize > leaf::room) return false;
  std::size_t left = leaf::room - count * format.infoSize;
  for (std::size_t i = 0; i < count; ++i) {
    const LeafInfo info = unpackInfo(loadLe64(block + leaf::entries + i * format.infoSize), format);
    if (i == 0 && info.duplicates != 0) return false;
    if (info.duplicates + info.trailing > keyLength) return false;
    const std::size_t stored = keyLength - info.duplicates - info.trailing;
    if (stored > left) return false;
    left -= stored;
  }
  RecordWriter(block, cdx::blockSize).put(leaf::freeBytes, static_cast<std::uint16_t>(left));
  return true;
}

void LeafNode::create(unsigned char* block, const LeafFormat& format) noexcept {
  std::memset(block, 0, paddedBlockSize);
  RecordWriter record(block, cdx::blockSize);
  record.put(node::attributes, node::isLeaf);
  record.put(node::left, cdx::noBlock);
  record.put(node::right, cdx::noBlock);
  record.put(leaf::freeBytes, leaf::room);
  record.put(leaf::recordMask, format.recordMask);
  record.put(leaf::duplicateMask, static_cast<std::uint8_t>(format.duplicateMask));
  record.put(leaf::trailingMask, static_cast<std::uint8_t>(format.trailingMask));
  record.put(leaf::recordBits, static_cast<std::uint8_t>(format.recordBits));
  record.put(leaf::duplicateBits, static_cast<std::uint8_t>(format.duplicateBits));
  record.put(leaf::trailingBits, static_cast<std::uint8_t>(format.trailingBits));
  record.put(leaf::infoSize, static_cast<std::uint8_t>(format.infoSize));
}

LeafNode::LeafNode(unsigned char* bytes, std::size_t length, unsigned char padByte) noexcept
    : block(bytes), keyLength(length), pad(padByte), widths(formatOf(bytes)) {
  const RecordReader record(block, cdx::blockSize);
  keyCount = record.get(node::keyCount);
  free = record.get(leaf::freeBytes);
}

LeafInfo LeafNode::info(unsigned index) const noexcept {
  return unpackInfo(loadLe64(block + leaf::entries + index * widths.infoSize), widths);
}

// How many leading bytes an entry has in common with the key, of those up to
// `length`; its first bytes, which it shares with the entry before it, are known
// to agree. `start` is where the entry's bytes begin in the block.
std::size_t LeafNode::agreement(const LeafInfo& of, std::size_t start, const unsigned char* key,
                                std::size_t length) const noexcept {
  const unsigned char* const bytes = block + start;
  const std::size_t storedEnd = std::min(keyLength - of.trailing, length);
  std::size_t at = std::min<std::size_t>(of.duplicates, length);
  while (at < storedEnd && bytes[at - of.duplicates] == key[at]) ++at;
  if (at < storedEnd) return at;
  while (at < length && key[at] == pad) ++at;
  return at;
}

LeafPlace LeafNode::find(const unsigned char* key, std::size_t length,
                         std::uint64_t record) const noexcept {
  LeafPlace place;
  place.keysEnd = cdx::blockSize;
  const LeafFormat format = widths;
  const unsigned char* field = block + leaf::entries;
  for (; place.index < keyCount; ++place.index, field += format.infoSize) {
    const LeafInfo here = unpackInfo(loadLe64(field), format);
    const std::size_t start = place.keysEnd - storedSize(here);
    // An entry that shares more with the one before it than that one shares with
    // the key lies on the same side of the key: before it.
    if (here.duplicates <= place.sharedBefore || place.sharedBefore == length) {
      const std::size_t shared = agreement(here, start, key, length);
      bool before = false;
      if (shared == length) {
        before = here.record < record;
      } else {
        const bool stored = shared < keyLength - here.trailing;
        before = (stored ? block[start + shared - here.duplicates] : pad) < key[shared];
      }
      if (!before) {
        place.sharedHere = shared;
        place.equal = shared == length;
        return place;
      }
      place.sharedBefore = shared;
    }
    place.keysEnd = start;
  }
  return place;
}

LeafPlace LeafNode::end(std::size_t shared) const noexcept {
  LeafPlace place;
  place.index = keyCount;
  place.keysEnd = lowestKeyByte();
  place.sharedBefore = shared;
  return place;
}

LeafInfo LeafNode::infoFor(const unsigned char* key, std::uint32_t record,
                           std::size_t shared) const noexcept {
  LeafInfo made;
  made.record = record;
  made.trailing = static_cast<unsigned>(
      std::min<std::size_t>(padBytesAtEnd(key, keyLength, pad), widths.trailingMask));
  made.duplicates = static_cast<unsigned>(
      std::min<std::size_t>({shared, keyLength - made.trailing, widths.duplicateMask}));
  return made;
}

LeafNode::Result LeafNode::insert(const LeafPlace& place, const unsigned char* key,
                                  std::uint32_t record) noexcept {
  if (record > widths.recordMask) return Result::recordTooWide;
  const LeafInfo made = infoFor(key, record, place.sharedBefore);
  const std::size_t size = storedSize(made);
  // The next entry now follows the new one, with which it shares as much or more.
  const bool hasNext = place.index < keyCount;
  LeafInfo next;
  std::size_t nextSize = 0;
  std::size_t shrink = 0;
  if (hasNext) {
    next = info(place.index);
    nextSize = storedSize(next);
    const auto shared = static_cast<unsigned>(
        std::min<std::size_t>({place.sharedHere, keyLength - next.trailing, widths.duplicateMask}));
    if (shared < next.duplicates) return Result::damaged;
    shrink = shared - next.duplicates;
    next.duplicates = shared;
  }
  if (free + shrink < size + widths.infoSize) return Result::noRoom;

  const std::size_t low = lowestKeyByte();
  const std::size_t nextLeft = nextSize - shrink;
  const std::size_t othersEnd = place.keysEnd - nextSize;
  unsigned char* const nextBytes = block + place.keysEnd - nextLeft;
  const auto moveOthers = [&] {
    std::memmove(block + low + shrink - size, block + low, othersEnd - low);
  };
  // What moves away from the other's old bytes has to move first.
  if (size >= shrink) moveOthers();
  std::memmove(nextBytes - size, nextBytes, nextLeft);
  if (size < shrink) moveOthers();
  std::memcpy(block + place.keysEnd - size, key + made.duplicates, size);

  unsigned char* const infos = block + leaf::entries + place.index * widths.infoSize;
  std::memmove(infos + widths.infoSize, infos, (keyCount - place.index) * widths.infoSize);
  storeCounts(keyCount + 1, free + shrink - size - widths.infoSize);
  storeInfo(place.index, made);
  if (hasNext) storeInfo(place.index + 1, next);
  return Result::done;
}

LeafNode::Result LeafNode::remove(const LeafPlace& place, const unsigned char* key) noexcept {
  const LeafInfo gone = info(place.index);
  const std::size_t size = storedSize(gone);
  const bool hasNext = place.index + 1 < keyCount;
  LeafInfo next;
  std::size_t nextSize = 0;
  std::size_t grow = 0;
  if (hasNext) {
    next = info(place.index + 1);
    nextSize = storedSize(next);
    const auto shared =
        static_cast<unsigned>(std::min<std::size_t>(place.sharedBefore, next.duplicates));
    grow = next.duplicates - shared;
    next.duplicates = shared;
  }
  if (free + size + widths.infoSize < grow) return Result::noRoom;

  unsigned char* const infos = block + leaf::entries + place.index * widths.infoSize;
  const std::size_t low = lowestKeyByte();
  std::memmove(infos, infos + widths.infoSize, (keyCount - place.index - 1) * widths.infoSize);
  const std::size_t nextEnd = place.keysEnd - size;
  const auto moveOthers = [&] {
    std::memmove(block + low + size - grow, block + low, nextEnd - nextSize - low);
  };
  if (grow > size) moveOthers();
  std::memmove(block + place.keysEnd - nextSize, block + nextEnd - nextSize, nextSize);
  if (grow <= size) moveOthers();
  std::memcpy(block + place.keysEnd - nextSize - grow, key + next.duplicates, grow);
  storeCounts(keyCount - 1, free + size + widths.infoSize - grow);
  if (hasNext) storeInfo(place.index, next);
  return Result::done;
}

std::uint32_t LeafNode::decode(unsigned index, unsigned char* key,
                               std::size_t* keysEnd) const noexcept {
  const LeafInfo here = info(index);
  const std::size_t size = storedSize(here);
  *keysEnd -= size;
  std::memcpy(key + here.duplicates, block + *keysEnd, size);
  std::memset(key + here.duplicates + size, pad, here.trailing);
  return here.record;
}

void LeafNode::storeInfo(unsigned index, const LeafInfo& value) noexcept {
  unsigned char bytes[8];
  storeLe64(bytes, packInfo(value, widths));
  std::memcpy(block + leaf::entries + index * widths.infoSize, bytes, widths.infoSize);
}

void LeafNode::storeCounts(unsigned count, std::size_t freeBytes) noexcept {
  keyCount = count;
  free = freeBytes;
  RecordWriter record(block, cdx::blockSize);
  record.put(node::keyCount, static_cast<std::uint16_t>(count));
  record.put(leaf::freeBytes, static_cast<std::uint16_t>(freeBytes));
}

}  // namespace loomkit::xbase
