// SPDX-License-Identifier: MIT
// The CSV backend, type id "csv": read-only text tables in a directory.
//
//   GDbDatabase::openDatabase("csv:/data?zipfile=tables.zip;order=zip,files", &db);
//   GDbStructure structure;
//   structure.appendField(GDbField("code", GDbFieldString, -1, 0, true, true));
//   structure.appendField(GDbField("value", GDbFieldFloat, 0, -1, false, false));
//   db->openTable("parts", &structure, &table);    // /data/parts.csv
//
// The files have no header line and ";" between the columns: the structure
// names the columns and their types. docs/formats/csv.md describes the format.
#ifndef LOOMKIT_DB_CSV_CSV_DATABASE_H
#define LOOMKIT_DB_CSV_CSV_DATABASE_H

#include <istream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "loomkit/db/database.h"
#include "loomkit/db/factory.h"
#include "loomkit/db/table.h"
#include "loomkit/platform/export.h"

class GZipReader;

namespace loomkit {
class CsvCatalog;
class CsvIndex;
class CsvLayout;
class CsvLineReader;
}  // namespace loomkit

/// A directory, optionally with a zip archive in it. A table is looked for when
/// it is opened: `<name>.csv` in the directory ("files") and in the archive
/// ("zip"), in the order of the option "order=". The caller of openDatabase() owns
/// it. Failures are statuses. For one thread at a time.
class LOOMKIT_API GDbCSV : public GDbDatabase {
 public:
  /// `locator` becomes the database's name, and `directory` is where the tables
  /// are. `options` are those behind the locator's question mark; unknown ones are
  /// ignored. Hosts call GDbDatabase::openDatabase() instead.
  GDbCSV(const std::string& locator, const std::string& directory,
         const std::vector<std::string>& options);
  GDbCSV(const GDbCSV&) = delete;
  GDbCSV& operator=(const GDbCSV&) = delete;
  /// Closes the database and its archive.
  ~GDbCSV() override;

  /// Forgets the directory and nothing else: open tables go on working on their
  /// streams, and a table opened afterwards is looked for in the root.
  GDbStatus closeDatabase() override;
  /// Stores a new table, which the caller owns. Requires a structure, else
  /// GDbInvalidArgument; it is copied and tells the columns in the order of the
  /// file. The first line is read, so a table that does not fit its structure is
  /// refused here.
  GDbStatus openTable(const std::string& name, const GDbStructure* structure,
                      GDbTable** table) override;
  /// GDbCreateTableNotSupported: the backend only reads.
  GDbStatus createTable(const std::string& name, const GDbStructure* structure,
                        GDbTable** table) override;
  /// GDbDeleteTableNotSupported, for the same reason.
  GDbStatus deleteTable(const std::string& name) override;

 private:
  // What GDbCatalog asks of this backend.
  friend class loomkit::CsvCatalog;
  [[nodiscard]] bool isClosed() const { return directory.empty(); }
  // The names of the tables in all sources.
  GDbStatus listTables(std::set<std::string>* names);
  // The text of a table from the first source that has it; null when none has.
  std::unique_ptr<std::istream> openText(const std::string& tableName);

  std::unique_ptr<std::istream> openSource(const std::string& source, const std::string& file);
  std::unique_ptr<std::istream> openZipMember(const std::string& file);
  bool listFiles(std::set<std::string>* names) const;
  void listZipMembers(std::set<std::string>* names);
  bool openZipReader();
  void deleteZipReader();

  std::string directory;            // unescaped
  std::string zipFile;              // relative to the directory; empty: none
  std::vector<std::string> order;   // the sources to try
  GZipReader* zipReader = nullptr;  // owned; made at first need
};

/// One text table. Lookups go through an index per combination of key fields, built
/// at the first such lookup. It holds hashes and positions only, and nothing
/// detects a file that changes meanwhile: a caller who changes the file opens the
/// table anew.
///
/// There is one read position: a lookup between two getNextRecord() calls moves the
/// scan. A malformed line gives its status when it is read; the next
/// getNextRecord() goes on behind it.
///
/// The caller of openTable() owns the table. It is for one thread at a time.
class LOOMKIT_API GDbCSVTable : public GDbTable {
 public:
  /// Copies `structure` and takes `stream` over. Aborts when a field is
  /// GDbFieldNone.
  GDbCSVTable(GDbCSV* database, const std::string& name, const GDbStructure& structure,
              std::unique_ptr<std::istream> stream);
  GDbCSVTable(const GDbCSVTable&) = delete;
  GDbCSVTable& operator=(const GDbCSVTable&) = delete;
  /// Closes the table if it is open.
  ~GDbCSVTable() override;

  /// Closes the file and drops the indexes. The records that were handed out stay
  /// their sets'.
  GDbStatus closeTable() override;
  /// Stores the index of the column `name`, counted from 0. Letter case counts or
  /// not as the structure says that the table was opened with.
  GDbStatus getFieldId(const char* name, int* id) override;
  /// Stores a new copy of that structure, which the caller deletes.
  GDbStatus getStructure(GDbStructure** result) override;
  /// Appends the rows that match all `count` keys to `result`, which owns the new
  /// records. The first lookup by a combination of fields reads the whole file to
  /// build an index. The order of the keys matters to speed: (a, b) and (b, a) use
  /// two indexes.
  GDbStatus lookupKeys(const GDbKey* keys, int count, GDbRecordSet* result) override;
  /// Begins a scan at the first line and appends its row to `result`, which owns
  /// the new record. A success that appends nothing means that there is no row.
  GDbStatus getFirstRecord(GDbRecordSet* result) override;
  /// Appends the row of the next line in the same way; nothing behind the last
  /// line. A lookup in between moves the position, so that a caller does not mix
  /// the two.
  GDbStatus getNextRecord(GDbRecordSet* result) override;
  /// GDbInsertNotSupported.
  GDbStatus insertRecords(const GDbRecordSet& records) override;
  /// GDbDeleteNotSupported.
  GDbStatus deleteKeys(const GDbKey* keys, int count) override;

 private:
  friend class GDbCSV;
  GDbStatus checkFirstLine();
  GDbStatus readLine(bool* found);
  GDbStatus readRecord(GDbRecord** record);
  GDbStatus indexName(const GDbKey* keys, int count, std::string* indexName) const;
  GDbStatus buildIndex(const GDbKey* keys, int count, std::unique_ptr<loomkit::CsvIndex>* index);
  GDbStatus addMatches(const loomkit::CsvIndex& index, const GDbKey* keys, int count,
                       GDbRecordSet* result);

  std::unique_ptr<GDbStructure> structure;  // null after close
  std::unique_ptr<loomkit::CsvLineReader> lines;
  std::unique_ptr<loomkit::CsvLayout> layout;
  std::map<std::string, std::unique_ptr<loomkit::CsvIndex>> indexes;  // by the names of the fields
};

/// Opens "csv:" locators.
class LOOMKIT_API GDbCSVFactory : public GDbDbFactory {
 public:
  /// Registers itself. The library makes the one factory that is needed.
  GDbCSVFactory();
  /// Stores a new database, which the caller owns. Hosts call
  /// GDbDatabase::openDatabase(), which comes here. GDbCantOpenDirectory: the path
  /// is no directory.
  GDbStatus openDatabase(const char* locator, GDbDatabase** database) override;
};

#endif  // LOOMKIT_DB_CSV_CSV_DATABASE_H
