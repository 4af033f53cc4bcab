// SPDX-License-Identifier: MIT
#include "tessel/store/block_file.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "loomkit/platform/files.h"
#include "loomkit/platform/platform.h"
#include "loomkit/platform/random_access.h"
#include "tessel/store/crc32c.h"

namespace tessel {

using loomkit::RecordReader;
namespace header = layout::header;

namespace {

// The platform's numbers for a name that leads nowhere.
constexpr unsigned noSuchFile = 2;
constexpr unsigned noSuchDirectory = 3;

}  // namespace

BlockFile::~BlockFile() {
  if (handle >= 0) static_cast<void>(loomkit::platform::closeFile(handle));
}

Error BlockFile::open(const std::string& path) {
  namespace platform = loomkit::platform;
  // What is no file at all can be no store.
  if (platform::isDirectory(path)) return Error::noStore;
  if (!platform::openRandomAccess(path, platform::OpenMode::readOnly,
                                  platform::ShareMode::readWrite, &handle)) {
    const unsigned reason = platform::lastError();
    return reason == noSuchFile || reason == noSuchDirectory ? Error::noSuchFile
                                                             : Error::cannotRead;
  }
  if (!platform::fileSize(handle, &fileSize)) return Error::cannotRead;
  const Error error = readHeader();
  return error == Error::none ? prepareFrames() : error;
}

// A file that ends too early cannot be read.
bool BlockFile::read(std::uint64_t offset, void* data, std::size_t size) const {
  std::size_t count = 0;
  return loomkit::platform::readAt(handle, offset, data, size, &count) && count == size;
}

Error BlockFile::readHeader() {
  unsigned char bytes[header::size] = {};
  const auto there = static_cast<std::size_t>(std::min<std::uint64_t>(fileSize, sizeof bytes));
  if (!read(0, bytes, there)) return Error::cannotRead;
  const RecordReader record(bytes, there);
  if (record.get(header::magic) != header::magicText) return Error::noStore;
  const std::uint32_t wanted = crc32c(0, bytes, std::min(there, header::headerSum.offset));
  if (record.get(header::headerSum) != wanted ||
      record.get(header::version) != header::currentVersion ||
      record.get(header::fileSize) != fileSize || record.get(header::reserved1) != 0 ||
      record.get(header::reserved2) != 0 || !record.ok())
    return Error::damagedDirectory;
  dataEndsAt = record.get(header::sums);
  return readDirectory(record.get(header::directory), record.get(header::directorySize),
                       record.get(header::directorySum));
}

// Data, checksums and directory follow each other without a gap and fill the
// file, so that no number below can be larger than it.
Error BlockFile::readDirectory(std::uint64_t offset, std::uint32_t directorySize,
                               std::uint32_t directorySum) {
  if (dataEndsAt < header::size || dataEndsAt > fileSize) return Error::damagedDirectory;
  const std::uint64_t count = ((dataEndsAt - 1) >> layout::blockShift) + 1;
  if (count > std::numeric_limits<std::uint32_t>::max()) return Error::damagedDirectory;
  blocks = static_cast<std::uint32_t>(count);
  if (offset != dataEndsAt + count * layout::sum::size || offset > fileSize ||
      directorySize != fileSize - offset)
    return Error::damagedDirectory;
  directoryBytes.resize(directorySize);
  if (!read(offset, directoryBytes.data(), directorySize)) return Error::cannotRead;
  return crc32c(0, directoryBytes.data(), directorySize) == directorySum ? Error::none
                                                                         : Error::damagedDirectory;
}

Error BlockFile::prepareFrames() {
  groups.resize(groupCount());
  pool.prepare(blocks);
  frames.reset(static_cast<unsigned char**>(std::calloc(blocks, sizeof(unsigned char*))));
  return frames != nullptr ? Error::none : Error::outOfMemory;
}

std::uint32_t BlockFile::groupCount() const {
  return static_cast<std::uint32_t>((std::uint64_t{blocks} + layout::sum::perGroup - 1) /
                                    layout::sum::perGroup);
}

Error BlockFile::loadGroup(std::uint32_t group) {
  const std::uint64_t first = std::uint64_t{group} * layout::sum::perGroup;
  const auto size = static_cast<std::size_t>(
      std::min<std::uint64_t>(layout::sum::perGroup, blocks - first) * layout::sum::size);
  std::unique_ptr<unsigned char[]> bytes(new (std::nothrow) unsigned char[size]);
  if (bytes == nullptr) return Error::outOfMemory;
  if (!read(dataEndsAt + first * layout::sum::size, bytes.get(), size)) return Error::cannotRead;
  if (crc32c(0, bytes.get(), size) != groupSums[group]) return Error::damagedData;
  groups[group] = std::move(bytes);
  return Error::none;
}

// The header is a part of block 0 and not of its checksum.
Error BlockFile::readBlock(std::uint32_t block, unsigned char* data) {
  const auto group = static_cast<std::uint32_t>(block / layout::sum::perGroup);
  if (groups[group] == nullptr) {
    const Error error = loadGroup(group);
    if (error != Error::none) return error;
  }
  const std::uint64_t offset = std::uint64_t{block} << layout::blockShift;
  const auto size =
      static_cast<std::size_t>(std::min<std::uint64_t>(layout::blockSize, dataEndsAt - offset));
  if (!read(offset, data, size)) return Error::cannotRead;
  const std::size_t skipped = block == 0 ? header::size : 0;
  const std::uint32_t wanted =
      loomkit::loadLe32(groups[group].get() + block % layout::sum::perGroup * layout::sum::size);
  return crc32c(0, data + skipped, size - skipped) == wanted ? Error::none : Error::damagedData;
}

// A frame for another block, and a place in the ring.
bool BlockFile::makeRoom() {
  try {
    if (loaded.size() == loaded.capacity() && loaded.size() < frameLimit)
      loaded.reserve(std::max<std::size_t>(64, loaded.size() * 2));
  } catch (const std::bad_alloc&) {
    return false;
  }
  if (spare == nullptr) spare = pool.take();
  return spare != nullptr;
}

// A block goes only when another one has been read in its stead: the spare frame
// takes the new one, and that of the oldest is the spare one from then on.
const unsigned char* BlockFile::load(std::uint32_t block) {
  failure = makeRoom() ? readBlock(block, spare) : Error::outOfMemory;
  if (failure != Error::none) return nullptr;
  unsigned char* const frame = std::exchange(spare, nullptr);
  if (loaded.size() < frameLimit) {
    loaded.push_back(block);
  } else {
    spare = std::exchange(frames[loaded[oldest]], nullptr);
    loaded[oldest] = block;
    oldest = (oldest + 1) % loaded.size();
  }
  return frames[block] = frame;
}

bool BlockFile::copy(std::uint64_t offset, std::size_t count, void* data) {
  auto* out = static_cast<unsigned char*>(data);
  while (count != 0) {
    const unsigned char* const bytes = at(offset);
    if (bytes == nullptr) return false;
    const std::size_t part = std::min(count, leftInBlock(offset));
    std::memcpy(out, bytes, part);
    out += part;
    offset += part;
    count -= part;
  }
  return true;
}

bool BlockFile::equals(std::uint64_t offset, std::size_t count, const void* data) {
  const auto* other = static_cast<const unsigned char*>(data);
  while (count != 0) {
    const unsigned char* const bytes = at(offset);
    if (bytes == nullptr) return false;
    const std::size_t part = std::min(count, leftInBlock(offset));
    if (std::memcmp(bytes, other, part) != 0) return false;
    other += part;
    offset += part;
    count -= part;
  }
  return true;
}

Error BlockFile::checkSize() const {
  std::uint64_t now = 0;
  return loomkit::platform::fileSize(handle, &now) && now == fileSize ? Error::none
                                                                      : Error::cannotRead;
}

Error BlockFile::verify(std::uint32_t block) {
  std::unique_ptr<unsigned char[]> bytes(new (std::nothrow) unsigned char[layout::blockSize]);
  return bytes != nullptr ? readBlock(block, bytes.get()) : Error::outOfMemory;
}

void BlockFile::setFrameLimit(std::size_t limit) { frameLimit = std::max(limit, minFrames); }

}  // namespace tessel
