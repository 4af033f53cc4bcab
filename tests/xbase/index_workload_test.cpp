// SPDX-License-Identifier: MIT
// A table with five tags that is changed at random, against a model of its records.
// LOOMKIT_XBASE_STEPS=1000000 is a long run.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <set>

#include "tests/xbase/index_fixture.h"

namespace loomkit::xbase {
namespace {

constexpr char live[] = ".NOT.DELETED()";

struct Record {
  std::string name;
  long cents = 0;
  std::string born;
  bool paid = false;
  bool deleted = false;
};

std::string padded(std::string text, std::size_t width) {
  text.resize(width, ' ');
  return text;
}

std::string amountOf(const Record& record) {
  char text[32];
  std::snprintf(text, sizeof text, "%10.2f", static_cast<double>(record.cents) / 100);
  return text;
}

class Workload : public IndexTest {
 protected:
  void start() {
    table = makeTable();
    ASSERT_NE(createIndex(*table, scratch / "t.cdx",
                          {{"NAME", "NAME", live, false, true},
                           {"AMOUNT", "AMOUNT", live},
                           {"BORN", "BORN", live},
                           {"PAID", "PAID", live},
                           {"BOTH", "NAME+STR(AMOUNT,10,2)", live, true}}),
              nullptr);
  }

  void reopen() {
    ASSERT_EQ(close(*table), ok);
    table = openDataFile(engine, scratch / "t.dbf");
    ASSERT_NE(table, nullptr);
    ASSERT_NE(openIndex(*table, scratch / "t.cdx"), nullptr) << engine.errorCode;
  }

  static std::string bothOf(const Record& record) {
    return padded(record.name, 10) + amountOf(record);
  }

  // Values near each other, so that keys are equal now and then.
  Record randomRecord() {
    Record record;
    record.name = "N" + std::to_string(random() % 30000);
    if (random() % 4 == 0) record.name.clear();
    record.cents = static_cast<long>(random() % 2000001) - 1000000;
    if (random() % 10 != 0) {
      char text[16];
      std::snprintf(text, sizeof text, "%04u%02u%02u", 1850 + static_cast<unsigned>(random() % 200),
                    1 + static_cast<unsigned>(random() % 12),
                    1 + static_cast<unsigned>(random() % 28));
      record.born = text;
    }
    record.paid = random() % 2 == 0;
    return record;
  }

  void assign(const Record& record) {
    assignText(*table, 0, record.name);
    assignDouble(*table, 1, static_cast<double>(record.cents) / 100);
    assignText(*table, 2, record.born);
    assignText(*table, 3, record.paid ? "T" : "F");
  }

  void insertRecord() {
    const Record record = randomRecord();
    const bool isNew = keys.insert(bothOf(record)).second;
    ASSERT_EQ(startAppend(*table), ok);
    blank(*table);
    unmarkDeleted(*table);
    assign(record);
    ASSERT_EQ(finishAppend(*table), isNew ? ok : notUnique);
    if (isNew) records.push_back(record);
  }

  void changeRecord(std::size_t index) {
    Record& old = records[index];
    const Record record = randomRecord();
    ASSERT_EQ(go(*table, static_cast<std::uint32_t>(index + 1)), ok);
    if (bothOf(record) != bothOf(old) && keys.count(bothOf(record)) > 0) return;
    assign(record);
    ASSERT_EQ(go(*table, 1), ok);
    keys.erase(bothOf(old));
    keys.insert(bothOf(record));
    old = record;
  }

  void deleteRecord(std::size_t index) {
    ASSERT_EQ(go(*table, static_cast<std::uint32_t>(index + 1)), ok);
    markDeleted(*table);
    ASSERT_EQ(go(*table, 1), ok);
    keys.erase(bothOf(records[index]));
    records[index].deleted = true;
  }

  void packTable() {
    ASSERT_EQ(pack(*table), ok);
    std::erase_if(records, [](const Record& record) { return record.deleted; });
    ASSERT_EQ(table->recordCount, records.size());
  }

  void step() {
    const std::size_t index = records.empty() ? 0 : random() % records.size();
    const auto what = static_cast<unsigned>(random() % 100);
    if (records.empty() || what < 55) return insertRecord();
    if (records[index].deleted) return;
    what < 65 ? changeRecord(index) : deleteRecord(index);
  }

  // Every tag, forward and backward, is the live records sorted by its key.
  void expectTags() {
    ASSERT_EQ(go(*table, 1), records.empty() ? noSuchRecord : ok);
    const auto compare = [&](const char* name, auto keyOf) {
      std::vector<std::pair<decltype(keyOf(Record())), std::uint32_t>> wanted;
      for (std::uint32_t i = 0; i < records.size(); ++i) {
        if (!records[i].deleted) wanted.emplace_back(keyOf(records[i]), i + 1);
      }
      std::sort(wanted.begin(), wanted.end());
      Tag* tag = findTag(*table->indexes[0], name);
      ASSERT_NE(tag, nullptr);
      if (tag->descending) std::reverse(wanted.begin(), wanted.end());
      int result = goTop(*tag);
      for (const auto& [key, record] : wanted) {
        ASSERT_EQ(result, ok) << name;
        ASSERT_EQ(tag->cursor.record, record) << name;
        result = skipKeys(*tag, 1);
      }
      ASSERT_EQ(result, endOfFile);
      result = goBottom(*tag);
      for (auto entry = wanted.rbegin(); entry != wanted.rend(); ++entry) {
        ASSERT_EQ(result, ok) << name;
        ASSERT_EQ(tag->cursor.record, entry->second) << name;
        result = skipKeys(*tag, -1);
      }
      ASSERT_EQ(result, wanted.empty() ? endOfFile : beginningOfFile);
    };
    compare("NAME", [](const Record& record) { return padded(record.name, 10); });
    compare("AMOUNT", [](const Record& record) { return record.cents; });
    compare("BORN", [](const Record& record) { return record.born; });
    compare("PAID", [](const Record& record) { return record.paid; });
    compare("BOTH", bothOf);
  }

  std::mt19937 random{20};
  TableOwner table;
  std::vector<Record> records;
  std::set<std::string> keys;  // of the unique tag
};

TEST_F(Workload, OfFiveTagsEqualsASortedScan) {
  const char* wanted = std::getenv("LOOMKIT_XBASE_STEPS");
  const int steps = wanted != nullptr ? std::atoi(wanted) : 100000;
  start();
  for (int i = 1; i <= steps; ++i) {
    step();
    if (i % (steps / 10) == 0) {
      if (i == steps / 2) packTable();
      expectTags();
      reopen();
      expectTags();
    }
    if (i % 25000 == 0) {
      ASSERT_EQ(flush(*table), ok);
      expectChecked("AMOUNT:");
    }
    if (HasFailure()) FAIL() << "at step " << i;
  }
  ASSERT_EQ(close(*table), ok);
  expectChecked("AMOUNT:");
}

// All records go, by their marks and then by a pack, and others come.
TEST_F(Workload, ShrinksToNothingAndGrowsAgain) {
  start();
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 3000; ++i) insertRecord();
    for (std::size_t i = 0; i < records.size(); ++i) {
      if (!records[i].deleted) deleteRecord(i);
    }
    expectTags();
    ASSERT_EQ(flush(*table), ok);
    expectChecked("AMOUNT: 0 keys, 1 levels");
    if (round == 0) packTable();
    if (HasFailure()) return;
  }
  packTable();
  expectTags();
  ASSERT_EQ(close(*table), ok);
  expectChecked(
      "AMOUNT: 0 keys, 1 levels, 1 leaves\nBORN: 0 keys, 1 levels, 1 leaves\n"
      "BOTH: 0 keys, 1 levels, 1 leaves\nNAME: 0 keys, 1 levels, 1 leaves\n"
      "PAID: 0 keys, 1 levels, 1 leaves\n18 blocks, 0 free\n");
}

}  // namespace
}  // namespace loomkit::xbase
