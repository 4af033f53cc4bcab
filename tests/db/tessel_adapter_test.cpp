// SPDX-License-Identifier: MIT
// The table-store backend over a store that does what it is told: which calls
// are made, how each error is translated, and that all is given back.
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>

#include "loomkit/db/tessel/tessel_database.h"
#include "tests/db/db_fixture.h"
#include "tests/db/tessel_mock.h"

namespace {

using namespace loomkit::testing;
using Texts = std::vector<std::string>;

// A status by the number of the store's error.
struct Mapping {
  int error;
  GDbStatus status;
};

TslValue signedValue(int value, int type = TslTypeSigned) {
  TslValue made{type, 0, {}};
  made.value.signedValue = value;
  return made;
}
TslValue unsignedValue(unsigned value, int type = TslTypeUnsigned) {
  TslValue made{type, 0, {}};
  made.value.unsignedValue = value;
  return made;
}
TslValue floatingValue(double value) {
  TslValue made{TslTypeFloating, 0, {}};
  made.value.floatingValue = value;
  return made;
}
TslValue textValue(const char* value) {
  TslValue made{TslTypeText, 0, {}};
  made.value.textValue = value;
  return made;
}

TslField fieldEntry(const char* name, int type, int storage, bool indexed = false, int length = 0) {
  return {name, storage, type, length, 0, 0, indexed ? 1 : 0};
}

class TesselAdapter : public ::testing::Test {
 protected:
  TesselAdapter() {
    mock = TesselMock();
    mock.fields = {fieldEntry("id", TslTypeSigned, TslStorageInt32, true),
                   fieldEntry("price", TslTypeFloating, TslStorageDouble),
                   fieldEntry("Name", TslTypeText, TslStorageText, true),
                   fieldEntry("bits", TslTypePattern, TslStorageUInt32)};
  }
  ~TesselAdapter() override { EXPECT_TRUE(mock.isClean()); }

  static GDbStatus open(const char* locator, DatabaseOwner* database) {
    GDbDatabase* opened = nullptr;
    const GDbStatus status = GDbDatabase::openDatabase(locator, &opened);
    database->reset(opened);
    return status;
  }
  static GDbStatus statusOfOpening(const GDbStructure* structure) {
    const DatabaseOwner database = openDb("tessel:t");
    GDbTable* opened = nullptr;
    const GDbStatus status = database->openTable("t", structure, &opened);
    EXPECT_EQ(opened != nullptr, status == GDbNoError);
    delete opened;
    return status;
  }
  // The statuses of a piece of work on an open table, for errors 0 to 13 of a call.
  template <class Work>
  static void expectMapping(const std::string& call, const std::vector<Mapping>& mappings,
                            Work work) {
    for (int error = 1; error <= 13; ++error) {
      GDbStatus expected = GDbUnknownError;
      for (const Mapping& mapping : mappings)
        if (mapping.error == error) expected = mapping.status;
      const DatabaseOwner database = openDb("tessel:t");
      const TableOwner table = openTable(database, "t");
      mock.failures[call].push_back(error);
      EXPECT_EQ(work(table.get()), expected) << call << ", error " << error;
      mock.failures.clear();
      EXPECT_EQ(mock.liveDescrs + mock.liveResults, 0);
    }
  }
};

// --- opening a database ---

TEST_F(TesselAdapter, TriesThePathAndThenTheSuffix) {
  mock.failures["open_database"] = {1};
  DatabaseOwner database;
  EXPECT_EQ(open("tessel:data", &database), GDbNoError);
  EXPECT_EQ(mock.calls, (Texts{"open_database(data, 0)", "open_database(data.tessel, 0)"}));
  EXPECT_EQ(database->getName(), "tessel:data") << "the whole locator, as it was given";
}

TEST_F(TesselAdapter, TriesAPathThatHasTheSuffixOnce) {
  for (const int error : {1, 2}) {
    mock.calls.clear();
    mock.failures["open_database"] = {error};
    DatabaseOwner database;
    EXPECT_EQ(open("tessel:data.tessel", &database), GDbCantOpenFile);
    EXPECT_EQ(mock.calls, Texts{"open_database(data.tessel, 0)"});
  }
}

TEST_F(TesselAdapter, GivesUpWhenNeitherIsThere) {
  mock.failures["open_database"] = {2, 1};
  DatabaseOwner database;
  EXPECT_EQ(open("tessel:data", &database), GDbCantOpenFile);
  EXPECT_EQ(mock.calls.size(), 2U);
}

TEST_F(TesselAdapter, TheLetterCaseOfTheSuffixCounts) {
  mock.failures["open_database"] = {1, 0};
  DatabaseOwner database;
  EXPECT_EQ(open("tessel:d.TESSEL", &database), GDbNoError);
  EXPECT_EQ(mock.calls.back(), "open_database(d.TESSEL.tessel, 0)");
}

TEST_F(TesselAdapter, TranslatesTheErrorsOfOpening) {
  for (int error = 3; error <= 13; ++error) {
    for (const bool second : {false, true}) {
      mock.calls.clear();
      mock.failures["open_database"] = second ? std::deque<int>{1, error} : std::deque<int>{error};
      DatabaseOwner database;
      EXPECT_EQ(open("tessel:data", &database), error <= 5 ? GDbIoError : GDbUnknownError);
      EXPECT_EQ(mock.calls.size(), second ? 2U : 1U) << "error " << error << " ends the attempts";
    }
  }
}

TEST_F(TesselAdapter, UnescapesThePathAndDropsWhatFollowsTheQuestionMark) {
  DatabaseOwner database;
  EXPECT_EQ(open("TESSEL:a%20b%3Fc?readonly;x=%41", &database), GDbNoError);
  EXPECT_EQ(mock.calls, Texts{"open_database(a b?c, 0)"});
}

TEST_F(TesselAdapter, TheFactoryWantsAColon) {
  GDbDatabase* database = nullptr;
  GDbTesselFactory factory;
  EXPECT_EQ(factory.getDbTypeId(), "tessel");
  EXPECT_EQ(factory.openDatabase("tessel", &database), GDbInvalidLocator);
  EXPECT_EQ(database, nullptr);
  EXPECT_TRUE(mock.calls.empty());
}

// --- opening a table ---

TEST_F(TesselAdapter, OpensATableWithTheHandleOfTheDatabase) {
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "parts");
  EXPECT_EQ(mock.calls.back(), "open_table(7, parts, 0)");
  EXPECT_EQ(table->getName(), "parts");
}

TEST_F(TesselAdapter, TranslatesTheErrorsOfOpeningATable) {
  for (int error = 1; error <= 13; ++error) {
    mock.failures["open_table"] = {error};
    const GDbStatus expected = error == 3 || error == 5 ? GDbIoError
                               : error == 6             ? GDbInternalError
                               : error == 8             ? GDbInvalidTableName
                                                        : GDbUnknownError;
    EXPECT_EQ(statusOfOpening(nullptr), expected) << error;
  }
}

TEST_F(TesselAdapter, AClosedDatabaseOpensNoTable) {
  const DatabaseOwner database = openDb("tessel:t");
  EXPECT_EQ(database->closeDatabase(), GDbNoError);
  mock.calls.clear();
  GDbTable* table = nullptr;
  EXPECT_EQ(database->openTable("t", nullptr, &table), GDbNotOpen);
  EXPECT_TRUE(mock.calls.empty());
}

TEST_F(TesselAdapter, TakesAStructureThatFits) {
  GDbStructure structure = structureOf({{"price", GDbFieldFloat}, {"Name", GDbFieldString}});
  structure.appendField(field("id", GDbFieldInt, true, true));
  EXPECT_EQ(statusOfOpening(&structure), GDbNoError);
}

TEST_F(TesselAdapter, ChecksEachFieldOfAStructureInOrder) {
  struct Row {
    const char* name;
    GDbFieldType type;
    bool isKey;
    GDbStatus expected;
  };
  const Row rows[] = {
      {"nosuch", GDbFieldInt, false, GDbInvalidFieldName},
      {"name", GDbFieldString, false, GDbInvalidFieldName},  // the letter case counts here
      {"nosuch", GDbFieldBlob, true, GDbInvalidFieldName},   // the name comes first
      {"id", GDbFieldNone, false, GDbInvalidFieldType},
      {"id", GDbFieldBlob, false, GDbInvalidFieldType},
      {"id", static_cast<GDbFieldType>(-1), false, GDbInvalidFieldType},
      {"bits", GDbFieldBlob, false, GDbInvalidFieldType},  // though 5 is the entry's code
      {"id", GDbFieldUInt, false, GDbFieldTypeMismatch},
      {"bits", GDbFieldUInt, false, GDbFieldTypeMismatch},  // though it is presented so
      {"price", GDbFieldInt, true, GDbFieldTypeMismatch},   // the type before the index
      {"price", GDbFieldFloat, true, GDbNoIndex},
      {"price", GDbFieldFloat, false, GDbNoError},
      {"id", GDbFieldInt, true, GDbNoError},
  };
  for (const Row& row : rows) {
    GDbStructure structure;
    structure.appendField(field(row.name, row.type, false, row.isKey));
    EXPECT_EQ(statusOfOpening(&structure), row.expected) << row.name << " " << row.type;
    EXPECT_TRUE(mock.isClean()) << "the table is closed again";
    // The first failure ends the check.
    structure.appendField(field("nosuch", GDbFieldInt));
    EXPECT_EQ(statusOfOpening(&structure),
              row.expected == GDbNoError ? GDbInvalidFieldName : row.expected);
  }
}

TEST_F(TesselAdapter, AKeyFieldNeedsAnIndexOnlyIfTheTableSaysSo) {
  GDbStructure structure;
  structure.appendField(field("price", GDbFieldFloat, false, true));
  EXPECT_EQ(statusOfOpening(&structure), GDbNoIndex);
  mock.keysNeedIndex = false;
  EXPECT_EQ(statusOfOpening(&structure), GDbNoError);
}

TEST_F(TesselAdapter, APrimaryKeyNeedsNoIndex) {
  GDbStructure structure;
  structure.appendField(field("price", GDbFieldFloat, true, false));
  EXPECT_EQ(statusOfOpening(&structure), GDbNoError);
}

TEST_F(TesselAdapter, TranslatesTheErrorsOfTheCheck) {
  const GDbStructure structure = structureOf({{"id", GDbFieldInt}});
  for (int error = 1; error <= 13; ++error) {
    mock.failures["get_table_descr"] = {error};
    EXPECT_EQ(statusOfOpening(&structure),
              error == 6 || error == 7 ? GDbInternalError : GDbUnknownError)
        << error;
    EXPECT_TRUE(mock.isClean());
  }
}

// --- fields and structure ---

TEST_F(TesselAdapter, FindsAFieldInAnyLetterCase) {
  mock.fields.push_back(fieldEntry("ID", TslTypeSigned, TslStorageInt8));
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  int id = -1;
  EXPECT_EQ(table->getFieldId("nAME", &id), GDbNoError);
  EXPECT_EQ(id, 2);
  EXPECT_EQ(table->getFieldId("ID", &id), GDbNoError);
  EXPECT_EQ(id, 0) << "the first match";
  for (const char* none : {"", "i", "idx", "nam"})
    EXPECT_EQ(table->getFieldId(none, &id), GDbInvalidFieldName) << none;
  EXPECT_EQ(id, 0);
}

TEST_F(TesselAdapter, TranslatesTheErrorsOfTheDescription) {
  const std::vector<Mapping> mappings = {{6, GDbInternalError}, {7, GDbInternalError}};
  expectMapping("get_table_descr", mappings, [](GDbTable* table) {
    int id = 0;
    return table->getFieldId("id", &id);
  });
  expectMapping("get_table_descr", mappings, [](GDbTable* table) {
    GDbStructure* structure = nullptr;
    const GDbStatus status = table->getStructure(&structure);
    EXPECT_EQ(structure, nullptr);
    return status;
  });
}

TEST_F(TesselAdapter, PresentsEachFieldByItsCodes) {
  struct Row {
    int type;
    int storage;
    GDbFieldType expected;
    int width;
    int decDigits;
  };
  const Row rows[] = {
      {1, 1, GDbFieldInt, 4, 0},     {1, 3, GDbFieldInt, 6, 0},      {1, 5, GDbFieldInt, 11, 0},
      {2, 2, GDbFieldUInt, 3, 0},    {2, 4, GDbFieldUInt, 5, 0},     {2, 6, GDbFieldUInt, 10, 0},
      {3, 7, GDbFieldFloat, 12, -1}, {3, 8, GDbFieldFloat, 22, -1},  {3, 99, GDbFieldFloat, 22, -1},
      {4, 9, GDbFieldString, 16, 0}, {4, 10, GDbFieldString, -1, 0}, {4, 1, GDbFieldString, -1, 0},
      {5, 6, GDbFieldUInt, 8, 0},    {5, 0, GDbFieldUInt, 8, 0},     {0, 5, GDbFieldNone, 0, 0},
      {6, 5, GDbFieldNone, 0, 0},    {-1, 9, GDbFieldNone, 0, 0},
  };
  mock.fields.clear();
  for (const Row& row : rows)
    mock.fields.push_back(fieldEntry("f", row.type, row.storage, true, 17));
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  GDbStructure* found = nullptr;
  ASSERT_EQ(table->getStructure(&found), GDbNoError);
  const std::unique_ptr<GDbStructure> structure(found);
  int number = 0;
  for (const Row& row : rows) {
    SCOPED_TRACE(std::to_string(row.type) + "/" + std::to_string(row.storage));
    const GDbField& presented = structure->getField(number++);
    EXPECT_EQ(presented.getType(), row.expected);
    EXPECT_EQ(presented.getWidth(), row.width);
    EXPECT_EQ(presented.getDecDigits(), row.decDigits);
    EXPECT_FALSE(presented.isKey());
    EXPECT_FALSE(presented.isPrimKey());
  }
}

using TesselAdapterDeathTest = TesselAdapter;

TEST_F(TesselAdapterDeathTest, AbortsOnAnIntegerThatIsStoredAsNone) {
  for (const int type : {TslTypeSigned, TslTypeUnsigned})
    for (const int storage : {0, 7, 8, 9, 10, type == TslTypeSigned ? 2 : 1}) {
      mock.fields = {fieldEntry("f", type, storage)};
      const DatabaseOwner database = openDb("tessel:t");
      const TableOwner table = openTable(database, "t");
      GDbStructure* structure = nullptr;
      EXPECT_DEATH(static_cast<void>(table->getStructure(&structure)), "");
    }
}

TEST_F(TesselAdapter, NamesTheColumnsOfItsIndexes) {
  const std::int32_t one[] = {2};
  const std::int32_t several[] = {3, 0, 2};
  mock.indexes = {{"by name", 0, 0, 1, one}, {"all", 0, 5, 3, several}, {"none", 0, 1, 0, nullptr}};
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  GDbStructure* found = nullptr;
  ASSERT_EQ(table->getStructure(&found), GDbNoError);
  const std::unique_ptr<GDbStructure> structure(found);
  EXPECT_EQ(structure->getFieldId("ID"), -1) << "letter case counts";
  ASSERT_EQ(structure->getIndices().size(), 3U);
  const GDbIndex& first = structure->getIndices()[0];
  EXPECT_EQ(first.getName() + ":" + first.getColumns(), "by name:Name");
  EXPECT_FALSE(first.isUnique());
  EXPECT_FALSE(first.isDescending());
  const GDbIndex& second = structure->getIndices()[1];
  EXPECT_EQ(second.getName() + ":" + second.getColumns(), "all:bits,id,Name");
  EXPECT_TRUE(second.isUnique());
  EXPECT_EQ(structure->getIndices()[2].getColumns(), "");
}

// --- lookups ---

TEST_F(TesselAdapter, PassesTheKeysFieldByField) {
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  const char* const text = "borrowed";
  GDbKey blob(4, 1);
  blob.type = GDbFieldBlob;
  blob.value.floatValue = 1.5;
  const GDbKey keys[] = {GDbKey(0, -5), GDbKey(1, 4000000000U), GDbKey(2, 2.5), GDbKey(3, text),
                         blob};
  GDbRecordSet set;
  EXPECT_EQ(table->lookupKeys(keys, 5, &set), GDbNoError);
  EXPECT_EQ(mock.calls[2], "lookup_keys(21, 5, 0)");
  ASSERT_EQ(mock.keys.size(), 5U);
  const int types[] = {TslTypeSigned, TslTypeUnsigned, TslTypeFloating, TslTypeText, 0};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(mock.keys[static_cast<std::size_t>(i)].field, i);
    EXPECT_EQ(mock.keys[static_cast<std::size_t>(i)].type, types[i]);
  }
  EXPECT_EQ(mock.keys[0].value.signedValue, -5);
  EXPECT_EQ(mock.keys[1].value.unsignedValue, 4000000000U);
  EXPECT_EQ(mock.keys[2].value.floatingValue, 2.5);
  EXPECT_EQ(mock.keys[3].value.textValue, text) << "the caller's own";
  std::uint64_t bits = 1;
  std::memcpy(&bits, &mock.keys[4].value, sizeof bits);
  EXPECT_EQ(bits, 0U) << "nothing of a value that the store does not know";
  std::memcpy(&bits, &mock.keys[0].value, sizeof bits);
  EXPECT_EQ(bits, 0xfffffffbU) << "the rest of the value is zero";
}

TEST_F(TesselAdapter, PassesMoreKeysThanFitOnTheStack) {
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  std::vector<GDbKey> keys;
  for (int i = 0; i < 100; ++i) keys.emplace_back(i, i * 3);
  GDbRecordSet set;
  EXPECT_EQ(table->lookupKeys(keys.data(), 100, &set), GDbNoError);
  ASSERT_EQ(mock.keys.size(), 100U);
  EXPECT_EQ(mock.keys[99].value.signedValue, 297);
  EXPECT_EQ(table->lookupKeys(keys.data(), 0, &set), GDbNoError);
  EXPECT_EQ(mock.keys.size(), 0U) << "what no key means is the store's affair";
}

TEST_F(TesselAdapter, AKeyWithoutATypeIsNotPassedOn) {
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  const GDbKey keys[] = {GDbKey(0, 1), GDbKey()};
  GDbRecordSet set;
  mock.calls.clear();
  EXPECT_EQ(table->lookupKeys(keys, 2, &set), GDbInvalidArgument);
  EXPECT_TRUE(mock.calls.empty());
}

TEST_F(TesselAdapter, TranslatesTheErrorsOfALookup) {
  expectMapping("lookup_keys",
                {{3, GDbIoError},
                 {5, GDbIoError},
                 {6, GDbInternalError},
                 {7, GDbInternalError},
                 {9, GDbInvalidArgument},
                 {11, GDbNoIndex}},
                [](GDbTable* table) {
                  GDbRecordSet set;
                  const GDbStatus status = table->lookupKey(GDbKey(0, 1), &set);
                  EXPECT_EQ(set.getNumRecords(), 0U);
                  return status;
                });
}

TEST_F(TesselAdapter, AppendsWhatItFindsAndGivesTheResultBack) {
  mock.found = {{signedValue(1), textValue("one")}, {signedValue(2), textValue("")}};
  GDbRecordSet set;
  {
    const DatabaseOwner database = openDb("tessel:t");
    const TableOwner table = openTable(database, "t");
    EXPECT_EQ(table->lookupKey(GDbKey(0, 1), &set), GDbNoError);
    EXPECT_EQ(table->lookupKey(GDbKey(0, 1), &set), GDbNoError);
    mock.found.clear();
    EXPECT_EQ(table->lookupKey(GDbKey(0, 1), &set), GDbNoError) << "nothing found is success";
    EXPECT_EQ(mock.liveResults, 0);
  }
  // The table and the database are gone.
  EXPECT_EQ(textsOf(set), (Texts{"1|one", "2|", "1|one", "2|"}));
}

TEST_F(TesselAdapter, ConvertsEachTypeOfValue) {
  const TslValue unknown{9, 0, {}};
  const TslValue none{0, 0, {}};
  mock.found = {{textValue("x"), signedValue(INT_MIN), textValue("four"), floatingValue(-0.0),
                 unsignedValue(UINT_MAX), unknown, unsignedValue(0x80000001, TslTypePattern), none,
                 textValue(""), floatingValue(std::numeric_limits<double>::infinity())}};
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  GDbRecordSet set;
  ASSERT_EQ(table->lookupKey(GDbKey(0, 1), &set), GDbNoError);
  const GDbRecord& record = *set.getRecord(0);
  ASSERT_EQ(record.getNumFields(), 10);
  const GDbFieldType types[] = {GDbFieldString, GDbFieldInt,  GDbFieldString, GDbFieldFloat,
                                GDbFieldUInt,   GDbFieldNone, GDbFieldUInt,   GDbFieldNone,
                                GDbFieldString, GDbFieldFloat};
  for (int i = 0; i < 10; ++i) EXPECT_EQ(record.getFieldType(i), types[i]) << i;
  EXPECT_STREQ(record.getStringField(0), "x");
  EXPECT_EQ(record.getIntField(1), INT_MIN);
  EXPECT_STREQ(record.getStringField(2), "four");
  EXPECT_TRUE(std::signbit(record.getFloatField(3)));
  EXPECT_EQ(record.getUIntField(4), UINT_MAX);
  EXPECT_EQ(record.getStringField(5), nullptr) << "nothing in the slot";
  EXPECT_EQ(record.getUIntField(6), 0x80000001U);
  EXPECT_STREQ(record.getStringField(8), "");
  EXPECT_EQ(record.getFloatField(9), std::numeric_limits<double>::infinity());
}

TEST_F(TesselAdapter, PutsARowIntoOneBlockInOrder) {
  mock.found = {{textValue("abc"), signedValue(1), textValue("12345"), floatingValue(2)}};
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  GDbRecordSet set;
  ASSERT_EQ(table->lookupKey(GDbKey(0, 1), &set), GDbNoError);
  const GDbRecord& record = *set.getRecord(0);
  const auto at = [&record](int number) {
    return static_cast<std::size_t>(record.getStringField(number) -
                                    reinterpret_cast<const char*>(&record));
  };
  const std::size_t types = sizeof(GDbRecord);
  const std::size_t first = types + 4 * sizeof(GDbFieldType) + 4 * sizeof(void*);
  EXPECT_EQ(at(0), first) << "behind the record and its two arrays";
  EXPECT_EQ(at(1), first + 4) << "4 bytes of text, and 4-aligned";
  EXPECT_EQ(at(2), first + 8) << "texts are not aligned";
  EXPECT_EQ(at(3), (first + 14 + 7) / 8 * 8) << "8-aligned";
}

TEST_F(TesselAdapter, ARowWithoutValuesIsARecordWithoutFields) {
  mock.found = {{}};
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  GDbRecordSet set;
  ASSERT_EQ(table->lookupKey(GDbKey(0, 1), &set), GDbNoError);
  EXPECT_EQ(set.getRecord(0)->getNumFields(), 0);
}

// --- scanning ---

TEST_F(TesselAdapter, ScansToTheEndAndNoFurther) {
  mock.rows = {{signedValue(1)}, {signedValue(2)}};
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  GDbRecordSet set;
  EXPECT_EQ(table->getNextRecord(&set), GDbNoRecordNumber) << "before the first";
  for (int round = 0; round < 2; ++round) {
    set.clear();
    mock.calls.clear();
    EXPECT_EQ(table->getFirstRecord(&set), GDbNoError);
    EXPECT_EQ(table->getNextRecord(&set), GDbNoError);
    EXPECT_EQ(textsOf(set), (Texts{"1", "2"}));
    EXPECT_EQ(table->getNextRecord(&set), GDbNoError) << "the end";
    EXPECT_EQ(set.getNumRecords(), 2U);
    EXPECT_EQ(table->getNextRecord(&set), GDbNoRecordNumber) << "behind the end";
    EXPECT_EQ(mock.calls,
              (Texts{"lookup_recno(21, 0, 1, 0)", "free_result_set()", "lookup_recno(21, 1, 1, 0)",
                     "free_result_set()", "lookup_recno(21, 2, 1, 0)", "free_result_set()"}));
  }
}

TEST_F(TesselAdapter, TranslatesTheErrorsOfAScanAndForgetsThePlace) {
  mock.rows = {{signedValue(1)}, {signedValue(2)}};
  expectMapping("lookup_recno",
                {{3, GDbIoError},
                 {5, GDbIoError},
                 {6, GDbInternalError},
                 {7, GDbInternalError},
                 {9, GDbInvalidArgument}},
                [](GDbTable* table) {
                  GDbRecordSet set;
                  const GDbStatus status = table->getFirstRecord(&set);
                  EXPECT_EQ(set.getNumRecords(), 0U);
                  EXPECT_EQ(table->getNextRecord(&set), GDbNoRecordNumber);
                  return status;
                });
}

TEST_F(TesselAdapter, ALookupDoesNotMoveTheScan) {
  mock.rows = {{signedValue(1)}, {signedValue(2)}};
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  GDbRecordSet set;
  EXPECT_EQ(table->getFirstRecord(&set), GDbNoError);
  EXPECT_EQ(table->lookupKey(GDbKey(0, 1), &set), GDbNoError);
  EXPECT_EQ(table->getNextRecord(&set), GDbNoError);
  EXPECT_EQ(textsOf(set), (Texts{"1", "2"}));
}

TEST_F(TesselAdapter, AsksTheStoreNothingWhenAPointerIsNull) {
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  mock.calls.clear();
  GDbRecordSet set;
  int id = 0;
  EXPECT_EQ(table->getFieldId(nullptr, &id), GDbInvalidArgument);
  EXPECT_EQ(table->getFieldId("id", nullptr), GDbInvalidArgument);
  EXPECT_EQ(table->getStructure(nullptr), GDbInvalidArgument);
  EXPECT_EQ(table->lookupKeys(nullptr, 1, &set), GDbInvalidArgument);
  EXPECT_EQ(table->lookupKey(GDbKey(0, 1), nullptr), GDbInvalidArgument);
  EXPECT_EQ(table->getFirstRecord(nullptr), GDbInvalidArgument);
  EXPECT_EQ(table->getNextRecord(nullptr), GDbInvalidArgument);
  EXPECT_EQ(database->openTable("t", nullptr, nullptr), GDbInvalidArgument);
  EXPECT_TRUE(mock.calls.empty());
}

// --- what is not done ---

TEST_F(TesselAdapter, OnlyReads) {
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  mock.calls.clear();
  const GDbStructure structure = structureOf({{"id", GDbFieldInt}});
  GDbTable* made = nullptr;
  GDbRecordSet set;
  EXPECT_EQ(database->createTable("n", &structure, &made), GDbCreateTableNotSupported);
  EXPECT_EQ(database->deleteTable("t"), GDbDeleteTableNotSupported);
  EXPECT_EQ(table->insertRecords(set), GDbInsertNotSupported);
  EXPECT_EQ(table->deleteKey(GDbKey(0, 1)), GDbDeleteNotSupported);
  EXPECT_EQ(table->deleteKeys(nullptr, 0), GDbDeleteNotSupported);
  EXPECT_EQ(database->getTransactionHandler(), nullptr);
  EXPECT_TRUE(mock.calls.empty());
}

// --- closing ---

TEST_F(TesselAdapter, AClosedTableAsksTheStoreNothing) {
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  GDbRecordSet set;
  mock.rows = {{signedValue(1)}, {signedValue(2)}};
  EXPECT_EQ(table->getFirstRecord(&set), GDbNoError);
  EXPECT_EQ(table->closeTable(), GDbNoError);
  mock.calls.clear();
  EXPECT_EQ(table->closeTable(), GDbNoError) << "repeatable";
  int id = 0;
  GDbStructure* structure = nullptr;
  EXPECT_EQ(table->getFieldId("id", &id), GDbTableNotOpen);
  EXPECT_EQ(table->getStructure(&structure), GDbTableNotOpen);
  const GDbKey none;
  EXPECT_EQ(table->lookupKeys(&none, 1, &set), GDbTableNotOpen) << "before the keys are looked at";
  EXPECT_EQ(table->getNextRecord(&set), GDbTableNotOpen);
  EXPECT_EQ(table->getFirstRecord(&set), GDbTableNotOpen);
  EXPECT_TRUE(mock.calls.empty());
  EXPECT_FALSE(table->isTableOpen());
}

TEST_F(TesselAdapter, ATableThatCannotBeClosedStaysOpen) {
  expectMapping("close_table", {{6, GDbInternalError}, {7, GDbInternalError}}, [](GDbTable* table) {
    const GDbStatus status = table->closeTable();
    EXPECT_TRUE(table->isTableOpen());
    GDbRecordSet set;
    EXPECT_EQ(table->lookupKey(GDbKey(0, 1), &set), GDbNoError) << "as it was";
    return status;
  });
}

TEST_F(TesselAdapter, ClosesItsTablesBeforeTheDatabase) {
  const DatabaseOwner database = openDb("tessel:t");
  const TableOwner table = openTable(database, "t");
  mock.calls.clear();
  EXPECT_EQ(database->closeDatabase(), GDbNoError);
  EXPECT_EQ(mock.calls, (Texts{"close_table(21)", "close_database(7)"}));
  EXPECT_EQ(database->closeDatabase(), GDbNoError);
  EXPECT_EQ(mock.calls.size(), 2U) << "repeatable";
}

TEST_F(TesselAdapter, ADatabaseThatCannotBeClosedIsToldOnlyIfATableCouldNotEither) {
  struct Row {
    int tableError;
    int databaseError;
    GDbStatus expected;
  };
  const Row rows[] = {
      {0, 6, GDbNoError},       {0, 9, GDbNoError},      {6, 0, GDbInternalError},
      {9, 0, GDbUnknownError},  {6, 9, GDbUnknownError}, {9, 6, GDbInternalError},
      {6, 6, GDbInternalError}, {9, 7, GDbUnknownError}, {7, 3, GDbUnknownError},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::to_string(row.tableError) + "/" + std::to_string(row.databaseError));
    const DatabaseOwner database = openDb("tessel:t");
    const TableOwner table = openTable(database, "t");
    mock.failures["close_table"] = {row.tableError};
    mock.failures["close_database"] = {row.databaseError};
    EXPECT_EQ(database->closeDatabase(), row.expected);
    GDbTable* other = nullptr;
    EXPECT_EQ(database->openTable("t", nullptr, &other), GDbNotOpen) << "the handle is gone";
    EXPECT_EQ(table->closeTable(), GDbNoError);
    if (row.databaseError != 0) --mock.openDatabases;  // the mock's, which nobody closes now
  }
}

TEST_F(TesselAdapter, WhatIsDeletedIsClosed) {
  {
    const DatabaseOwner database = openDb("tessel:t");
    const TableOwner table = openTable(database, "t");
    mock.calls.clear();
  }
  EXPECT_EQ(mock.calls, (Texts{"close_table(21)", "close_database(7)"}));
}

}  // namespace
