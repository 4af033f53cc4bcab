// SPDX-License-Identifier: MIT
#include "tessel/store/values.h"

#include <algorithm>
#include <cstring>

namespace tessel {
namespace {

// The texts of a heap are told by where they begin; each ends where the next
// one begins, and behind the last stands the end.
Error findInHeap(BlockFile* file, const Column& column, std::uint64_t begins, unsigned width,
                 std::uint64_t number, TextSpan* text) {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  Error error = readUnsigned(file, begins + number * width, width, &begin);
  if (error == Error::none) error = readUnsigned(file, begins + (number + 1) * width, width, &end);
  if (error != Error::none) return error;
  if (begin > end || end > column.heapSize) return Error::damagedData;
  *text = {column.heap + begin, end - begin};
  return Error::none;
}

// A fixed text ends at its first NUL, which must be there.
Error findFixed(BlockFile* file, const Column& column, std::uint32_t row, TextSpan* text) {
  const std::uint64_t begin = column.values + std::uint64_t{row} * column.width;
  for (std::uint64_t at = begin; at < begin + column.width;) {
    const unsigned char* const bytes = file->at(at);
    if (bytes == nullptr) return file->error();
    const auto part = static_cast<std::size_t>(
        std::min<std::uint64_t>(BlockFile::leftInBlock(at), begin + column.width - at));
    if (const void* const end = std::memchr(bytes, 0, part)) {
      *text = {
          begin,
          at - begin + static_cast<std::uint64_t>(static_cast<const unsigned char*>(end) - bytes)};
      return Error::none;
    }
    at += part;
  }
  return Error::damagedData;
}

}  // namespace

Error findText(BlockFile* file, const Column& column, std::uint32_t row, TextSpan* text) {
  if (column.coding == Coding::plain) return findFixed(file, column, row, text);
  if (column.coding == Coding::heap)
    return findInHeap(file, column, column.values, column.width, row, text);
  std::uint64_t number = 0;
  const Error error =
      readUnsigned(file, column.values + std::uint64_t{row} * column.width, column.width, &number);
  if (error != Error::none) return error;
  if (number >= column.dictionaryCount) return Error::damagedData;
  return findInDictionary(file, column, static_cast<std::uint32_t>(number), text);
}

Error findInDictionary(BlockFile* file, const Column& column, std::uint32_t number,
                       TextSpan* text) {
  return findInHeap(file, column, column.dictionary, 4, number, text);
}

}  // namespace tessel
