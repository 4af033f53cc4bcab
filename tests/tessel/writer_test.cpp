// SPDX-License-Identifier: MIT
#include "tessel/writer.h"

#include <climits>
#include <cmath>
#include <filesystem>
#include <limits>
#include <map>
#include <random>

#include "loomkit/db/catalog.h"
#include "tessel/inspector.h"
#include "tessel/store/store.h"
#include "tests/tessel/store_fixture.h"

namespace {

using namespace loomkit::testing;
using Texts = std::vector<std::string>;

// How the columns of table "t" are stored.
Texts storageOf(const std::string& path, const std::string& table = "t") {
  const DatabaseOwner database = openDb("tessel:" + path);
  GDbCatalog::Description description;
  EXPECT_EQ(GDbCatalog::describeTable(database.get(), table, &description), GDbNoError);
  Texts texts;
  for (const GDbCatalog::Column& column : description.columns) texts.push_back(column.declaredType);
  return texts;
}

Texts contentOf(const std::string& path, const std::string& table = "t") {
  const DatabaseOwner database = openDb("tessel:" + path);
  return scan(openTable(database, table).get());
}

std::string oneColumn(const std::string& path, GDbFieldType type, const std::vector<Cell>& cells) {
  std::vector<Cells> rows;
  for (const Cell& cell : cells) rows.push_back({cell});
  writeStore(path, structureOf({{"c", type}}), {}, rows);
  return storageOf(path)[0];
}

TEST(TesselWriter, StoresIntegersInTheNarrowestCode) {
  const ScratchDirectory scratch;
  const std::string path = scratch / "t.tessel";
  struct Row {
    int least;
    int most;
    const char* storage;
  };
  const Row rows[] = {{0, 0, "int8"},      {-128, 127, "int8"},        {-129, 0, "int16"},
                      {0, 128, "int16"},   {-32768, 32767, "int16"},   {-32769, 0, "int32"},
                      {0, 32768, "int32"}, {INT_MIN, INT_MAX, "int32"}};
  for (const Row& row : rows) {
    EXPECT_EQ(oneColumn(path, GDbFieldInt, {row.least, row.most}), row.storage) << row.least;
    EXPECT_EQ(contentOf(path), (Texts{std::to_string(row.least), std::to_string(row.most)}));
  }
  EXPECT_EQ(oneColumn(path, GDbFieldInt, {5000}), "int16") << "without a 0";
  EXPECT_EQ(oneColumn(path, GDbFieldUInt, {255U}), "uint8");
  EXPECT_EQ(oneColumn(path, GDbFieldUInt, {256U}), "uint16");
  EXPECT_EQ(oneColumn(path, GDbFieldUInt, {65535U}), "uint16");
  EXPECT_EQ(oneColumn(path, GDbFieldUInt, {65536U, 1U}), "uint32");
  EXPECT_EQ(contentOf(path), (Texts{"65536", "1"}));
}

TEST(TesselWriter, StoresNumbersAsFloatsWhenNothingIsLost) {
  const ScratchDirectory scratch;
  const std::string path = scratch / "t.tessel";
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(oneColumn(path, GDbFieldFloat, {0.5, -0.0, 1e10, infinity, -infinity}), "float");
  EXPECT_EQ(oneColumn(path, GDbFieldFloat, {0.5, 0.1}), "double");
  EXPECT_EQ(oneColumn(path, GDbFieldFloat, {1e300}), "double");
  EXPECT_EQ(oneColumn(path, GDbFieldFloat, {16777217.0}), "double");
  EXPECT_EQ(oneColumn(path, GDbFieldFloat, {1e-40, std::ldexp(1.0, -149)}), "double")
      << "1e-40 is no float, though near one";
  EXPECT_EQ(oneColumn(path, GDbFieldFloat, {std::ldexp(1.0, -149)}), "float");
  EXPECT_EQ(oneColumn(path, GDbFieldFloat, {std::nan("7")}), "double");
}

TEST(TesselWriter, KeepsEveryBitOfANumberOfSqlite) {
  const ScratchDirectory scratch;
  const std::string path = scratch / "t.tessel";
  std::mt19937_64 random(3);
  std::vector<Cell> cells;
  for (int i = 0; i < 5000; ++i) {
    const std::uint64_t bits = random();
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    cells.emplace_back(value);
  }
  oneColumn(path, GDbFieldFloat, cells);
  const DatabaseOwner database = openDb("tessel:" + path);
  const TableOwner table = openTable(database, "t");
  GDbRecordSet set;
  ASSERT_EQ(table->getFirstRecord(&set), GDbNoError);
  for (std::size_t i = 1; i < cells.size(); ++i) ASSERT_EQ(table->getNextRecord(&set), GDbNoError);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const double value = set.getRecord(static_cast<unsigned>(i))->getFloatField(0);
    ASSERT_EQ(std::memcmp(&value, &std::get<double>(cells[i]), sizeof value), 0) << i;
  }
}

TEST(TesselWriter, StoresTextsInTheSmallestForm) {
  const ScratchDirectory scratch;
  const std::string path = scratch / "t.tessel";
  std::vector<Cell> same;
  std::vector<Cell> equallyLong;
  std::vector<Cell> different;
  for (int i = 0; i < 1000; ++i) {
    same.emplace_back(i % 2 == 0 ? std::string("a long text that comes often") : std::string("x"));
    equallyLong.emplace_back("key " + std::to_string(1000 + i));
    different.emplace_back(std::string(static_cast<std::size_t>(i % 90), 'd') + std::to_string(i));
  }
  EXPECT_EQ(oneColumn(path, GDbFieldString, same), "text in a dictionary");
  EXPECT_EQ(contentOf(path)[998], "a long text that comes often");
  EXPECT_EQ(oneColumn(path, GDbFieldString, equallyLong), "fixed text");
  EXPECT_EQ(contentOf(path)[999], "key 1999");
  EXPECT_EQ(oneColumn(path, GDbFieldString, different), "text");
  EXPECT_EQ(contentOf(path)[999], std::get<std::string>(different[999]));
  EXPECT_EQ(oneColumn(path, GDbFieldString, {std::string(), std::string()}), "fixed text");
  EXPECT_EQ(contentOf(path), (Texts{"", ""}));
}

TEST(TesselWriter, LongTextsStandBesideTheRowsEvenWhenThereIsOneRow) {
  const ScratchDirectory scratch;
  for (const std::size_t size : {65535U, 65536U}) {
    const std::string path = scratch / (std::to_string(size) + ".tessel");
    const std::string text(size, 't');
    EXPECT_EQ(oneColumn(path, GDbFieldString, {text}), size < 65536 ? "fixed text" : "text");
    EXPECT_EQ(contentOf(path), Texts{text});
  }
}

// Rows of an odd width end at every place of a block, so that each kind of entry lies
// across the border of two somewhere.
TEST(TesselWriter, RowsMayLieAcrossBlocks) {
  const ScratchDirectory scratch;
  std::vector<Cells> rows;
  Texts expected;
  for (int i = 0; i < 3000; ++i) {
    const std::string name =
        std::string(static_cast<std::size_t>(i * 7 % 90), 'n') + std::to_string(i);
    const std::string code = "c" + std::to_string(i);
    const std::string kind = "a kind of row, number " + std::to_string(i % 600);
    rows.push_back({i % 100, i * 700000, i % 40 * 800, i + 0.1, name, code, kind});
    expected.push_back(std::to_string(i % 100) + "|" + std::to_string(i * 700000) + "|" +
                       std::to_string(i % 40 * 800) + "|" + std::to_string(i) + ".1|" + name + "|" +
                       code + "|" + kind);
  }
  const GDbStructure structure = structureOf({{"byte", GDbFieldInt},
                                              {"number", GDbFieldInt},
                                              {"word", GDbFieldInt},
                                              {"exact", GDbFieldFloat},
                                              {"name", GDbFieldString},
                                              {"code", GDbFieldString},
                                              {"kind", GDbFieldString}});
  const std::string path = scratch / "t.tessel";
  writeStore(path, structure, {"number!", "exact"}, rows);
  EXPECT_EQ(storageOf(path), (Texts{"int8", "int32", "int16", "double", "text", "fixed text",
                                    "text in a dictionary"}));
  EXPECT_EQ(contentOf(path), expected);
  GTesselInspector inspector;
  ASSERT_EQ(inspector.open(path), GDbNoError);
  EXPECT_EQ(inspector.check(), GDbNoError) << inspector.getErrMsg();
  const DatabaseOwner database = openDb("tessel:" + path);
  const TableOwner table = openTable(database, "t");
  for (int i = 0; i < 3000; i += 7) {
    GDbRecordSet set;
    ASSERT_EQ(table->lookupKey(GDbKey(1, i * 700000), &set), GDbNoError);
    ASSERT_EQ(textsOf(set), Texts{expected[static_cast<std::size_t>(i)]});
  }
}

TEST(TesselWriter, RowsThatNearlyFillACacheLineArePadded) {
  const ScratchDirectory scratch;
  const std::string path = scratch / "t.tessel";
  for (const auto& [width, padded] :
       {std::pair(16U, 16U), std::pair(28U, 28U), std::pair(29U, 32U), std::pair(31U, 32U),
        std::pair(32U, 32U), std::pair(33U, 33U), std::pair(56U, 56U), std::pair(57U, 64U),
        std::pair(63U, 64U), std::pair(64U, 64U), std::pair(65U, 65U), std::pair(127U, 127U)}) {
    // A text in a heap takes four bytes of a row, and a fixed one has a NUL.
    std::vector<Cells> rows;
    Texts expected;
    for (std::size_t i = 0; i < 600; ++i) {
      const std::string fixed(width - 5, static_cast<char>('a' + i % 26));
      const std::string loose = std::string(i % 80, 'n') + std::to_string(i);
      const std::string number = std::to_string(i);
      rows.push_back({fixed.substr(number.size()) + number, loose});
      expected.push_back(fixed.substr(number.size()) + number + "|" + loose);
    }
    writeStore(path, structureOf({{"fixed", GDbFieldString}, {"loose", GDbFieldString}}), {}, rows);
    tessel::Store store;
    ASSERT_EQ(store.open(path), tessel::Error::none);
    EXPECT_EQ(store.tables()[0].rowWidth, padded) << width;
    EXPECT_EQ(contentOf(path), expected) << width;
  }
}

TEST(TesselWriter, ADictionaryMayHaveMoreTextsThanAByteCanTell) {
  const ScratchDirectory scratch;
  const std::string path = scratch / "t.tessel";
  for (const int count : {256, 257, 3000}) {
    std::vector<Cell> cells;
    for (int i = 0; i < count * 4; ++i)
      cells.emplace_back(std::string(static_cast<std::size_t>(20 + i % count % 30), 't') +
                         std::to_string(i % count));
    EXPECT_EQ(oneColumn(path, GDbFieldString, cells), "text in a dictionary");
    const Texts content = contentOf(path);
    for (std::size_t i = 0; i < cells.size(); ++i)
      ASSERT_EQ(content[i], std::get<std::string>(cells[i]));
  }
}

TEST(TesselWriter, TheSameTablesGiveTheSameBytesWhateverMemoryThereIs) {
  const ScratchDirectory scratch;
  std::mt19937 random(5);
  std::vector<Cells> rows;
  for (int i = 0; i < 30000; ++i)
    rows.push_back(
        {static_cast<int>(random()), static_cast<double>(random()),
         std::string(static_cast<std::size_t>(random() % 60), 'a') + std::to_string(random()),
         "kind " + std::to_string(random() % 9)});
  const GDbStructure structure = structureOf(
      {{"a", GDbFieldInt}, {"b", GDbFieldFloat}, {"c", GDbFieldString}, {"d", GDbFieldString}});
  std::string first;
  for (const std::size_t memory : {std::size_t{0}, std::size_t{300000}, std::size_t{1} << 30}) {
    GTesselWriter writer(scratch / "t.tessel", memory);
    ASSERT_EQ(addTable(&writer, "t", structure, {"a", "c!", "d,b"}, rows), GDbNoError);
    ASSERT_EQ(addTable(&writer, "again", structure, {"d"}, rows), GDbNoError);
    ASSERT_EQ(writer.commit(), GDbNoError) << writer.getErrMsg();
    const std::string bytes = scratch.read("t.tessel");
    if (first.empty()) first = bytes;
    EXPECT_TRUE(bytes == first) << memory;
  }
  EXPECT_EQ(contentOf(scratch / "t").size(), 30000U);
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(scratch.path()))
    if (entry.exists()) ++files;
  EXPECT_EQ(files, 1U) << "nothing is left beside the store";
}

TEST(TesselWriter, MakesTheIndexesThatAStructureAsksFor) {
  const ScratchDirectory scratch;
  const std::string path = scratch / "t.tessel";
  GDbStructure structure;
  structure.appendField(field("a", GDbFieldInt, true));
  structure.appendField(field("b", GDbFieldInt, true, true));
  structure.appendField(field("c", GDbFieldString, false, true));
  structure.appendField(field("d,e", GDbFieldInt));
  structure.addIndex(GDbIndex("", "c", true, true));
  structure.addIndex(GDbIndex("with a comma", "d,e", false, false));
  writeStore(path, structure, {}, {{1, 2, "x", 3}, {1, 3, "y", 4}});
  const DatabaseOwner database = openDb("tessel:" + path);
  const TableOwner table = openTable(database, "t");
  GDbStructure* found = nullptr;
  ASSERT_EQ(table->getStructure(&found), GDbNoError);
  const std::unique_ptr<GDbStructure> owner(found);
  Texts indexes;
  for (const GDbIndex& index : found->getIndices())
    indexes.push_back(index.getName() + " " + index.getColumns() + (index.isUnique() ? "!" : ""));
  EXPECT_EQ(indexes, (Texts{"c c!", "with a comma d,e", "a,b a,b!", "b b"}));
  GDbRecordSet set;
  EXPECT_EQ(table->lookupKey(GDbKey(3, 4), &set), GDbNoError);
  EXPECT_EQ(textsOf(set), Texts{"1|3|y|4"});
}

TEST(TesselWriter, CopiesAnyTable) {
  const ScratchDirectory scratch;
  scratch.write("p.csv", "1;0.5;\"one\"\n2;1.5;\"two\"\n");
  const DatabaseOwner csv = openDb("csv:" + scratch.path());
  const GDbStructure structure =
      structureOf({{"id", GDbFieldInt}, {"price", GDbFieldFloat}, {"name", GDbFieldString}});
  const TableOwner table = openTable(csv, "p", &structure);
  GTesselWriter writer(scratch / "t.tessel");
  EXPECT_EQ(writer.addTable("first", table.get()), GDbNoError);
  GDbStructure indexed = structure;
  indexed.addIndex(GDbIndex("i", "name", true, false));
  EXPECT_EQ(writer.addTable("second", table.get(), &indexed), GDbNoError);
  EXPECT_EQ(writer.commit(), GDbNoError);
  EXPECT_EQ(writer.getErrMsg(), "");
  EXPECT_EQ(contentOf(scratch / "t", "first"), (Texts{"1|0.5|one", "2|1.5|two"}));
  const DatabaseOwner store = openDb("tessel:" + scratch / "t");
  GDbRecordSet set;
  EXPECT_EQ(openTable(store, "second")->lookupKey(GDbKey(2, "two"), &set), GDbNoError);
  EXPECT_EQ(set.getNumRecords(), 1U);
  // And once more, from store to store.
  GTesselWriter copy(scratch / "copy.tessel");
  const TableOwner second = openTable(store, "second");
  EXPECT_EQ(copy.addTable("first", openTable(store, "first").get()), GDbNoError);
  EXPECT_EQ(copy.addTable("second", second.get()), GDbNoError);
  EXPECT_EQ(copy.commit(), GDbNoError);
  EXPECT_TRUE(scratch.read("copy.tessel") == scratch.read("t.tessel"));
}

TEST(TesselWriter, WritesWhatStandsInThePlaceOfANullOfSqlite) {
  const ScratchDirectory scratch;
  const DatabaseOwner sqlite = openDb("sqlite3:" + scratch / "n.db?create");
  const GDbStructure structure = structureOf({{"id", GDbFieldInt}, {"name", GDbFieldString}});
  GDbTable* made = nullptr;
  ASSERT_EQ(sqlite->createTable("t", &structure, &made), GDbNoError);
  const TableOwner table(made);
  GSqlQuery query(sqlOf(sqlite), "INSERT INTO t VALUES (NULL, NULL);");
  EXPECT_EQ(query.exec(), GDbNoError);
  GTesselWriter writer(scratch / "t.tessel");
  EXPECT_EQ(writer.addTable("t", table.get()), GDbNoError) << writer.getErrMsg();
  EXPECT_EQ(writer.commit(), GDbNoError);
  EXPECT_EQ(contentOf(scratch / "t"), Texts{"0|"});
}

// Each refusal, its status and its words.
TEST(TesselWriter, RefusesWhatItCannotWrite) {
  const ScratchDirectory scratch;
  const std::string path = scratch.write("t.tessel", "what was there");
  const GDbStructure good = structureOf({{"a", GDbFieldInt}, {"b", GDbFieldString}});
  GDbStructure unknownColumn = good;
  unknownColumn.addIndex(GDbIndex("i", "a,nosuch", false, false));
  GDbStructure doubleColumn = good;
  doubleColumn.addIndex(GDbIndex("i", "a,a", false, false));
  GDbStructure emptyIndex = good;
  emptyIndex.addIndex(GDbIndex("i", "", false, false));
  struct Row {
    const char* name;
    GDbStructure structure;
    std::vector<Cells> rows;
    GDbStatus status;
    const char* words;
  };
  const Row rows[] = {
      {"", good, {}, GDbInvalidTableName, ": '' is no name of a table"},
      {"t", GDbStructure(), {}, GDbInvalidArgument, ": t: no fields"},
      {"t",
       structureOf({{"", GDbFieldInt}}),
       {},
       GDbInvalidFieldName,
       ": t.: no name for a field, or not the only one"},
      {"t",
       structureOf({{"a", GDbFieldInt}, {"a", GDbFieldInt}}),
       {},
       GDbInvalidFieldName,
       ": t.a: no name for a field, or not the only one"},
      {"t",
       structureOf({{"a", GDbFieldBlob}}),
       {},
       GDbInvalidFieldType,
       ": t.a: neither a number nor a text"},
      {"t",
       structureOf({{"a", GDbFieldNone}}),
       {},
       GDbInvalidFieldType,
       ": t.a: neither a number nor a text"},
      {"t", unknownColumn, {}, GDbInvalidFieldName, ": index on a,nosuch: no field 'nosuch'"},
      {"t", doubleColumn, {}, GDbInvalidFieldName, ": index on a,a: a is there twice"},
      {"t", emptyIndex, {}, GDbInvalidFieldName, ": index on : no field ''"},
      {"t", good, {{1, "x"}, {2}}, GDbFieldCountMismatch, ": row 1: another number of fields"},
      {"t", good, {{1U, "x"}}, GDbFieldTypeMismatch, ": row 0, field 0: another type"},
      {"t", good, {{1, 1.5}}, GDbFieldTypeMismatch, ": row 0, field 1: another type"},
  };
  for (const Row& row : rows) {
    GTesselWriter writer(path);
    EXPECT_EQ(addTable(&writer, row.name, row.structure, {}, row.rows), row.status) << row.words;
    EXPECT_EQ(writer.getErrMsg(), path + row.words);
    EXPECT_EQ(writer.beginTable("u", good), row.status) << "the first failure stays";
    EXPECT_EQ(writer.commit(), row.status);
    EXPECT_EQ(scratch.read("t.tessel"), "what was there");
  }
}

TEST(TesselWriter, RefusesCallsOutOfTurn) {
  const ScratchDirectory scratch;
  const GDbStructure good = structureOf({{"a", GDbFieldInt}});
  const auto record = recordOf({1});
  {
    GTesselWriter writer(scratch / "t.tessel");
    EXPECT_EQ(writer.addRecord(*record->getRecord(0)), GDbInvalidState);
  }
  {
    GTesselWriter writer(scratch / "t.tessel");
    EXPECT_EQ(writer.endTable(), GDbInvalidState);
  }
  {
    GTesselWriter writer(scratch / "t.tessel");
    EXPECT_EQ(writer.beginTable("t", good), GDbNoError);
    EXPECT_EQ(writer.beginTable("u", good), GDbInvalidState);
  }
  {
    GTesselWriter writer(scratch / "t.tessel");
    EXPECT_EQ(writer.beginTable("t", good), GDbNoError);
    EXPECT_EQ(writer.commit(), GDbInvalidState) << "the table has not ended";
  }
  {
    GTesselWriter writer(scratch / "t.tessel");
    EXPECT_EQ(addTable(&writer, "t", good, {}, {}), GDbNoError);
    EXPECT_EQ(addTable(&writer, "t", good, {}, {}), GDbTableExists);
  }
  EXPECT_FALSE(std::filesystem::exists(scratch / "t.tessel"));
  GTesselWriter writer(scratch / "t.tessel");
  EXPECT_EQ(writer.commit(), GDbNoError) << "a store without tables";
  EXPECT_EQ(writer.commit(), GDbInvalidState);
  std::vector<GDbCatalog::Table> tables;
  EXPECT_EQ(GDbCatalog::listTables(openDb("tessel:" + scratch / "t").get(), &tables), GDbNoError);
  EXPECT_TRUE(tables.empty());
}

TEST(TesselWriter, PatternsAreMadeOnlyWhereTheyAreAskedFor) {
  const ScratchDirectory scratch;
  const std::string path = scratch / "t.tessel";
  const GDbStructure structure = structureOf({{"a", GDbFieldInt}, {"b", GDbFieldUInt}});
  {
    GTesselWriter writer(path);
    writer.setPatternFields({"a", "b"});
    EXPECT_EQ(addTable(&writer, "t", structure, {"a"}, {{-1, 7U}}), GDbNoError);
    EXPECT_EQ(addTable(&writer, "u", structure, {}, {{-1, 7U}}), GDbNoError) << "the next is plain";
    EXPECT_EQ(writer.commit(), GDbNoError);
  }
  EXPECT_EQ(storageOf(path), (Texts{"pattern of 32 bits", "pattern of 32 bits"}));
  EXPECT_EQ(storageOf(path, "u"), (Texts{"int8", "uint8"}));
  EXPECT_EQ(contentOf(path), Texts{"4294967295|7"});
  GTesselWriter unknown(path);
  unknown.setPatternFields({"x"});
  EXPECT_EQ(unknown.beginTable("t", structure), GDbInvalidFieldName);
  GTesselWriter text(path);
  text.setPatternFields({"a"});
  EXPECT_EQ(text.beginTable("t", structureOf({{"a", GDbFieldString}})), GDbInvalidFieldType);
}

TEST(TesselWriter, RefusesTwoRowsOfTheSameUniqueKey) {
  const ScratchDirectory scratch;
  const std::string path = scratch.write("t.tessel", "what was there");
  const GDbStructure structure = structureOf(
      {{"a", GDbFieldInt}, {"b", GDbFieldString}, {"c", GDbFieldFloat}, {"d", GDbFieldUInt}});
  const std::vector<Cells> rows = {
      {1, "x", 0.0, 4U}, {2, "y", -0.0, 4U}, {1, "y", 1.5, 6U}, {2, "x", 2.5, 6U}};
  struct Row {
    const char* index;
    const char* twins;
    const char* otherTwins;  // which of two pairs is found is the hashes' affair
  };
  for (const Row& row : {Row{"a!", "1 and 3", "2 and 4"}, Row{"b!", "1 and 4", "2 and 3"},
                         Row{"c!", "1 and 2", ""}, Row{"d!", "1 and 2", "3 and 4"},
                         Row{"a,d!", "", ""}, Row{"a,b!", "", ""}, Row{"b,c!", "", ""}}) {
    const bool unique = *row.twins == '\0';
    GTesselWriter writer(path);
    EXPECT_EQ(addTable(&writer, "t", structure, {row.index}, rows), GDbNoError);
    EXPECT_EQ(writer.commit(), unique ? GDbNoError : GDbNonUniqueKey) << row.index;
    if (unique) {
      scratch.write("t.tessel", "what was there");
    } else {
      EXPECT_EQ(scratch.read("t.tessel"), "what was there");
      std::string columns = row.index;
      columns.pop_back();
      const auto words = [&](const std::string& twins) {
        return path + ": t: records " + twins + " have the same key in the unique index by " +
               columns;
      };
      EXPECT_TRUE(writer.getErrMsg() == words(row.twins) ||
                  writer.getErrMsg() == words(row.otherTwins))
          << writer.getErrMsg();
    }
  }
}

// Among so many texts some have the same hash and are not the same.
TEST(TesselWriter, TextsOfTheSameHashAreNotTheSameKey) {
  const ScratchDirectory scratch;
  const std::string path = scratch / "t.tessel";
  std::vector<Cells> rows;
  std::map<std::uint32_t, std::string> seen;
  std::string first;
  std::string second;
  for (int i = 0; second.empty(); ++i) {
    const std::string text = std::to_string(i * 7919LL) + "/" + std::to_string(i % 13);
    const std::uint32_t hash = tessel::crc32c(0, text.c_str(), text.size() + 1);
    const auto [place, isNew] = seen.emplace(hash, text);
    if (!isNew) {
      first = place->second;
      second = text;
    }
  }
  ASSERT_NE(first, second);
  writeStore(path, structureOf({{"a", GDbFieldString}}), {"a!"}, {{first}, {"between"}, {second}});
  const DatabaseOwner database = openDb("tessel:" + path);
  const TableOwner table = openTable(database, "t");
  for (const std::string& text : {first, second}) {
    GDbRecordSet set;
    EXPECT_EQ(table->lookupKey(GDbKey(0, text.c_str()), &set), GDbNoError);
    EXPECT_EQ(textsOf(set), Texts{text});
  }
  GTesselWriter writer(path);
  EXPECT_EQ(addTable(&writer, "t", structureOf({{"a", GDbFieldString}}), {"a!"},
                     {{first}, {second}, {first}}),
            GDbNoError);
  EXPECT_EQ(writer.commit(), GDbNonUniqueKey);
}

TEST(TesselWriter, SaysWhyAFileCannotBeMade) {
  GTesselWriter writer("/no/such/directory/t.tessel");
  EXPECT_EQ(writer.beginTable("t", structureOf({{"a", GDbFieldInt}})), GDbIoError);
  EXPECT_EQ(writer.getErrMsg(), "/no/such/directory/t.tessel: No such file or directory");
  EXPECT_EQ(writer.commit(), GDbIoError);
}

TEST(TesselWriter, GivesUpWhatIsNotCommitted) {
  const ScratchDirectory scratch;
  {
    GTesselWriter writer(scratch / "t.tessel");
    EXPECT_EQ(addTable(&writer, "t", structureOf({{"a", GDbFieldInt}}), {}, {{1}}), GDbNoError);
  }
  EXPECT_TRUE(std::filesystem::is_empty(scratch.path()));
}

TEST(TesselWriter, AFailingSourceFailsTheStore) {
  const ScratchDirectory scratch;
  scratch.write("p.csv", "1\nx\n");
  const DatabaseOwner csv = openDb("csv:" + scratch.path());
  const GDbStructure structure = structureOf({{"id", GDbFieldInt}});
  const TableOwner table = openTable(csv, "p", &structure);
  GTesselWriter writer(scratch / "t.tessel");
  EXPECT_EQ(writer.addTable("t", table.get()), GDbFieldTypeMismatch);
  EXPECT_EQ(writer.getErrMsg(), scratch / "t.tessel" + ": t: field type mismatch");
  EXPECT_NE(writer.commit(), GDbNoError);
}

}  // namespace
