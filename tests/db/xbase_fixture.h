// SPDX-License-Identifier: MIT
// What the tests of the xBase backend share.
#ifndef LOOMKIT_TESTS_DB_XBASE_FIXTURE_H
#define LOOMKIT_TESTS_DB_XBASE_FIXTURE_H

#include "tests/db/db_fixture.h"

namespace loomkit::testing {

/// A field of a table to be made.
inline GDbField column(const std::string& name, GDbFieldType type, int width = 8,
                       int decimals = 0) {
  return {name, type, width, decimals, false, false};
}

/// A descriptor of a table file.
inline std::string descriptor(const std::string& name, char type, unsigned width,
                              unsigned high = 0) {
  std::string bytes(32, '\0');
  bytes.replace(0, name.size(), name);
  bytes[11] = type;
  bytes[16] = static_cast<char>(width);
  bytes[17] = static_cast<char>(high);
  return bytes;
}

/// A table file of these descriptors and records.
inline std::string tableFile(const std::vector<std::string>& descriptors, std::size_t recordLength,
                             const std::vector<std::string>& records) {
  std::string bytes(32, '\0');
  bytes[0] = 3;
  bytes[4] = static_cast<char>(records.size());
  const std::size_t headerLength = 33 + 32 * descriptors.size();
  bytes[8] = static_cast<char>(headerLength);
  bytes[9] = static_cast<char>(headerLength >> 8);
  bytes[10] = static_cast<char>(recordLength);
  for (const std::string& each : descriptors) bytes += each;
  bytes += '\r';
  for (const std::string& record : records) bytes += record;
  return bytes + '\x1a';
}

/// A database of a directory of its own, and the structure of tables in it.
class XBaseBackend : public ::testing::Test {
 protected:
  using Texts = std::vector<std::string>;

  XBaseBackend() {
    structure.appendField(column("num", GDbFieldInt));
    structure.appendField(column("price", GDbFieldFloat, 10, 2));
    structure.appendField(column("name", GDbFieldString, 6));
    structure.addIndex(GDbIndex("by_num", "num", false, false));
    structure.addIndex(GDbIndex("by_name", "name", false, false));
    structure.addIndex(GDbIndex("by_both", "name,num", false, true));
    database = open();
  }

  DatabaseOwner open() { return openDb("xbase:" + dir.path()); }

  GDbStatus tryOpen(const std::string& name, const GDbStructure& wanted,
                    TableOwner* table = nullptr) {
    GDbTable* opened = nullptr;
    const GDbStatus status = database->openTable(name, &wanted, &opened);
    TableOwner owner(opened);
    if (table != nullptr) *table = std::move(owner);
    return status;
  }
  TableOwner create(const std::string& name) {
    GDbTable* made = nullptr;
    EXPECT_EQ(database->createTable(name, &structure, &made), GDbNoError);
    return TableOwner(made);
  }
  static GDbStatus insert(GDbTable* table, int num, double price, const std::string& name) {
    GDbRecordSet set;
    auto* record = new GDbRecord;
    record->addIntField(num);
    record->addFloatField(price);
    record->addStringField(name);
    set.addRecord(record);
    return table->insertRecords(set);
  }
  static Texts lookup(GDbTable* table, const std::vector<GDbKey>& keys,
                      GDbStatus expected = GDbNoError) {
    GDbRecordSet set;
    EXPECT_EQ(table->lookupKeys(keys.data(), static_cast<int>(keys.size()), &set), expected);
    return textsOf(set);
  }
  // A table of one field of each letter, and three records.
  void writeLetters() {
    dir.write("LETTERS.DBF",
              tableFile({descriptor("TEXT", 'C', 5), descriptor("DAY", 'D', 8),
                         descriptor("WHOLE", 'N', 5), descriptor("PART", 'F', 7, 2),
                         descriptor("FLAG", 'L', 1)},
                        27,
                        {" abc  19950726   42   1.50T", "*gone 19950727    1   0.00F",
                         std::string(" \0b\0  2020       -7*******?", 27)}));
    database = nullptr;
    database = open();
  }

  ScratchDirectory dir;
  GDbStructure structure;
  DatabaseOwner database;
};

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_DB_XBASE_FIXTURE_H
