// SPDX-License-Identifier: MIT
// The backends over which conformance_test.cpp runs. To add one, write a struct
// as below, with its traits and with open(), and put it into `Backends` at the
// end of this file: nothing else is to be changed.
#ifndef LOOMKIT_TESTS_DB_CONFORMANCE_BACKENDS_H
#define LOOMKIT_TESTS_DB_CONFORMANCE_BACKENDS_H

#include "tessel/writer.h"
#include "tests/db/db_fixture.h"

namespace loomkit::testing {

/// In what a backend may differ from the others.
struct Traits {
  const char* name;                ///< in the names of the tests
  bool inserts = false;            ///< insertRecords() and deleteKeys()
  bool createsTables = false;      ///< createTable() and deleteTable()
  bool transactions = false;       ///< the database has a handler
  bool scanReplaces = false;       ///< getNextRecord() clears the set first
  bool closesTables = true;        ///< closeDatabase() closes them
  bool ignoresFieldCase = false;   ///< getFieldId() finds a name in other letter case
  bool upperCasesNames = false;    ///< of tables and fields, as they are given out
  bool needsStructure = false;     ///< openTable() refuses null
  bool infersColumns = false;      ///< the catalog finds columns out from the data
  bool convertsEncodings = false;  ///< setEncoding() does something
};

/// The table "parts" that each backend holds.
struct Part {
  int id;
  double price;
  const char* name;
};
inline constexpr Part parts[] = {
    {1, 0.5, "one"}, {2, 1.25, "two"}, {-3, -8.0, "one"}, {4, 0.0, ""}};

/// Its structure. It has widths and an index for each lookup of the tests, for
/// backends that need them.
inline GDbStructure partsStructure() {
  GDbStructure structure;
  structure.appendField(GDbField("id", GDbFieldInt, 11, 0, false, false));
  structure.appendField(GDbField("price", GDbFieldFloat, 12, 3, false, false));
  structure.appendField(GDbField("name", GDbFieldString, 20, 0, false, false));
  for (const char* columns : {"id", "price", "name", "name,id"}) {
    std::string indexName = "by_" + std::string(columns);
    if (const auto comma = indexName.find(','); comma != std::string::npos) indexName[comma] = '_';
    structure.addIndex(GDbIndex(indexName, columns, false, false));
  }
  return structure;
}

inline void addPart(GDbRecordSet* set, const Part& part) {
  auto* record = new GDbRecord;
  record->addIntField(part.id);
  record->addFloatField(part.price);
  record->addStringField(part.name);
  set->addRecord(record);
}

/// Makes the table in a database that creates tables.
inline void createParts(GDbDatabase* database) {
  const GDbStructure structure = partsStructure();
  GDbTable* made = nullptr;
  ASSERT_EQ(database->createTable("parts", &structure, &made), GDbNoError);
  const TableOwner table(made);
  GDbRecordSet set;
  for (const Part& part : parts) addPart(&set, part);
  ASSERT_EQ(table->insertRecords(set), GDbNoError);
}

// A backend: its traits, and open(), which gives a database in `dir` that holds
// the table "parts".

struct Csv {
  static constexpr Traits traits = {
      .name = "Csv", .closesTables = false, .needsStructure = true, .infersColumns = true};

  static DatabaseOwner open(const ScratchDirectory& dir) {
    std::string bytes;
    for (const Part& part : parts) {
      GOStrStream line;
      line << part.id << ';' << part.price << ";\"" << part.name << "\"\n";
      bytes += line.str();
    }
    dir.write("parts.csv", bytes);
    return openDb("csv:" + dir.path());
  }
};

struct Sqlite {
  static constexpr Traits traits = {.name = "Sqlite",
                                    .inserts = true,
                                    .createsTables = true,
                                    .transactions = true,
                                    .scanReplaces = true};

  // What sql_suite.h asks of an SQL driver: how it describes INTEGER, BIGINT,
  // VARCHAR(20) and an integer expression, and what a type of bytes is called.
  static constexpr const char* declaredTypes[] = {"INTEGER", "BIGINT", "VARCHAR(20)", ""};
  static constexpr GDbFieldType columnTypes[] = {GDbFieldInt, GDbFieldInt, GDbFieldString,
                                                 GDbFieldNone};
  static constexpr const char* blobType = "BLOB";

  static DatabaseOwner open(const ScratchDirectory& dir) {
    DatabaseOwner database = openDb("sqlite3:" + dir / "parts.db");
    createParts(database.get());
    return database;
  }
};

struct XBase {
  static constexpr Traits traits = {.name = "XBase",
                                    .inserts = true,
                                    .createsTables = true,
                                    .ignoresFieldCase = true,
                                    .upperCasesNames = true,
                                    .needsStructure = true,
                                    .convertsEncodings = true};

  static DatabaseOwner open(const ScratchDirectory& dir) {
    DatabaseOwner database = openDb("xbase:" + dir.path());
    createParts(database.get());
    return database;
  }
};

struct Tessel {
  static constexpr Traits traits = {.name = "Tessel", .ignoresFieldCase = true};

  static DatabaseOwner open(const ScratchDirectory& dir) {
    GTesselWriter writer(dir / "parts.tessel");
    GDbRecordSet set;
    for (const Part& part : parts) addPart(&set, part);
    EXPECT_EQ(writer.beginTable("parts", partsStructure()), GDbNoError);
    for (unsigned i = 0; i < set.getNumRecords(); ++i)
      EXPECT_EQ(writer.addRecord(*set.getRecord(i)), GDbNoError);
    EXPECT_EQ(writer.endTable(), GDbNoError);
    EXPECT_EQ(writer.commit(), GDbNoError) << writer.getErrMsg();
    return openDb("tessel:" + dir / "parts");
  }
};

/// Every backend.
using Backends = ::testing::Types<Csv, Sqlite, XBase, Tessel>;
/// Those that execute SQL.
using SqlBackends = ::testing::Types<Sqlite>;

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_DB_CONFORMANCE_BACKENDS_H
