// SPDX-License-Identifier: MIT
// The xBase backend, type id "xbase": a directory of .DBF tables, each with its
// indexes in a .CDX file beside it.
//
//   GDbDatabase::openDatabase("xbase:/data/parts", &db);
//   GDbStructure structure;
//   structure.appendField(GDbField("number", GDbFieldInt, 8, 0, false, true));
//   structure.addIndex(GDbIndex("by_number", "number", true, false));
//   db->openTable("parts", &structure, &table);    // PARTS.DBF in any letter case
//
// The structure that a table is opened with says in which types the caller wants
// the fields, and which indexes it needs: an index file that does not have them
// is built anew. A table opened without any index can be scanned, and neither
// searched nor changed. docs/formats/dbf.md, fpt.md and cdx.md describe the
// files.
#ifndef LOOMKIT_DB_XBASE_XBASE_DATABASE_H
#define LOOMKIT_DB_XBASE_XBASE_DATABASE_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/db/database.h"
#include "loomkit/db/factory.h"
#include "loomkit/db/table.h"
#include "loomkit/platform/export.h"

namespace loomkit {
class XBaseRecordMaker;
}

class GDbXBaseData;
class GDbXBaseDirectory;

/// A directory. All databases on one real path share its list of files, its code
/// set and its open tables. The list is read once, when the first of them opens:
/// files that other programs add later are seen when all have been closed.
class LOOMKIT_API GDbXBase : public GDbDatabase {
 public:
  /// Takes a reference of its own on `directory`.
  GDbXBase(const std::string& locator, GDbXBaseDirectory* directory);
  GDbXBase(const GDbXBase&) = delete;
  GDbXBase& operator=(const GDbXBase&) = delete;
  ~GDbXBase() override;

  GDbStatus closeDatabase() override;
  /// Requires a structure, else GDbInvalidArgument. Fields that it does not name
  /// get the type that is natural for them. Its indexes are made if they are not
  /// there: an index file that cannot be opened is deleted with a warning.
  GDbStatus openTable(const std::string& name, const GDbStructure* structure,
                      GDbTable** table) override;
  /// Integers become N, floating numbers F and texts C, each with the width and
  /// the decimals of its field.
  GDbStatus createTable(const std::string& name, const GDbStructure* structure,
                        GDbTable** table) override;
  /// Deletes the table and its index file. GDbTableInUse: somebody has it open.
  GDbStatus deleteTable(const std::string& name) override;
  /// Sets the code set of the files' texts for all databases on this directory;
  /// null or an empty name: no conversion. Texts are converted when they are read
  /// and in keys, and are not when they are inserted.
  void setEncoding(const char* encoding) override;

  /// The shared directory; null after closeDatabase().
  [[nodiscard]] GDbXBaseDirectory* getDirectory() const { return directory; }

 private:
  GDbXBaseDirectory* directory;
};

/// One table. Several objects on one table share the current record of the file,
/// and each has a scan position of its own.
class LOOMKIT_API GDbXBaseTable : public GDbTable {
 public:
  /// Takes a reference of its own on `data`. `fieldTypes` has an entry for each
  /// field of the file: the type that the caller wants, or GDbFieldNone.
  GDbXBaseTable(GDbXBase* database, const std::string& name, GDbXBaseData* data,
                const std::vector<GDbFieldType>& fieldTypes);
  GDbXBaseTable(const GDbXBaseTable&) = delete;
  GDbXBaseTable& operator=(const GDbXBaseTable&) = delete;
  ~GDbXBaseTable() override;

  GDbStatus closeTable() override;
  /// Ten characters of the name count, and letter case does not.
  GDbStatus getFieldId(const char* name, int* id) override;
  GDbStatus getStructure(GDbStructure** result) override;
  /// Uses the first index, by name, whose columns are those of the keys in any
  /// order. GDbNoIndex: there is none.
  GDbStatus lookupKeys(const GDbKey* keys, int count, GDbRecordSet* result) override;
  GDbStatus getFirstRecord(GDbRecordSet* result) override;
  /// GDbNoRecordNumber behind the end, and before getFirstRecord().
  GDbStatus getNextRecord(GDbRecordSet* result) override;
  /// Records before one that is refused stay in the table.
  GDbStatus insertRecords(const GDbRecordSet& records) override;
  /// Also packs the table, so that record numbers change.
  GDbStatus deleteKeys(const GDbKey* keys, int count) override;

 private:
  GDbStatus insertRecord(const GDbRecord& record);
  // Takes the current record; xbase::go() tells what `plain` is, and it may be null.
  GDbStatus appendRecord(const char* plain, GDbRecordSet* result);

  GDbXBaseData* data;  // shared; null after closeTable()
  std::unique_ptr<loomkit::XBaseRecordMaker> maker;
  std::uint32_t recordNumber;  // of the scan; all ones: unknown
};

/// Opens "xbase:" locators. Options are ignored.
class LOOMKIT_API GDbXBaseFactory : public GDbDbFactory {
 public:
  /// Registers itself.
  GDbXBaseFactory();
  /// GDbCantOpenDirectory: the path is no directory.
  GDbStatus openDatabase(const char* locator, GDbDatabase** database) override;
};

#endif  // LOOMKIT_DB_XBASE_XBASE_DATABASE_H
