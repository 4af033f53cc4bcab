// SPDX-License-Identifier: MIT
#include "tessel/builder/column_builder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "loomkit/text/binary.h"

namespace tessel {
namespace {

using loomkit::Le16;
using loomkit::Le32;
using loomkit::Le64;

// A storage code of integers, and what it can hold. The narrowest come first.
struct IntegerStorage {
  TslType type;
  TslStorage storage;
  std::uint32_t width;
  std::int64_t least;
  std::int64_t most;
};

constexpr IntegerStorage integerStorages[] = {
    {TslTypeSigned, TslStorageInt8, 1, -0x80, 0x7f},
    {TslTypeSigned, TslStorageInt16, 2, -0x8000, 0x7fff},
    {TslTypeSigned, TslStorageInt32, 4, std::numeric_limits<std::int32_t>::min(), 0x7fffffff},
    {TslTypeUnsigned, TslStorageUInt8, 1, 0, 0xff},
    {TslTypeUnsigned, TslStorageUInt16, 2, 0, 0xffff},
    {TslTypeUnsigned, TslStorageUInt32, 4, 0, 0xffffffff},
    {TslTypePattern, TslStorageUInt32, 4, 0, 0xffffffff},
};

// Appends the low bytes of a number.
void appendNumber(OutputFile* out, std::uint64_t value, std::uint32_t width) {
  unsigned char bytes[8];
  Le64::store(bytes, value);
  out->append(bytes, width);
}

// Whether a double is exactly a float. What is no number keeps its bits in a
// double only.
bool isFloat(double value) {
  if (std::isnan(value)) return false;
  if (std::isinf(value)) return true;
  return std::fabs(value) <= std::numeric_limits<float>::max() &&
         static_cast<double>(static_cast<float>(value)) == value;
}

constexpr std::uint64_t narrowHeap = std::numeric_limits<std::uint32_t>::max();

}  // namespace

void ColumnBuilder::addSigned(std::int32_t value) {
  least = count == 0 ? value : std::min<std::int64_t>(least, value);
  most = count == 0 ? value : std::max<std::int64_t>(most, value);
  unsigned char bytes[4];
  Le32::store(bytes, static_cast<std::uint32_t>(value));
  spool.append(bytes, sizeof bytes);
  ++count;
}

void ColumnBuilder::addUnsigned(std::uint32_t value) {
  most = std::max<std::int64_t>(most, value);
  unsigned char bytes[4];
  Le32::store(bytes, value);
  spool.append(bytes, sizeof bytes);
  ++count;
}

void ColumnBuilder::addFloating(double value) {
  fitsFloat = fitsFloat && isFloat(value);
  unsigned char bytes[8];
  Le64::store(bytes, std::bit_cast<std::uint64_t>(value));
  spool.append(bytes, sizeof bytes);
  ++count;
}

void ColumnBuilder::addText(std::string_view text) {
  const auto size = static_cast<std::uint32_t>(text.size());
  unsigned char bytes[4];
  Le32::store(bytes, size);
  spool.append(bytes, sizeof bytes);
  spool.append(text.data(), text.size());
  dictionary.add(text);
  longest = std::max(longest, size);
  textSize += size;
  ++count;
}

Column ColumnBuilder::write(OutputFile* out) {
  Column column;
  column.type = type;
  column.values = out->startSection();
  if (type == TslTypeText)
    writeTexts(out, &column);
  else if (type == TslTypeFloating)
    writeFloats(out, &column);
  else
    writeIntegers(out, &column);
  return column;
}

void ColumnBuilder::writeIntegers(OutputFile* out, Column* column) {
  const IntegerStorage& form = *std::find_if(
      std::begin(integerStorages), std::end(integerStorages), [this](const IntegerStorage& row) {
        return row.type == type && row.least <= least && most <= row.most;
      });
  column->storage = form.storage;
  column->width = form.width;
  SpoolReader values(spool);
  while (const unsigned char* const bytes = values.take(4)) out->append(bytes, form.width);
}

void ColumnBuilder::writeFloats(OutputFile* out, Column* column) {
  column->storage = fitsFloat ? TslStorageFloat : TslStorageDouble;
  column->width = fitsFloat ? 4 : 8;
  SpoolReader values(spool);
  while (const unsigned char* const bytes = values.take(8)) {
    if (!fitsFloat) {
      out->append(bytes, 8);
      continue;
    }
    const auto value = static_cast<float>(std::bit_cast<double>(Le64::load(bytes)));
    appendNumber(out, std::bit_cast<std::uint32_t>(value), 4);
  }
}

template <class Visit>
void ColumnBuilder::forEachText(Visit visit) {
  SpoolReader values(spool);
  while (const unsigned char* const head = values.take(4)) {
    const std::uint32_t size = Le32::load(head);
    const unsigned char* const text = size != 0 ? values.take(size) : head;
    if (text == nullptr) return;
    visit(std::string_view(reinterpret_cast<const char*>(text), size));
  }
}

// The form that takes the least room; a column without rows has texts of any
// length.
void ColumnBuilder::writeTexts(OutputFile* out, Column* column) {
  constexpr auto none = std::numeric_limits<std::uint64_t>::max();
  const std::uint64_t offsetWidth = textSize <= narrowHeap ? 4 : 8;
  const std::uint64_t heapForm = (std::uint64_t{count} + 1) * offsetWidth + textSize;
  const std::uint64_t fixedForm =
      count != 0 && longest < 0x7fffffff ? (std::uint64_t{longest} + 1) * count : none;
  const std::uint64_t codeWidth = dictionary.count() <= 256 ? 1 : 2;
  const std::uint64_t dictionaryForm =
      dictionary.isFew()
          ? count * codeWidth + (dictionary.count() + 1) * 4 + dictionary.bytes().size()
          : none;
  if (fixedForm <= heapForm && fixedForm <= dictionaryForm)
    writeFixed(out, column);
  else if (dictionaryForm < heapForm)
    writeDictionary(out, column);
  else
    writeHeap(out, column);
}

void ColumnBuilder::writeFixed(OutputFile* out, Column* column) {
  column->storage = TslStorageFixedText;
  column->coding = Coding::plain;
  column->width = longest + 1;
  const std::string zeros(std::size_t{longest} + 1, '\0');
  forEachText([&](std::string_view text) {
    out->append(text.data(), text.size());
    out->append(zeros.data(), zeros.size() - text.size());
  });
}

void ColumnBuilder::writeHeap(OutputFile* out, Column* column) {
  column->storage = TslStorageText;
  column->coding = Coding::heap;
  column->width = textSize <= narrowHeap ? 4 : 8;
  column->heapSize = textSize;
  std::uint64_t begin = 0;
  forEachText([&](std::string_view text) {
    appendNumber(out, begin, column->width);
    begin += text.size();
  });
  appendNumber(out, begin, column->width);
  column->heap = out->startSection();
  forEachText([&](std::string_view text) { out->append(text.data(), text.size()); });
}

void ColumnBuilder::writeDictionary(OutputFile* out, Column* column) {
  column->storage = TslStorageText;
  column->coding = Coding::dictionary;
  column->width = dictionary.count() <= 256 ? 1 : 2;
  column->dictionaryCount = static_cast<std::uint32_t>(dictionary.count());
  column->heapSize = dictionary.bytes().size();
  forEachText(
      [&](std::string_view text) { appendNumber(out, dictionary.find(text), column->width); });
  column->dictionary = out->startSection();
  for (const std::uint32_t begin : dictionary.textBegins()) appendNumber(out, begin, 4);
  appendNumber(out, dictionary.bytes().size(), 4);
  column->heap = out->startSection();
  out->append(dictionary.bytes().data(), dictionary.bytes().size());
}

}  // namespace tessel
