// SPDX-License-Identifier: MIT
// What the database tests share: a directory of their own, owners of databases
// and tables, and short ways to build structures and rows.
#ifndef LOOMKIT_TESTS_DB_DB_FIXTURE_H
#define LOOMKIT_TESTS_DB_DB_FIXTURE_H

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "loomkit/db/database.h"
#include "loomkit/db/sql/sql_database_impl.h"
#include "loomkit/db/table.h"
#include "loomkit/text/output.h"
#include "tests/capture_output.h"
#include "tests/scratch_directory.h"

// gtest prints a status by its words.
inline void PrintTo(GDbStatus status, std::ostream* out) { *out << gDbStrError(status); }

namespace loomkit::testing {

using DatabaseOwner = std::unique_ptr<GDbDatabase>;
using TableOwner = std::unique_ptr<GDbTable>;

/// Opens a database that must open: the test ends where it does not.
inline DatabaseOwner openDb(const std::string& locator) {
  GDbDatabase* database = nullptr;
  const GDbStatus status = GDbDatabase::openDatabase(locator.c_str(), &database);
  if (status != GDbNoError) throw std::runtime_error(locator + ": " + gDbStrError(status));
  return DatabaseOwner(database);
}

inline GSqlDatabaseImpl* sqlOf(const DatabaseOwner& database) {
  return dynamic_cast<GSqlDatabaseImpl*>(database.get());
}

inline GDbField field(const std::string& name, GDbFieldType type, bool primKey = false,
                      bool key = false) {
  return {name, type, 0, 0, primKey, key};
}

inline GDbStructure structureOf(const std::vector<std::pair<std::string, GDbFieldType>>& fields) {
  GDbStructure structure;
  for (const auto& [name, type] : fields) structure.appendField(field(name, type));
  return structure;
}

/// Opens a table that must open.
inline TableOwner openTable(const DatabaseOwner& database, const std::string& name,
                            const GDbStructure* structure = nullptr) {
  GDbTable* table = nullptr;
  const GDbStatus status = database->openTable(name, structure, &table);
  if (status != GDbNoError) throw std::runtime_error(name + ": " + gDbStrError(status));
  return TableOwner(table);
}

/// The records as text: columns joined by "|", a line each.
inline std::string textOf(const GDbRecord& record) {
  std::string text;
  for (int i = 0; i < record.getNumFields(); ++i) {
    if (i != 0) text += '|';
    switch (record.getFieldType(i)) {
      case GDbFieldInt:
        text += std::to_string(record.getIntField(i));
        break;
      case GDbFieldUInt:
        text += std::to_string(record.getUIntField(i));
        break;
      case GDbFieldFloat: {
        GOStrStream number;
        number << record.getFloatField(i);
        text += number.str();
        break;
      }
      case GDbFieldString:
        text += record.getStringField(i);
        break;
      case GDbFieldBlob: {
        const void* data = nullptr;
        unsigned size = 0;
        record.getBlobField(i, &data, &size);
        text += "<" + std::string(static_cast<const char*>(data), size) + ">";
        break;
      }
      default:
        text += "?";
    }
  }
  return text;
}

inline std::vector<std::string> textsOf(const GDbRecordSet& set) {
  std::vector<std::string> texts;
  for (unsigned i = 0; i < set.getNumRecords(); ++i) texts.push_back(textOf(*set.getRecord(i)));
  return texts;
}

/// Scans a table to its end; the status that ended it goes to `*status`.
inline std::vector<std::string> scan(GDbTable* table, GDbStatus* status = nullptr) {
  std::vector<std::string> texts;
  GDbRecordSet set;
  GDbStatus result = table->getFirstRecord(&set);
  while (result == GDbNoError && set.getNumRecords() > 0) {
    texts.push_back(textOf(*set.getRecord(0)));
    set.clear();
    result = table->getNextRecord(&set);
  }
  if (status != nullptr)
    *status = result;
  else
    EXPECT_EQ(result, GDbNoError);
  return texts;
}

/// Lets every log line through for its own lifetime, and keeps it.
class CaptureLog : public CaptureOutput {
 public:
  CaptureLog() { setLogLevel("*", 0); }
};

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_DB_DB_FIXTURE_H
