// SPDX-License-Identifier: MIT
#include "loomkit/archive/window.h"

#include <algorithm>

#include "loomkit/platform/random_access.h"

namespace loomkit {

bool Window::load(std::uint64_t offset, std::size_t count) {
  // What follows the last block is likely to be read on, and the rest may be a leap.
  constexpr std::size_t afterLeap = 4096;
  const bool goesOn = filled != 0 && offset >= start && offset - start <= filled + largest;
  const std::uint64_t wanted = std::max<std::uint64_t>(count, goesOn ? largest : afterLeap);
  const auto size = static_cast<std::size_t>(std::min(wanted, total - offset));
  if (block.size() < size) block.resize(size);
  filled = 0;
  start = offset;
  std::size_t got = 0;
  if (!platform::readAt(file, offset, block.data(), size, &got)) return false;
  filled = got;
  return got >= count;
}

const unsigned char* Window::at(std::uint64_t offset, std::size_t count) {
  if (offset > total || count > total - offset) return nullptr;
  if (offset < start || offset - start > filled || filled - (offset - start) < count) {
    if (!load(offset, count)) return nullptr;
  }
  return block.data() + (offset - start);
}

std::pair<const unsigned char*, std::size_t> Window::some(std::uint64_t offset,
                                                          std::uint64_t limit) {
  const unsigned char* bytes = limit == 0 ? nullptr : at(offset, 1);
  if (bytes == nullptr) return {nullptr, 0};
  const std::uint64_t there = filled - (offset - start);
  return {bytes, static_cast<std::size_t>(std::min(there, limit))};
}

}  // namespace loomkit
