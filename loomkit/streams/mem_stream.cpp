// SPDX-License-Identifier: MIT
#include "loomkit/streams/mem_stream.h"

#include <algorithm>
#include <locale>

GStreamBuf::GStreamBuf() = default;
GStreamBuf::~GStreamBuf() = default;

GMemStreamBuf::GMemStreamBuf(unsigned int size) : blockSize(std::max(size, 1U)) {
  appendBlock();
  char* block = blockAt(0);
  setp(block, block + blockSize);
  setg(block, block, block);
}

GMemStreamBuf::~GMemStreamBuf() = default;

long GMemStreamBuf::size() {
  return static_cast<long>(blocks.size() - 1) * static_cast<long>(blockSize) +
         static_cast<long>(lastBlkSize());
}

unsigned int GMemStreamBuf::lastBlkSize() {
  if (writeBlock + 1 != blocks.size()) return highWater;
  return std::max(highWater, static_cast<unsigned int>(pptr() - blockAt(writeBlock)));
}

unsigned int GMemStreamBuf::usedSize(unsigned int index) {
  return index + 1 >= blocks.size() ? lastBlkSize() : blockSize;
}

void GMemStreamBuf::appendBlock() {
  blocks.push_back(std::make_unique_for_overwrite<char[]>(blockSize));
}

GMemStreamBuf::int_type GMemStreamBuf::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return 0;
  if (pptr() == epptr()) {
    // A block may be there already: the put pointer had been moved back.
    if (writeBlock + 1 == blocks.size()) {
      appendBlock();
      highWater = 0;
    }
    ++writeBlock;
    setp(blockAt(writeBlock), blockAt(writeBlock) + blockSize);
  }
  *pptr() = traits_type::to_char_type(c);
  pbump(1);
  return c & 255;
}

// Lets the get area reach to the end of the first block, from the present one
// on, that has bytes to read. False at the end of the stream, where the read
// block stays so that later writing is seen.
bool GMemStreamBuf::findReadable() {
  char* next = gptr();
  for (;;) {
    char* block = blockAt(readBlock);
    char* end = block + usedSize(readBlock);
    if (next < end) {
      setg(block, next, end);
      return true;
    }
    if (readBlock + 1 >= blocks.size()) {
      setg(block, next, next);
      return false;
    }
    next = blockAt(++readBlock);
  }
}

GMemStreamBuf::int_type GMemStreamBuf::underflow() {
  if (gptr() < egptr() || findReadable()) return traits_type::to_int_type(*gptr());
  return traits_type::eof();
}

std::streamsize GMemStreamBuf::showmanyc() { return findReadable() ? egptr() - gptr() : 0; }

GMemStreamBuf::int_type GMemStreamBuf::pbackfail(int_type c) {
  if (gptr() == blockAt(readBlock)) {
    if (readBlock == 0) return traits_type::eof();
    char* block = blockAt(--readBlock);
    setg(block, block + blockSize, block + blockSize);
  }
  if (!traits_type::eq_int_type(c, traits_type::eof())) gptr()[-1] = traits_type::to_char_type(c);
  gbump(-1);
  return traits_type::to_int_type(*gptr());
}

GMemStreamBuf::pos_type GMemStreamBuf::seekoff(off_type offset, std::ios_base::seekdir direction,
                                               std::ios_base::openmode which) {
  const pos_type failed(off_type(-1));
  const bool in = (which & std::ios_base::in) != 0;
  const bool out = (which & std::ios_base::out) != 0;
  if (!in && !out) return failed;
  if (in && out && direction == std::ios_base::cur) return failed;
  // Before the put pointer moves: the stream would shrink otherwise.
  if (out) highWater = writeBlock + 1 == blocks.size() ? lastBlkSize() : highWater;

  const off_type total = size();
  const off_type step = blockSize;
  off_type base = 0;
  if (direction == std::ios_base::end) {
    base = total;
  } else if (direction == std::ios_base::cur) {
    base = in ? readBlock * step + (gptr() - blockAt(readBlock))
              : writeBlock * step + (pptr() - blockAt(writeBlock));
    if (offset == 0) return base;
  } else if (direction != std::ios_base::beg) {
    return failed;
  }
  if (offset < -base || offset > total - base) return failed;
  const off_type target = base + offset;

  auto index = static_cast<unsigned int>(target / step);
  auto inner = static_cast<unsigned int>(target % step);
  if (index == blocks.size()) {  // the end of a full last block stays in it
    --index;
    inner = blockSize;
  }
  char* block = blockAt(index);
  if (in) {
    readBlock = index;
    setg(block, block + inner, block + usedSize(index));
  }
  if (out) {
    writeBlock = index;
    setp(block + inner, block + blockSize);
  }
  return target;
}

GMemStreamBuf::pos_type GMemStreamBuf::seekpos(pos_type position, std::ios_base::openmode which) {
  return seekoff(off_type(position), std::ios_base::beg, which);
}

GIStream::GIStream(std::streambuf* buffer, bool ownsBuffer)
    : std::istream(buffer), owns(ownsBuffer) {}

GIStream::~GIStream() {
  if (owns) delete rdbuf();
}

std::streambuf* GIStream::rdbuf() const { return std::istream::rdbuf(); }

std::streambuf* GIStream::rdbuf(std::streambuf* buffer, bool ownsBuffer) {
  std::streambuf* old = std::istream::rdbuf(buffer);
  if (owns) {
    if (old != buffer) delete old;
    old = nullptr;
  }
  owns = ownsBuffer;
  return old;
}

GOMemStream::GOMemStream(unsigned int blockSize) : GOMemStream(blockSize, true) {}

GOMemStream::GOMemStream(unsigned int blockSize, bool classicLocale)
    : std::ostream(new GMemStreamBuf(blockSize)) {
  if (classicLocale) imbue(std::locale::classic());
}

GOMemStream::~GOMemStream() { delete std::ostream::rdbuf(); }

GMemStreamBuf* GOMemStream::rdbuf() const {
  return dynamic_cast<GMemStreamBuf*>(std::ostream::rdbuf());
}

GMemStreamBuf* GOMemStream::rdbuf(GMemStreamBuf* buffer) {
  return dynamic_cast<GMemStreamBuf*>(std::ostream::rdbuf(buffer));
}

long GOMemStream::size() const {
  GMemStreamBuf* buffer = rdbuf();
  return buffer == nullptr ? 0 : buffer->size();
}
