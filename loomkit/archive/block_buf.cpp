// SPDX-License-Identifier: MIT
#include "loomkit/archive/block_buf.h"

#include <algorithm>
#include <fstream>

namespace loomkit {

BlockBuf::int_type BlockBuf::underflow() {
  if (block.size() < nextSize) block.resize(nextSize);
  const std::streamsize count = stream->sgetn(block.data(), static_cast<std::streamsize>(nextSize));
  if (count <= 0) return traits_type::eof();
  nextSize = std::min(nextSize * 2, largest);
  blockEnd += count;
  setg(block.data(), block.data(), block.data() + count);
  return traits_type::to_int_type(*gptr());
}

BlockBuf::pos_type BlockBuf::seekoff(off_type offset, std::ios_base::seekdir direction,
                                     std::ios_base::openmode /*which*/) {
  if (direction == std::ios_base::end) return pos_type(off_type(-1));
  return skip(direction == std::ios_base::cur ? offset : offset - position());
}

BlockBuf::pos_type BlockBuf::seekpos(pos_type target, std::ios_base::openmode /*which*/) {
  return skip(off_type(target) - position());
}

BlockBuf::pos_type BlockBuf::skip(off_type count) {
  if (count < 0) return pos_type(off_type(-1));
  const off_type beyond = count - (egptr() - gptr());
  if (beyond <= 0) {
    setg(eback(), gptr() + count, egptr());
    return position();
  }
  if (beyond >= static_cast<off_type>(nextSize)) nextSize = smallest;
  const pos_type target = stream->pubseekoff(beyond, std::ios_base::cur, std::ios_base::in);
  if (target == pos_type(off_type(-1))) return target;
  blockEnd += beyond;
  setg(nullptr, nullptr, nullptr);
  return position();
}

DirectoryStream::DirectoryStream(std::istream& source, std::streamoff position) : direct(source) {
  if (dynamic_cast<std::filebuf*>(source.rdbuf()) == nullptr) return;
  blocks.emplace(source.rdbuf(), position);
  reading.emplace(&*blocks);
}

std::streamoff DirectoryStream::position() {
  return blocks ? blocks->position() : std::streamoff(direct.tellg());
}

}  // namespace loomkit
