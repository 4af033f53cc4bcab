// SPDX-License-Identifier: MIT
// What the tests of the store share: tables of text, written and read.
#ifndef LOOMKIT_TESTS_TESSEL_STORE_FIXTURE_H
#define LOOMKIT_TESTS_TESSEL_STORE_FIXTURE_H

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tessel/store/layout.h"
#include "tessel/writer.h"
#include "tests/db/db_fixture.h"
#include "tests/scratch_directory.h"
#include "tests/tessel/store_sums.h"

namespace loomkit::testing {

/// A value of a row; its alternative is its type.
using Cell = std::variant<int, unsigned, double, std::string>;
using Cells = std::vector<Cell>;

/// A record of these values, owned by the set that comes back.
inline std::unique_ptr<GDbRecordSet> recordOf(const Cells& cells) {
  auto set = std::make_unique<GDbRecordSet>();
  auto* record = new GDbRecord;
  set->addRecord(record);
  for (const Cell& cell : cells) {
    if (const auto* number = std::get_if<int>(&cell)) record->addIntField(*number);
    if (const auto* number = std::get_if<unsigned>(&cell)) record->addUIntField(*number);
    if (const auto* number = std::get_if<double>(&cell)) record->addFloatField(*number);
    if (const auto* text = std::get_if<std::string>(&cell)) record->addStringField(*text);
  }
  return set;
}

/// Adds a table; the indexes are "columns", or "columns!" for a unique one.
inline GDbStatus addTable(GTesselWriter* writer, const std::string& name, GDbStructure structure,
                          const std::vector<std::string>& indexes, const std::vector<Cells>& rows) {
  for (std::string columns : indexes) {
    const bool unique = columns.back() == '!';
    if (unique) columns.pop_back();
    structure.addIndex(GDbIndex("by " + columns, columns, unique, false));
  }
  GDbStatus status = writer->beginTable(name, structure);
  for (const Cells& row : rows)
    if (status == GDbNoError) status = writer->addRecord(*recordOf(row)->getRecord(0));
  return status == GDbNoError ? writer->endTable() : status;
}

/// Writes a store of one table, "t", which must succeed.
inline void writeStore(const std::string& path, const GDbStructure& structure,
                       const std::vector<std::string>& indexes, const std::vector<Cells>& rows) {
  GTesselWriter writer(path);
  EXPECT_EQ(addTable(&writer, "t", structure, indexes, rows), GDbNoError) << writer.getErrMsg();
  EXPECT_EQ(writer.commit(), GDbNoError) << writer.getErrMsg();
}

/// A store with every storage code, every coding and indexes of each type.
inline void writeSample(const std::string& path) {
  GTesselWriter writer(path);
  writer.setPatternFields({"bits"});
  const GDbStructure all = structureOf({{"tiny", GDbFieldInt},
                                        {"id", GDbFieldInt},
                                        {"wide", GDbFieldInt},
                                        {"byte", GDbFieldUInt},
                                        {"word", GDbFieldUInt},
                                        {"large", GDbFieldUInt},
                                        {"bits", GDbFieldUInt},
                                        {"half", GDbFieldFloat},
                                        {"exact", GDbFieldFloat},
                                        {"code", GDbFieldString},
                                        {"kind", GDbFieldString},
                                        {"name", GDbFieldString}});
  std::vector<Cells> rows;
  for (int i = 0; i < 20; ++i) {
    const auto u = static_cast<unsigned>(i);
    rows.push_back({i - 10, i * 300, i * -70000, u, u * 1000, u * 200000000, ~u, i * 0.5, i / 3.0,
                    "c" + std::to_string(i % 7), std::string(i % 2 == 0 ? "an even row" : "odd"),
                    std::string(u * u / 4, 'n') + std::to_string(i)});
  }
  EXPECT_EQ(
      addTable(&writer, "all", all, {"id!", "kind", "name!", "exact", "kind,code", "bits"}, rows),
      GDbNoError)
      << writer.getErrMsg();
  EXPECT_EQ(addTable(&writer, "empty", structureOf({{"a", GDbFieldInt}, {"b", GDbFieldString}}),
                     {"a", "b"}, {}),
            GDbNoError);
  EXPECT_EQ(addTable(&writer, "one", structureOf({{"x", GDbFieldString}}), {}, {{"x"}}),
            GDbNoError);
  EXPECT_EQ(writer.commit(), GDbNoError) << writer.getErrMsg();
}

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_TESSEL_STORE_FIXTURE_H
