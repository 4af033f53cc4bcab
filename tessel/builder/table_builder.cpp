// SPDX-License-Identifier: MIT
#include "tessel/builder/table_builder.h"

#include <algorithm>
#include <bit>

#include "tessel/store/layout.h"

namespace tessel {
namespace {

// Four to eight rows a bucket: a cache line, or a little more. Where the places of
// so many buckets would leave the processor's caches there are fewer, of up to 64
// rows: what a search loses in the bucket is less than a miss for its place.
std::uint32_t bucketBitsOf(std::uint32_t rowCount) {
  constexpr int cachedBits = 14;  // 64 KiB of places
  const int bits = static_cast<int>(std::bit_width(rowCount));
  return static_cast<std::uint32_t>(std::clamp(std::min(bits - 3, std::max(cachedBits, bits - 6)),
                                               0, int{layout::maxBucketBits}));
}

// Appends the number of the first entry of each bucket, as the entries come.
class BucketWriter {
 public:
  BucketWriter(Spool* target, std::uint32_t bucketBits) : spool(target), bits(bucketBits) {}

  void add(std::uint32_t hash) {
    fillTo((std::uint64_t{hash} >> (32 - bits)) + 1);
    ++entries;
  }
  void finish() { fillTo((std::uint64_t{1} << bits) + 1); }

 private:
  // So many buckets have begun.
  void fillTo(std::uint64_t count) {
    unsigned char bytes[layout::bucket::size];
    layout::bucket::first.store(bytes, entries);
    for (; begun < count; ++begun) spool->append(bytes, sizeof bytes);
  }

  Spool* spool;
  std::uint32_t bits;
  std::uint64_t begun = 0;
  std::uint32_t entries = 0;
};

}  // namespace

TableBuilder::TableBuilder(Workspace* ownedElsewhere, const std::vector<TslType>& types)
    : workspace(ownedElsewhere), columnTypes(types) {
  columns.reserve(types.size());
  for (const TslType type : types) columns.emplace_back(workspace, type);
}

void TableBuilder::addIndex(const char* name, bool unique,
                            const std::vector<std::int32_t>& numbers) {
  Index index;
  index.name = name;
  index.unique = unique;
  index.columns = numbers;
  IndexBuilder builder{std::move(index), EntrySorter(workspace, 0), std::nullopt};
  if (numbers.size() == 1 && isInteger(columnTypes[static_cast<std::size_t>(numbers[0])]))
    builder.ranges.emplace();
  indexes.push_back(std::move(builder));
}

void TableBuilder::start() {
  if (indexes.empty()) return;
  // Half of the memory is the columns'. Sorting takes a second copy.
  constexpr std::size_t fewest = 1024;
  const std::size_t share = workspace->memoryLimit() / 2 / indexes.size() / 16;
  for (IndexBuilder& builder : indexes)
    builder.entries = EntrySorter(workspace, std::max(share, fewest));
}

void TableBuilder::addRow(const std::vector<RowValue>& values) {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const RowValue& value = values[i];
    switch (columnTypes[i]) {
      case TslTypeSigned:
        columns[i].addSigned(static_cast<std::int32_t>(value.integer));
        break;
      case TslTypeFloating:
        columns[i].addFloating(value.floating);
        break;
      case TslTypeText:
        columns[i].addText(value.text);
        break;
      default:
        columns[i].addUnsigned(value.integer);
    }
  }
  for (IndexBuilder& builder : indexes) {
    if (builder.ranges && !builder.ranges->add(integerOf(builder.index, values)))
      giveUpRanges(&builder);
    if (!builder.ranges) builder.entries.add(hashOf(builder.index, values).value(), rows);
  }
  ++rows;
}

KeyHash TableBuilder::hashOf(const Index& index, const std::vector<RowValue>& values) const {
  KeyHash hash;
  for (const std::int32_t number : index.columns) {
    const auto i = static_cast<std::size_t>(number);
    if (columnTypes[i] == TslTypeText) {
      hash.addText(values[i].text.data(), values[i].text.size());
      hash.endText();
    } else if (columnTypes[i] == TslTypeFloating) {
      hash.addFloating(values[i].floating);
    } else {
      hash.addInteger(values[i].integer);
    }
  }
  return hash;
}

std::int64_t TableBuilder::integerOf(const Index& index,
                                     const std::vector<RowValue>& values) const {
  const auto i = static_cast<std::size_t>(index.columns[0]);
  const std::uint32_t bits = values[i].integer;
  return columnTypes[i] == TslTypeSigned ? std::int64_t{static_cast<std::int32_t>(bits)}
                                         : std::int64_t{bits};
}

// The ranges tell the value of each row so far: its entry can still be made.
void TableBuilder::giveUpRanges(IndexBuilder* builder) {
  for (const CollectedRange& range : builder->ranges->ranges())
    for (std::uint32_t i = 0; i < range.count; ++i) {
      KeyHash hash;
      hash.addInteger(static_cast<std::uint32_t>(range.value + i));
      builder->entries.add(hash.value(), range.row + i);
    }
  builder->ranges.reset();
}

void TableBuilder::writeRanges(OutputFile* out, IndexBuilder* builder) {
  namespace r = layout::range;
  Index& index = builder->index;
  const std::vector<CollectedRange>& ranges = builder->ranges->ranges();
  index.form = IndexForm::ranges;
  index.rangeCount = static_cast<std::uint32_t>(ranges.size());
  index.entries = out->startSection();
  for (const CollectedRange& range : ranges) {
    unsigned char bytes[r::size];
    r::value.store(bytes + r::value.offset, static_cast<std::uint32_t>(range.value));
    r::row.store(bytes + r::row.offset, range.row);
    out->append(bytes, sizeof bytes);
  }
}

void TableBuilder::writeEntries(OutputFile* out, IndexBuilder* builder, bool* hashesMeet) {
  Index& index = builder->index;
  index.bucketBits = bucketBitsOf(rows);
  index.entries = out->startSection();
  Spool buckets(workspace);
  BucketWriter bucketWriter(&buckets, index.bucketBits);
  builder->entries.sort();
  std::uint32_t hash = 0;
  std::uint32_t row = 0;
  std::uint32_t previous = 0;
  for (bool first = true; builder->entries.next(&hash, &row); first = false) {
    if (!first && hash == previous) *hashesMeet = true;
    previous = hash;
    bucketWriter.add(hash);
    unsigned char bytes[layout::entry::size];
    layout::entry::hash.store(bytes + layout::entry::hash.offset, hash);
    layout::entry::row.store(bytes + layout::entry::row.offset, row);
    out->append(bytes, sizeof bytes);
  }
  bucketWriter.finish();
  index.buckets = out->startSection();
  SpoolReader reader(buckets);
  while (const unsigned char* const bytes = reader.take(layout::bucket::size))
    out->append(bytes, layout::bucket::size);
}

void TableBuilder::writeRows(OutputFile* out, const TableInfo& table) {
  // Without the values that a scratch file fails to give, the rows are nothing.
  for (std::uint32_t row = 0; row < rows && workspace->status() == 0; ++row) {
    for (ColumnBuilder& column : columns) column.writeEntry(out);
    out->appendZeros(table.padding);
  }
  if (!table.endsTexts) return;
  for (ColumnBuilder& column : columns) column.writeLastEntry(out);
  out->appendZeros(table.padding);
}

bool TableBuilder::write(OutputFile* out, TableInfo* table, std::vector<std::size_t>* suspects) {
  table->rowCount = rows;
  for (ColumnBuilder& column : columns) table->columns.push_back(column.choose());
  table->rows = out->startSection();
  if (!placeColumns(table)) return false;
  writeRows(out, *table);
  for (std::size_t i = 0; i < columns.size(); ++i)
    columns[i].writeSections(out, &table->columns[i]);
  columns.clear();
  for (std::size_t i = 0; i < indexes.size(); ++i) {
    IndexBuilder& builder = indexes[i];
    bool hashesMeet = false;
    if (builder.ranges && !builder.ranges->finish()) giveUpRanges(&builder);
    if (builder.ranges)
      writeRanges(out, &builder);
    else
      writeEntries(out, &builder, &hashesMeet);
    if (hashesMeet && builder.index.unique) suspects->push_back(i);
    table->indexes.push_back(std::move(builder.index));
  }
  return true;
}

}  // namespace tessel
