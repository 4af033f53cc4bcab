// SPDX-License-Identifier: MIT
#include "tessel/builder/output_file.h"

#include <algorithm>

#include "loomkit/platform/hul.h"
#include "loomkit/text/binary.h"
#include "tessel/store/crc32c.h"
#include "tessel/store/layout.h"

namespace tessel {

using loomkit::RecordWriter;
namespace header = layout::header;

OutputFile::OutputFile() : buffer(bufferSize) {
  static_assert(bufferSize % layout::blockSize == 0);
}

OutputFile::~OutputFile() { loomkit::platform::discardReplacement(&file); }

int OutputFile::open(const std::string& target) {
  firstFailure = loomkit::platform::createReplacement(target, &file);
  // Room for the header, which is written last.
  used = header::size;
  return firstFailure;
}

void OutputFile::write(const void* data, std::size_t size) {
  if (firstFailure != 0) return;
  firstFailure = hulWrite(file.handle, data, static_cast<int>(size), nullptr);
}

void OutputFile::appendOver(const unsigned char* data, std::size_t size) {
  while (size != 0) {
    const std::size_t part = std::min(size, bufferSize - used);
    std::memcpy(buffer.data() + used, data, part);
    used += part;
    data += part;
    size -= part;
    if (used == bufferSize) flush();
  }
}

// The header is a part of block 0 and not of its checksum.
void OutputFile::flush() {
  for (std::size_t at = 0; at < used; at += layout::blockSize) {
    const std::size_t size = std::min(layout::blockSize, used - at);
    const std::size_t skipped = flushed + at == 0 ? header::size : 0;
    const std::uint32_t sum = crc32c(0, buffer.data() + at + skipped, size - skipped);
    sums.resize(sums.size() + layout::sum::size);
    layout::sum::value.store(sums.data() + sums.size() - layout::sum::size, sum);
  }
  write(buffer.data(), used);
  flushed += used;
  used = 0;
}

void OutputFile::appendZeros(std::size_t count) {
  constexpr unsigned char zeros[64] = {};
  for (; count > sizeof zeros; count -= sizeof zeros) append(zeros, sizeof zeros);
  append(zeros, count);
}

std::uint64_t OutputFile::startSection() {
  const std::size_t over = static_cast<std::size_t>((flushed + used) % layout::sectionAlignment);
  if (over != 0) appendZeros(layout::sectionAlignment - over);
  return flushed + used;
}

std::vector<std::uint32_t> OutputFile::endData() {
  startSection();
  flush();
  std::vector<std::uint32_t> groups;
  for (std::size_t at = 0; at < sums.size(); at += layout::blockSize)
    groups.push_back(crc32c(0, sums.data() + at, std::min(layout::blockSize, sums.size() - at)));
  return groups;
}

int OutputFile::finish(const std::vector<unsigned char>& directory) {
  unsigned char bytes[header::size] = {};
  RecordWriter record(bytes, sizeof bytes);
  const std::uint64_t directoryAt = flushed + sums.size();
  record.put(header::magic, header::magicText);
  record.put(header::version, header::currentVersion);
  record.put(header::directorySize, static_cast<std::uint32_t>(directory.size()));
  record.put(header::fileSize, directoryAt + directory.size());
  record.put(header::sums, flushed);
  record.put(header::directory, directoryAt);
  record.put(header::directorySum, crc32c(0, directory.data(), directory.size()));
  record.put(header::headerSum, crc32c(0, bytes, header::headerSum.offset));
  for (std::size_t at = 0; at < sums.size(); at += bufferSize)
    write(sums.data() + at, std::min(bufferSize, sums.size() - at));
  write(directory.data(), directory.size());
  if (firstFailure == 0) firstFailure = hulSeek(file.handle, hulFromStart, 0, 0, nullptr);
  write(bytes, sizeof bytes);
  return firstFailure;
}

int OutputFile::commit() {
  if (firstFailure == 0) firstFailure = loomkit::platform::commitReplacement(&file);
  return firstFailure;
}

}  // namespace tessel
