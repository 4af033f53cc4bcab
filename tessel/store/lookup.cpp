// SPDX-License-Identifier: MIT
#include "tessel/store/lookup.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

#include "tessel/store/layout.h"
#include "tessel/store/values.h"

namespace tessel {
namespace {

constexpr std::size_t pieceSize = 256;

bool isInteger(const Column& column) { return tessel::isInteger(column.type); }

// A key in the terms of its column.
struct Term {
  const Column* column;
  bool possible;         // false: no value of the column's type equals the key
  std::int64_t integer;  // for integer columns
  double floating;       // for floating columns
  const char* text;      // for text columns
  std::size_t textSize;
};

// The key as an integer, if it is a whole number of at most 33 bits.
bool wholeNumber(const TslKey& key, std::int64_t* number) {
  if (key.type == TslTypeSigned) *number = key.value.signedValue;
  if (key.type == TslTypeUnsigned) *number = key.value.unsignedValue;
  if (key.type != TslTypeFloating) return true;
  constexpr double bound = 4294967296.0;
  const double value = key.value.floatingValue;
  if (!(value > -bound && value < bound)) return false;
  *number = static_cast<std::int64_t>(value);
  return static_cast<double>(*number) == value;
}

double floatingOf(const TslKey& key) {
  if (key.type == TslTypeSigned) return key.value.signedValue;
  return key.type == TslTypeUnsigned ? key.value.unsignedValue : key.value.floatingValue;
}

void makeIntegerTerm(const TslKey& key, Term* term) {
  const Column& column = *term->column;
  term->possible = wholeNumber(key, &term->integer);
  // A pattern has no sign: a key's bits count.
  if (column.type == TslTypePattern && key.type == TslTypeSigned)
    term->integer = static_cast<std::uint32_t>(key.value.signedValue);
  using Signed = std::numeric_limits<std::int32_t>;
  const bool isSigned = column.type == TslTypeSigned;
  const std::int64_t least = isSigned ? Signed::min() : 0;
  const std::int64_t most =
      isSigned ? std::int64_t{Signed::max()} : std::numeric_limits<std::uint32_t>::max();
  if (term->integer < least || term->integer > most) term->possible = false;
}

// False for a key that no lookup in this table can have.
bool makeTerm(const TableInfo& table, const TslKey& key, Term* term) {
  if (key.field < 0 || static_cast<std::size_t>(key.field) >= table.columns.size()) return false;
  if (key.type < TslTypeSigned || key.type > TslTypeText) return false;
  *term = {&table.columns[static_cast<std::size_t>(key.field)], true, 0, 0, nullptr, 0};
  const bool wantsText = term->column->type == TslTypeText;
  if (wantsText != (key.type == TslTypeText)) return false;
  if (wantsText) {
    term->text = key.value.textValue;
    if (term->text == nullptr) return false;
    term->textSize = std::strlen(term->text);
  } else if (isInteger(*term->column)) {
    makeIntegerTerm(key, term);
  } else {
    term->floating = floatingOf(key);
    term->possible = term->floating == term->floating;  // no value equals what is no number
  }
  return true;
}

void addToHash(const Term& term, KeyHash* hash) {
  if (term.text != nullptr) {
    hash->addText(term.text, term.textSize);
    hash->endText();
  } else if (isInteger(*term.column)) {
    hash->addInteger(static_cast<std::uint32_t>(term.integer));
  } else {
    hash->addFloating(term.floating);
  }
}

// The terms of a lookup, those of most lookups without an allocation.
class Terms {
 public:
  explicit Terms(int count) : size(static_cast<std::size_t>(count)) {
    if (size > inlineCount) many.resize(size);
  }
  Term* begin() { return many.empty() ? few : many.data(); }
  Term* end() { return begin() + size; }

 private:
  static constexpr std::size_t inlineCount = 8;
  std::size_t size;
  Term few[inlineCount];
  std::vector<Term> many;
};

// Lookups have few terms, mostly one, so that nothing beats a plain loop.
inline const Term* findTerm(Terms* terms, const Column* column) {
  for (const Term& term : *terms)
    if (term.column == column) return &term;
  return nullptr;
}

inline bool serves(const Index& index, const TableInfo& table, Terms* terms) {
  for (const std::int32_t number : index.columns)
    if (findTerm(terms, &table.columns[static_cast<std::size_t>(number)]) == nullptr) return false;
  return true;
}

const Index* chooseIndex(const TableInfo& table, Terms* terms) {
  const Index* best = nullptr;
  for (const Index& index : table.indexes)
    if ((best == nullptr || index.columns.size() > best->columns.size()) &&
        serves(index, table, terms))
      best = &index;
  return best;
}

Error matches(BlockFile* file, const Term& term, std::uint32_t row, bool* match) {
  const Column& column = *term.column;
  if (column.type == TslTypeText) {
    TextSpan text{};
    const Error error = findText(file, column, row, &text);
    if (error != Error::none) return error;
    file->clearError();
    *match = text.size == term.textSize && file->equals(text.offset, term.textSize, term.text);
    return file->error();
  }
  TslContent value{};
  const Error error = readNumber(file, column, row, &value);
  if (error != Error::none) return error;
  *match = isInteger(column) ? integerOf(column, value) == term.integer
                             : value.floatingValue == term.floating;
  return Error::none;
}

// Where the entries of a hash's bucket begin and end.
Error findBucket(BlockFile* file, const TableInfo& table, const Index& index, std::uint32_t hash,
                 std::uint32_t* begin, std::uint32_t* end) {
  const std::uint64_t bucket = std::uint64_t{hash} >> (32 - index.bucketBits);
  const std::uint64_t at = index.buckets + bucket * layout::bucket::size;
  std::uint64_t first = 0;
  std::uint64_t next = 0;
  Error error = readUnsigned(file, at, layout::bucket::size, &first);
  if (error == Error::none)
    error = readUnsigned(file, at + layout::bucket::size, layout::bucket::size, &next);
  if (error != Error::none) return error;
  if (first > next || next > table.rowCount) return Error::damagedData;
  *begin = static_cast<std::uint32_t>(first);
  *end = static_cast<std::uint32_t>(next);
  return Error::none;
}

// What fetches memory ahead of its use is inlined by force: a function that does
// nothing else counts as one without effects, and gcc drops the calls of it.

// The cache lines of a row are better fetched at once than one after the other. Where
// a text in a heap ends stands in the next row. A row of many lines is long enough for
// the processor to see by itself where it goes.
[[gnu::always_inline]] inline void prefetchRow(const BlockFile& file, const TableInfo& table,
                                               std::uint32_t row) {
  constexpr std::uint64_t line = 64;
  constexpr std::uint64_t most = 8 * line;
  const std::uint64_t begin = table.rows + std::uint64_t{row} * table.rowWidth;
  const std::uint64_t size = std::uint64_t{table.rowWidth} * (table.endsTexts ? 2 : 1);
  const std::uint64_t end = begin + std::min(size, most);
  for (std::uint64_t at = begin & ~(line - 1); at < end; at += line) file.prefetch(at);
}

// Appends a row that an index leads to, if it matches all of the keys.
Error addIfMatching(BlockFile* file, const TableInfo& table, Terms* terms, std::uint32_t row,
                    std::vector<std::uint32_t>* rows) {
  prefetchRow(*file, table, row);
  bool match = true;
  for (const Term& term : *terms) {
    const Error error = matches(file, term, row, &match);
    if (error != Error::none || !match) return error;
  }
  rows->push_back(row);
  return Error::none;
}

// The last range that begins at the key or below it leads to the only row that can
// have the key. Whether it has, the row itself tells.
Error findByRanges(BlockFile* file, const TableInfo& table, const Index& index, Terms* terms,
                   std::vector<std::uint32_t>* rows) {
  const std::int64_t key =
      findTerm(terms, &table.columns[static_cast<std::size_t>(index.columns[0])])->integer;
  Range best{key, table.rowCount};
  for (std::uint32_t begin = 0, end = index.rangeCount; begin < end;) {
    const std::uint32_t middle = begin + (end - begin) / 2;
    Range range{};
    const Error error = readRange(file, table, index, middle, &range);
    if (error != Error::none) return error;
    if (range.value <= key) {
      best = range;
      begin = middle + 1;
    } else {
      end = middle;
    }
  }
  const std::int64_t row = best.row + (key - best.value);
  if (row >= table.rowCount) return Error::none;
  return addIfMatching(file, table, terms, static_cast<std::uint32_t>(row), rows);
}

// Entries around the one where a search begins, which is rarely the one it is for.
// Requires: the entry is one of the table's.
[[gnu::always_inline]] inline void prefetchEntries(const BlockFile& file, const TableInfo& table,
                                                   const Index& index, std::uint32_t number) {
  constexpr std::uint32_t around = 4;  // 32 bytes
  const std::uint64_t before = number - std::min(number, around);
  const std::uint64_t behind = std::min(number + around, table.rowCount - 1);
  file.prefetch(index.entries + before * layout::entry::size);
  file.prefetch(index.entries + behind * layout::entry::size);
}

// The first entry of a bucket that is not below a hash. Hashes are spread evenly,
// so that it lies a few entries from where the hash's place among those of the
// bucket tells. A bucket of many rows of one key is searched with growing steps.
Error findFirstEntry(BlockFile* file, const TableInfo& table, const Index& index,
                     std::uint32_t hash, std::uint32_t begin, std::uint32_t end,
                     std::uint32_t* first) {
  namespace e = layout::entry;
  constexpr unsigned singleSteps = 8;
  const std::uint64_t share = (std::uint64_t{hash} << index.bucketBits) & 0xffffffffU;
  std::uint32_t at = begin + static_cast<std::uint32_t>(share * (end - begin) >> 32);
  if (begin < end) prefetchEntries(*file, table, index, at);
  std::uint32_t step = 0;
  for (unsigned steps = 0; begin < end; ++steps) {
    std::uint64_t found = 0;
    const std::uint64_t place = index.entries + std::uint64_t{at} * e::size + e::hash.offset;
    const Error error = readUnsigned(file, place, sizeof hash, &found);
    if (error != Error::none) return error;
    const bool below = found < hash;
    (below ? begin : end) = below ? at + 1 : at;
    if (steps >= singleSteps) step = 2 * step + 1;
    if (step >= end - begin)
      at = begin + (end - begin) / 2;
    else
      at = below ? begin + step : end - 1 - step;
  }
  *first = begin;
  return Error::none;
}

Error findByHash(BlockFile* file, const TableInfo& table, const Index& index, Terms* terms,
                 std::vector<std::uint32_t>* rows) {
  KeyHash hash;
  for (const std::int32_t number : index.columns)
    addToHash(*findTerm(terms, &table.columns[static_cast<std::size_t>(number)]), &hash);
  std::uint32_t begin = 0;
  std::uint32_t end = 0;
  Error error = findBucket(file, table, index, hash.value(), &begin, &end);
  if (error == Error::none)
    error = findFirstEntry(file, table, index, hash.value(), begin, end, &begin);
  for (std::uint32_t i = begin; error == Error::none && i < end; ++i) {
    std::uint32_t found = 0;
    std::uint32_t row = 0;
    error = readEntry(file, table, index, i, &found, &row);
    if (error != Error::none || found != hash.value()) break;
    error = addIfMatching(file, table, terms, row, rows);
    if (index.unique && !rows->empty()) break;
  }
  return error;
}

// Values that are neither less nor greater are the same, and so is what is no
// number if its bits are.
int orderOf(double a, double b) {
  if (a < b) return -1;
  if (a > b) return 1;
  if (a == b) return 0;
  const auto bitsOfA = std::bit_cast<std::uint64_t>(a);
  const auto bitsOfB = std::bit_cast<std::uint64_t>(b);
  if (bitsOfA == bitsOfB) return 0;
  return bitsOfA < bitsOfB ? -1 : 1;
}

Error compareTexts(BlockFile* file, const Column& column, std::uint32_t a, std::uint32_t b,
                   int* order) {
  TextSpan first{};
  TextSpan second{};
  Error error = findText(file, column, a, &first);
  if (error == Error::none) error = findText(file, column, b, &second);
  if (error != Error::none) return error;
  *order = first.size < second.size ? -1 : first.size > second.size ? 1 : 0;
  // In pieces, so that no text is too long for the memory.
  char one[pieceSize];
  char other[pieceSize];
  for (std::uint64_t at = 0; *order == 0 && at < first.size; at += pieceSize) {
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(pieceSize, first.size - at));
    if (!file->copy(first.offset + at, size, one) || !file->copy(second.offset + at, size, other))
      return file->error();
    *order = std::memcmp(one, other, size);
  }
  return Error::none;
}

Error compareNumbers(BlockFile* file, const Column& column, std::uint32_t a, std::uint32_t b,
                     int* order) {
  TslContent first{};
  TslContent second{};
  Error error = readNumber(file, column, a, &first);
  if (error == Error::none) error = readNumber(file, column, b, &second);
  if (error != Error::none) return error;
  if (isInteger(column)) {
    const std::int64_t difference = integerOf(column, first) - integerOf(column, second);
    *order = difference < 0 ? -1 : difference > 0 ? 1 : 0;
  } else {
    *order = orderOf(first.floatingValue, second.floatingValue);
  }
  return Error::none;
}

}  // namespace

Error findRows(BlockFile* file, const TableInfo& table, const TslKey* keys, int count,
               std::vector<std::uint32_t>* rows) {
  if (keys == nullptr || count < 1) return Error::invalidArgument;
  Terms terms(count);
  for (int i = 0; i < count; ++i)
    if (!makeTerm(table, keys[i], terms.begin() + i)) return Error::invalidArgument;
  const Index* const index = chooseIndex(table, &terms);
  if (index == nullptr) return Error::noIndex;
  if (std::any_of(terms.begin(), terms.end(), [](const Term& term) { return !term.possible; }))
    return Error::none;
  return index->form == IndexForm::ranges ? findByRanges(file, table, *index, &terms, rows)
                                          : findByHash(file, table, *index, &terms, rows);
}

Error addToHash(BlockFile* file, const Column& column, std::uint32_t row, KeyHash* hash) {
  if (column.type != TslTypeText) {
    TslContent value{};
    const Error error = readNumber(file, column, row, &value);
    if (isInteger(column))
      hash->addInteger(value.unsignedValue);
    else
      hash->addFloating(value.floatingValue);
    return error;
  }
  TextSpan text{};
  const Error error = findText(file, column, row, &text);
  if (error != Error::none) return error;
  char piece[pieceSize];
  for (std::uint64_t at = 0; at < text.size; at += pieceSize) {
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(pieceSize, text.size - at));
    if (!file->copy(text.offset + at, size, piece)) return file->error();
    hash->addText(piece, size);
  }
  hash->endText();
  return Error::none;
}

Error compareKeys(BlockFile* file, const TableInfo& table, const Index& index, std::uint32_t a,
                  std::uint32_t b, int* order) {
  *order = 0;
  for (const std::int32_t number : index.columns) {
    const Column& column = table.columns[static_cast<std::size_t>(number)];
    const Error error = column.type == TslTypeText ? compareTexts(file, column, a, b, order)
                                                   : compareNumbers(file, column, a, b, order);
    if (error != Error::none || *order != 0) return error;
  }
  return Error::none;
}

Error readEntry(BlockFile* file, const TableInfo& table, const Index& index, std::uint32_t number,
                std::uint32_t* hash, std::uint32_t* row) {
  namespace e = layout::entry;
  const unsigned char* const bytes = file->at(index.entries + std::uint64_t{number} * e::size);
  if (bytes == nullptr) return file->error();
  *hash = e::hash.load(bytes + e::hash.offset);
  *row = e::row.load(bytes + e::row.offset);
  return *row < table.rowCount ? Error::none : Error::damagedData;
}

Error readRange(BlockFile* file, const TableInfo& table, const Index& index, std::uint32_t number,
                Range* range) {
  namespace r = layout::range;
  const unsigned char* const bytes = file->at(index.entries + std::uint64_t{number} * r::size);
  if (bytes == nullptr) return file->error();
  TslContent value{};
  value.unsignedValue = r::value.load(bytes + r::value.offset);
  range->value = integerOf(table.columns[static_cast<std::size_t>(index.columns[0])], value);
  range->row = r::row.load(bytes + r::row.offset);
  return range->row < table.rowCount ? Error::none : Error::damagedData;
}

}  // namespace tessel
