// SPDX-License-Identifier: MIT
#include "loomkit/xbase/memo_file.h"

#include <algorithm>

#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/fpt_layout.h"

namespace loomkit::xbase {

MemoFile::MemoFile(Engine& owner) : engine(&owner), file(owner) {}

int MemoFile::failed(int code) {
  return fail(*engine, code, engine->report.files, fileNameLine(file.name()).c_str());
}

int MemoFile::open(const std::string& path) {
  const int result = file.open(path);
  if (result != ok) return result;
  unsigned char bytes[fpt::header::usedSize];
  std::size_t got = 0;
  const int readResult = file.readAt(0, bytes, sizeof bytes, &got);
  if (readResult < 0) return readResult;
  const RecordReader record(bytes, got);
  free = record.get(fpt::header::nextFree);
  sizeOfBlock = record.get(fpt::header::blockSize);
  if (sizeOfBlock == 0 && record.get(fpt::header::blockSizeHigh) == 1)
    sizeOfBlock = fpt::largestBlock;
  return record.ok() ? ok : failed(errorNotATable);
}

int MemoFile::create(const std::string& path) {
  sizeOfBlock = std::clamp<std::uint32_t>(engine->memoBlockSize, 1, fpt::largestBlock);
  free = fpt::firstBlock(sizeOfBlock);
  int result = file.create(path);
  if (result < 0) return result;
  unsigned char bytes[fpt::header::size] = {};
  RecordWriter record(bytes, sizeof bytes);
  record.put(fpt::header::nextFree, free);
  record.put(fpt::header::blockSizeHigh, static_cast<std::uint16_t>(sizeOfBlock >> 16));
  record.put(fpt::header::blockSize, static_cast<std::uint16_t>(sizeOfBlock));
  result = file.writeAt(0, bytes, sizeof bytes);
  return result < 0 ? result : file.sync();
}

// The header's number counts, unless memos lie there already: a process that
// died may have written some without the header.
std::uint64_t MemoFile::nextFree() const {
  const std::uint64_t behindEnd = (file.length() + sizeOfBlock - 1) / sizeOfBlock;
  return std::max<std::uint64_t>({free, behindEnd, fpt::firstBlock(sizeOfBlock)});
}

bool MemoFile::holds(std::uint32_t block) const {
  return sizeOfBlock != 0 && block >= fpt::firstBlock(sizeOfBlock) &&
         std::uint64_t{block} * sizeOfBlock + fpt::entry::size <= file.length();
}

int MemoFile::length(std::uint32_t block, std::uint64_t* bytes) {
  if (engine->errorCode < 0) return engine->errorCode;
  if (!holds(block)) return failed(errorReading);
  unsigned char head[fpt::entry::size];
  const std::uint64_t begin = std::uint64_t{block} * sizeOfBlock;
  const int result = file.readAll(begin, head, sizeof head);
  if (result < 0) return result;
  const std::uint64_t left = file.length() - begin - fpt::entry::size;
  *bytes = std::min<std::uint64_t>(RecordReader(head, sizeof head).get(fpt::entry::length), left);
  return ok;
}

int MemoFile::read(std::uint32_t block, std::string* text) {
  std::uint64_t bytes = 0;
  const int result = length(block, &bytes);
  if (result < 0) return result;
  text->resize(static_cast<std::size_t>(bytes));
  return file.readAll(std::uint64_t{block} * sizeOfBlock + fpt::entry::size, text->data(),
                      text->size());
}

int MemoFile::write(std::string_view text, std::uint32_t* block) {
  if (engine->errorCode < 0) return engine->errorCode;
  if (sizeOfBlock == 0 || text.size() > 0xFFFFFFFF) return failed(errorWriting);
  const std::uint64_t needed = fpt::blocksFor(text.size(), sizeOfBlock);
  std::uint64_t old = 0;
  if (holds(*block) && length(*block, &old) == ok) old = fpt::blocksFor(old, sizeOfBlock);
  if (engine->errorCode < 0) return engine->errorCode;
  std::uint64_t target = *block;
  std::uint64_t behind = free;
  if (old < needed) {
    target = nextFree();
    behind = target + needed;
    if (behind > 0xFFFFFFFF) return failed(errorWriting);
  }
  unsigned char head[fpt::entry::size];
  RecordWriter record(head, sizeof head);
  record.put(fpt::entry::type, fpt::typeText);
  record.put(fpt::entry::length, static_cast<std::uint32_t>(text.size()));
  const std::uint64_t begin = target * sizeOfBlock;
  // The rest of the last block too, so that the file ends with a block.
  const std::string padding(
      static_cast<std::size_t>(needed * sizeOfBlock - text.size() - sizeof head), '\0');
  int result = file.writeAt(begin, head, sizeof head);
  if (result == ok) result = file.writeAt(begin + sizeof head, text.data(), text.size());
  if (result == ok)
    result = file.writeAt(begin + sizeof head + text.size(), padding.data(), padding.size());
  if (result < 0) return result;
  *block = static_cast<std::uint32_t>(target);
  if (behind == free) return ok;
  free = static_cast<std::uint32_t>(behind);
  unsigned char number[fpt::header::nextFree.size];
  RecordWriter(number, sizeof number).put(fpt::header::nextFree, free);
  return file.writeAt(fpt::header::nextFree.offset, number, sizeof number);
}

int MemoFile::flush() { return file.sync(); }

int MemoFile::close() { return file.close(); }

}  // namespace loomkit::xbase
