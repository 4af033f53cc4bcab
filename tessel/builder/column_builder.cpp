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

// Of texts that stand in the rows themselves, with their NUL.
constexpr std::uint32_t widestFixed = 65536;

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

Column ColumnBuilder::choose() {
  form.type = type;
  if (type == TslTypeText) {
    chooseTexts();
  } else if (type == TslTypeFloating) {
    form.storage = fitsFloat ? TslStorageFloat : TslStorageDouble;
    form.width = fitsFloat ? 4 : 8;
  } else {
    chooseIntegers();
  }
  values.emplace(spool);
  return form;
}

void ColumnBuilder::chooseIntegers() {
  const IntegerStorage& narrowest = *std::find_if(
      std::begin(integerStorages), std::end(integerStorages), [this](const IntegerStorage& row) {
        return row.type == type && row.least <= least && most <= row.most;
      });
  form.storage = narrowest.storage;
  form.width = narrowest.width;
}

// The form that takes the least room; a column without rows has texts of any
// length, and long texts would only keep the other values of a row apart.
void ColumnBuilder::chooseTexts() {
  constexpr auto none = std::numeric_limits<std::uint64_t>::max();
  const std::uint32_t offsetWidth = textSize <= narrowHeap ? 4 : 8;
  const std::uint64_t heapForm = (std::uint64_t{count} + 1) * offsetWidth + textSize;
  const std::uint64_t fixedForm =
      count != 0 && longest < widestFixed ? (std::uint64_t{longest} + 1) * count : none;
  const std::uint32_t codeWidth = dictionary.count() <= 256 ? 1 : 2;
  const std::uint64_t dictionaryForm = dictionary.isFew() ? std::uint64_t{count} * codeWidth +
                                                                (dictionary.count() + 1) * 4 +
                                                                dictionary.bytes().size()
                                                          : none;
  form.storage = TslStorageText;
  if (fixedForm <= heapForm && fixedForm <= dictionaryForm) {
    form.storage = TslStorageFixedText;
    form.coding = Coding::plain;
    form.width = longest + 1;
  } else if (dictionaryForm < heapForm) {
    form.coding = Coding::dictionary;
    form.width = codeWidth;
    form.dictionaryCount = static_cast<std::uint32_t>(dictionary.count());
    form.heapSize = dictionary.bytes().size();
  } else {
    form.coding = Coding::heap;
    form.width = offsetWidth;
    form.heapSize = textSize;
  }
}

// False at the end, and when the spool cannot be read.
bool ColumnBuilder::nextText(std::string_view* text) {
  const unsigned char* const head = values->take(4);
  if (head == nullptr) return false;
  const std::uint32_t size = Le32::load(head);
  const unsigned char* const bytes = size != 0 ? values->take(size) : head;
  if (bytes == nullptr) return false;
  *text = std::string_view(reinterpret_cast<const char*>(bytes), size);
  return true;
}

void ColumnBuilder::writeEntry(OutputFile* out) {
  if (type == TslTypeText) {
    std::string_view text;
    if (!nextText(&text)) return;
    if (form.coding == Coding::plain) {
      writeFixed(out, text);
    } else if (form.coding == Coding::dictionary) {
      appendNumber(out, dictionary.find(text), form.width);
    } else {
      appendNumber(out, textBegin, form.width);
      textBegin += text.size();
    }
    return;
  }
  const unsigned char* const bytes = values->take(type == TslTypeFloating ? 8 : 4);
  if (bytes == nullptr) return;
  if (form.storage == TslStorageFloat) {
    const auto value = static_cast<float>(std::bit_cast<double>(Le64::load(bytes)));
    appendNumber(out, std::bit_cast<std::uint32_t>(value), form.width);
  } else {
    out->append(bytes, form.width);
  }
}

void ColumnBuilder::writeFixed(OutputFile* out, std::string_view text) {
  out->append(text.data(), text.size());
  out->appendZeros(form.width - text.size());
}

void ColumnBuilder::writeLastEntry(OutputFile* out) {
  if (form.coding == Coding::heap)
    appendNumber(out, textBegin, form.width);
  else
    out->appendZeros(form.width);
}

void ColumnBuilder::writeSections(OutputFile* out, Column* column) {
  if (form.coding == Coding::heap) {
    column->heap = out->startSection();
    values.emplace(spool);
    for (std::string_view text; nextText(&text);) out->append(text.data(), text.size());
  } else if (form.coding == Coding::dictionary) {
    column->dictionary = out->startSection();
    for (const std::uint32_t begin : dictionary.textBegins()) appendNumber(out, begin, 4);
    appendNumber(out, dictionary.bytes().size(), 4);
    column->heap = out->startSection();
    out->append(dictionary.bytes().data(), dictionary.bytes().size());
  }
}

}  // namespace tessel
