// SPDX-License-Identifier: MIT
#include "tessel/store/values.h"

#include <algorithm>
#include <cstring>

namespace tessel {
namespace {

// Texts in a heap are told by where they begin; each ends where the next one begins.
Error makeSpan(const Column& column, std::uint64_t begin, std::uint64_t end, TextSpan* text) {
  if (begin > end || end > column.heapSize) return Error::damagedData;
  *text = {column.heap + begin, end - begin};
  return Error::none;
}

// Behind the last row is one more, for the sake of the end.
Error findInHeap(BlockFile* file, const Column& column, std::uint32_t row, TextSpan* text) {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  Error error = readEntryNumber(file, column, row, &begin);
  if (error == Error::none) error = readEntryNumber(file, column, row + 1, &end);
  return error == Error::none ? makeSpan(column, begin, end, text) : error;
}

// A fixed text ends at its first NUL, which must be there.
Error findFixed(BlockFile* file, const Column& column, std::uint32_t row, TextSpan* text) {
  const std::uint64_t begin = entryOffset(column, row);
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
  if (column.coding == Coding::heap) return findInHeap(file, column, row, text);
  std::uint64_t number = 0;
  const Error error = readEntryNumber(file, column, row, &number);
  if (error != Error::none) return error;
  if (number >= column.dictionaryCount) return Error::damagedData;
  return findInDictionary(file, column, static_cast<std::uint32_t>(number), text);
}

Error findInDictionary(BlockFile* file, const Column& column, std::uint32_t number,
                       TextSpan* text) {
  constexpr unsigned width = 4;
  const std::uint64_t at = column.dictionary + std::uint64_t{number} * width;
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  Error error = readUnsigned(file, at, width, &begin);
  if (error == Error::none) error = readUnsigned(file, at + width, width, &end);
  return error == Error::none ? makeSpan(column, begin, end, text) : error;
}

}  // namespace tessel
