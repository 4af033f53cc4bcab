// SPDX-License-Identifier: MIT
#include "loomkit/db/record.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <type_traits>

#include "loomkit/db/key.h"
#include "loomkit/db/record_access.h"
#include "loomkit/db/record_set.h"
#include "tests/db/db_fixture.h"

namespace {

using namespace loomkit::testing;
using Texts = std::vector<std::string>;

static_assert(!std::is_destructible_v<GDbRecord>, "only deleteRecord() releases a record");
static_assert(!std::is_polymorphic_v<GDbRecord>);

TEST(DbRecord, KeepsItsFieldsInOrderWhileItsArraysGrow) {
  auto* record = new GDbRecord;
  EXPECT_EQ(record->getNumFields(), 0);
  for (int i = 0; i < 100; ++i) {
    record->addIntField(i * 3);
    ASSERT_EQ(record->getNumFields(), i + 1);
    for (int k = 0; k <= i; ++k) ASSERT_EQ(record->getIntField(k), k * 3) << i;
  }
  record->deleteRecord();
}

TEST(DbRecord, HoldsEveryTypeOfValueAsACopy) {
  char text[] = "abc";
  auto* record = new GDbRecord;
  record->addIntField(-7);
  record->addUIntField(4000000000U);
  record->addFloatField(2.5);
  record->addStringField(text);
  record->addStringField(std::string("def"));
  record->addBlobField(text, 3);
  text[0] = 'x';
  EXPECT_EQ(record->getFieldType(0), GDbFieldInt);
  EXPECT_EQ(record->getIntField(0), -7);
  EXPECT_EQ(record->getFieldType(1), GDbFieldUInt);
  EXPECT_EQ(record->getUIntField(1), 4000000000U);
  EXPECT_EQ(record->getFieldType(2), GDbFieldFloat);
  EXPECT_EQ(record->getFloatField(2), 2.5);
  EXPECT_EQ(record->getFieldType(3), GDbFieldString);
  EXPECT_STREQ(record->getStringField(3), "abc");
  EXPECT_STREQ(record->getStringField(4), "def");
  EXPECT_EQ(record->getFieldType(5), GDbFieldBlob);
  const void* data = nullptr;
  unsigned size = 0;
  const GDbRecord* constant = record;
  constant->getBlobField(5, &data, &size);
  ASSERT_EQ(size, 3U);
  EXPECT_EQ(std::memcmp(data, "abc", 3), 0);
  record->deleteRecord();
}

TEST(DbRecord, IntAndUIntReadTheSameWord) {
  auto* record = new GDbRecord;
  record->addIntField(-1);
  EXPECT_EQ(record->getUIntField(0), 0xFFFFFFFFU);
  record->deleteRecord();
}

TEST(DbRecord, AnEmptyBlobHasAnAddress) {
  auto* record = new GDbRecord;
  record->addBlobField(nullptr, 0);
  const void* data = nullptr;
  unsigned size = 1;
  record->getBlobField(0, &data, &size);
  EXPECT_EQ(size, 0U);
  EXPECT_NE(data, nullptr);
  record->deleteRecord();
}

TEST(DbRecord, TheNullBitIsNotPartOfTheType) {
  auto* types = static_cast<GDbFieldType*>(::operator new(sizeof(GDbFieldType)));
  auto** values = static_cast<void**>(::operator new(sizeof(void*)));
  types[0] = static_cast<GDbFieldType>(GDbFieldInt | GDbFieldNullFlag);
  values[0] = ::operator new(sizeof(int));
  std::memset(values[0], 0, sizeof(int));
  auto* record = new GDbRecord(false, 1, types, values);
  EXPECT_EQ(record->getFieldType(0), GDbFieldInt);
  EXPECT_EQ(record->getIntField(0), 0);
  record->deleteRecord();
}

TEST(DbRecord, ASingleBlockIsReleasedByItsOwnAddressAlone) {
  struct Block {
    alignas(GDbRecord) char record[sizeof(GDbRecord)];
    GDbFieldType types[1];
    void* values[1];
    int value;
  };
  void* room = ::operator new(sizeof(Block));
  auto* block = static_cast<Block*>(room);
  block->types[0] = GDbFieldInt;
  block->values[0] = &block->value;
  block->value = 42;
  auto* record = new (room) GDbRecord(true, 1, block->types, block->values);
  EXPECT_EQ(record->getIntField(0), 42);
  record->deleteRecord();  // the address sanitizer sees a wrong or missing release
}

TEST(DbRecord, AssignmentSharesAllStorage) {
  auto* record = new GDbRecord;
  record->addStringField("shared");
  auto* other = new GDbRecord;
  *other = *record;
  EXPECT_EQ(other->getStringField(0), record->getStringField(0));
  other->deleteRecord();
  ::operator delete(record);  // its storage went with the other
}

TEST(DbRecordDeathTest, ReleasingAFieldOfNoTypeAborts) {
  EXPECT_DEATH(
      {
        auto* types = static_cast<GDbFieldType*>(::operator new(sizeof(GDbFieldType)));
        auto** values = static_cast<void**>(::operator new(sizeof(void*)));
        types[0] = GDbFieldNone;
        values[0] = nullptr;
        (new GDbRecord(false, 1, types, values))->deleteRecord();
      },
      "");
}

TEST(DbRecord, ATypeBeyondTheKnownOnesLeavesItsSlotAlone) {
  int outside = 5;
  auto* types = static_cast<GDbFieldType*>(::operator new(sizeof(GDbFieldType)));
  auto** values = static_cast<void**>(::operator new(sizeof(void*)));
  types[0] = static_cast<GDbFieldType>(6);
  values[0] = &outside;
  (new GDbRecord(false, 1, types, values))->deleteRecord();
  EXPECT_EQ(outside, 5);
}

TEST(DbRecordSet, OwnsItsRecordsUntilTheyAreReleased) {
  GDbRecordSet set;
  for (int i = 0; i < 3; ++i) {
    auto* record = new GDbRecord;
    record->addIntField(i);
    set.addRecord(record);
  }
  GDbRecord* first = set.releaseRecord(0);
  ASSERT_EQ(set.getNumRecords(), 2U);
  EXPECT_EQ(set.getRecord(0)->getIntField(0), 1);
  EXPECT_EQ(set.getRecord(1)->getIntField(0), 2);
  set.clear();
  EXPECT_EQ(set.getNumRecords(), 0U);
  EXPECT_EQ(first->getIntField(0), 0);
  first->deleteRecord();
}

TEST(DbRecordSet, ACopyHoldsCopiesOfTheRecords) {
  auto* record = new GDbRecord;
  record->addIntField(-7);
  record->addUIntField(4000000000U);
  record->addFloatField(0.25);
  record->addStringField("text");
  record->addStringField("");
  loomkit::RecordAccess::markLastNull(record);
  record->addBlobField("a\0b", 3);
  record->addBlobField("", 0);
  const std::string expected = "-7|4000000000|0.25|text||<" + std::string("a\0b", 3) + ">|<>";
  GDbRecordSet copied;
  {
    GDbRecordSet set;
    set.addRecord(record);
    GDbRecordSet copy(set);
    copied = copy;
    copied = *&copied;
    EXPECT_NE(copy.getRecord(0), set.getRecord(0));
    EXPECT_NE(copy.getRecord(0)->getStringField(3), set.getRecord(0)->getStringField(3));
    copy.clear();
    EXPECT_EQ(set.getNumRecords(), 1U);
  }
  ASSERT_EQ(copied.getNumRecords(), 1U);
  EXPECT_EQ(textsOf(copied), Texts{expected});
  EXPECT_TRUE(loomkit::RecordAccess::isNull(*copied.getRecord(0), 4));
  EXPECT_FALSE(loomkit::RecordAccess::isNull(*copied.getRecord(0), 3));
  GDbRecord* released = copied.releaseRecord(0);
  released->addIntField(1);  // a copy can grow
  EXPECT_EQ(textOf(*released), expected + "|1");
  released->deleteRecord();
  const GDbRecordSet none;
  copied = none;
  EXPECT_EQ(copied.getNumRecords(), 0U);
}

TEST(DbRecordSet, ACopyOfSingleBlockRecordsOutlivesTheirTable) {
  const ScratchDirectory dir;
  dir.write("t.csv", "1;2.5;one\n2;0;\n");
  const GDbStructure structure =
      structureOf({{"i", GDbFieldInt}, {"f", GDbFieldFloat}, {"s", GDbFieldString}});
  GDbRecordSet copy;
  {
    const DatabaseOwner database = openDb("csv:" + dir.path());
    const TableOwner table = openTable(database, "t", &structure);
    GDbRecordSet set;
    EXPECT_EQ(table->getFirstRecord(&set), GDbNoError);
    EXPECT_EQ(table->getNextRecord(&set), GDbNoError);
    copy = set;
  }
  EXPECT_EQ(textsOf(copy), (Texts{"1|2.5|one", "2|0|"}));
}

TEST(DbKey, HoldsOneValueOfItsType) {
  const GDbKey none;
  EXPECT_EQ(none.field, 0);
  EXPECT_EQ(none.type, GDbFieldNone);
  const GDbKey number(1, -5);
  EXPECT_EQ(number.field, 1);
  EXPECT_EQ(number.type, GDbFieldInt);
  EXPECT_EQ(number.value.intValue, -5);
  const GDbKey natural(2, 5U);
  EXPECT_EQ(natural.type, GDbFieldUInt);
  EXPECT_EQ(natural.value.uintValue, 5U);
  const GDbKey real(3, 0.5);
  EXPECT_EQ(real.type, GDbFieldFloat);
  EXPECT_EQ(real.value.floatValue, 0.5);
}

TEST(DbKey, BorrowsItsTextUntilItIsDuplicated) {
  const char* text = "borrowed";
  GDbKey key(0, text);
  EXPECT_EQ(key.value.stringValue, text);
  GDbKey early(key);
  key.dupString();
  EXPECT_TRUE(key.ownsString);
  EXPECT_NE(key.value.stringValue, text);
  EXPECT_STREQ(key.value.stringValue, text);
  EXPECT_EQ(early.value.stringValue, text) << "a copy made before still borrows";
  const GDbKey late(key);
  EXPECT_TRUE(late.ownsString);
  EXPECT_NE(late.value.stringValue, key.value.stringValue) << "each owns its own";
  const char* own = key.value.stringValue;
  key.dupString();
  EXPECT_EQ(key.value.stringValue, own) << "a second call changes nothing";
}

TEST(DbKey, AssignmentReleasesTheTargetsTextAndSurvivesItself) {
  GDbKey owner(0, "first");
  owner.dupString();
  GDbKey& self = owner;
  owner = self;
  EXPECT_STREQ(owner.value.stringValue, "first");
  GDbKey other(1, "second");
  other.dupString();
  owner = other;
  EXPECT_STREQ(owner.value.stringValue, "second");
  EXPECT_NE(owner.value.stringValue, other.value.stringValue);
  owner = GDbKey(2, 9);
  EXPECT_EQ(owner.type, GDbFieldInt);
  EXPECT_FALSE(owner.ownsString);
}

TEST(DbKey, KeepsItsTextWhenItIsAssignedAKeyThatBorrowsIt) {
  GDbKey owner(0, "text");
  owner.dupString();
  owner = GDbKey(3, owner.value.stringValue);
  EXPECT_EQ(owner.field, 3);
  EXPECT_TRUE(owner.ownsString);
  EXPECT_STREQ(owner.value.stringValue, "text");
}

TEST(DbRecord, AnIntegerBeyond32BitsIsKeptWholeBehindItsLowerHalf) {
  using loomkit::RecordAccess;
  auto* record = new GDbRecord;
  const std::int64_t values[] = {5, -4294967291, INT64_MIN, INT64_MAX, 2147483648, -2147483649};
  for (const std::int64_t value : values) RecordAccess::addInt64(record, value);
  GDbRecord* copy = RecordAccess::copy(*record);
  record->deleteRecord();
  const int lower[] = {5, 5, 0, -1, INT32_MIN, INT32_MAX};
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(copy->getFieldType(i), GDbFieldInt);
    EXPECT_EQ(copy->getIntField(i), lower[i]);
    EXPECT_EQ(RecordAccess::getInt64(*copy, i), values[i]);
    EXPECT_EQ(RecordAccess::isWide(*copy, i), i != 0);
    EXPECT_FALSE(RecordAccess::isNull(*copy, i));
  }
  copy->deleteRecord();
}

}  // namespace
