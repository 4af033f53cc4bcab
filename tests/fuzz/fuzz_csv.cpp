// SPDX-License-Identifier: MIT
// The CSV reader: the first byte chooses the columns' types, the rest are the
// bytes of the table. Scans, and looks up what the scan found: every record
// must be found again by its own values.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

#include "loomkit/db/csv/csv_format.h"
#include "loomkit/db/csv/csv_index.h"
#include "loomkit/db/csv/csv_line_reader.h"
#include "loomkit/db/structure.h"

namespace {

constexpr GDbFieldType kinds[] = {GDbFieldInt, GDbFieldString, GDbFieldFloat, GDbFieldUInt};

void require(bool holds) {
  if (!holds) std::abort();
}

GDbKey keyOf(const GDbRecord& record, int field) {
  switch (record.getFieldType(field)) {
    case GDbFieldInt:
      return {field, record.getIntField(field)};
    case GDbFieldUInt:
      return {field, record.getUIntField(field)};
    case GDbFieldFloat:
      return {field, record.getFloatField(field)};
    default:
      return {field, record.getStringField(field)};
  }
}

void findAgain(const GDbRecord& record, std::int64_t position) {
  for (int field = 0; field < record.getNumFields(); ++field) {
    const GDbKey key = keyOf(record, field);
    if (key.type == GDbFieldFloat && key.value.floatValue != key.value.floatValue) continue;
    loomkit::CsvIndex index({field});
    index.add(record, position);
    index.sort();
    const auto [first, last] = index.find(loomkit::csvKeyHash(&key, 1));
    require(last - first == 1 && first->position == position);
    require(loomkit::csvKeysMatch(record, &key, 1));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  GDbStructure structure;
  for (unsigned shape = data[0], i = 0; i <= (shape & 3U); ++i)
    structure.appendField(
        GDbField("f", kinds[(shape >> (2 + 2 * (i % 3))) & 3], 0, 0, false, false));
  const loomkit::CsvLayout layout(structure);
  const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  loomkit::CsvLineReader reader(std::make_unique<std::istringstream>(bytes));
  std::int64_t previous = -1;
  while (reader.read() == loomkit::CsvLineReader::Result::line) {
    require(reader.lineStart() > previous);
    previous = reader.lineStart();
    const std::string line = reader.line();
    void* block = ::operator new(layout.blockSize(line.size()));
    GDbRecord* record = nullptr;
    if (layout.parse(line.c_str(), line.size(), block, &record) != GDbNoError) {
      ::operator delete(block);
      continue;
    }
    findAgain(*record, previous);
    record->deleteRecord();
  }
  return 0;
}
