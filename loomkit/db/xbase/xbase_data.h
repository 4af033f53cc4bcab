// SPDX-License-Identifier: MIT
// GDbXBaseData: an open table file with its index file, shared by all table
// objects on it; and GDbXBaseIndex, one of its indexes. Private to the backend.
#ifndef LOOMKIT_DB_XBASE_XBASE_DATA_H
#define LOOMKIT_DB_XBASE_XBASE_DATA_H

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/db/field.h"
#include "loomkit/db/key.h"
#include "loomkit/db/status.h"
#include "loomkit/xbase/data_file.h"

class GDbXBaseDirectory;
class GDbStructure;

/// The engine of all tables, set up at the first call for results that come as
/// codes only, expressions aside. Its error code is cleared: what an earlier
/// operation left there is not this one's.
loomkit::xbase::Engine& gDbXBaseEngine();

/// Whether the file's name can be a table's: the part before its first dot is
/// shorter than eleven characters.
bool gDbXBaseHasTableName(const std::string& path);

/// A name as the files have it: ten characters, in capitals if it has a small
/// letter. A name without any stays as it is, however long. Empty: the name is
/// none.
std::string gDbXBaseNormalize(const std::string& name);

/// Whether a field of the letter may be used as that type. Numbers with decimals
/// are no integers.
bool gDbXBaseTypesFit(GDbFieldType type, const loomkit::xbase::Field& field);

/// An index with what follows from its columns and the table.
class GDbXBaseIndex : public GDbIndex {
 public:
  GDbXBaseIndex() = default;
  /// Not valid, if a column is not in the table or can be in no index.
  GDbXBaseIndex(const GDbIndex& index, const loomkit::xbase::DataFile& table);

  [[nodiscard]] bool isValid() const { return valid; }
  /// The numbers of the fields, in the order of the columns.
  [[nodiscard]] const std::vector<int>& getFieldIds() const { return fieldIds; }
  /// The expression of the tag.
  [[nodiscard]] const std::string& getExpression() const { return expression; }
  /// Whether the other has the same columns and the same flags.
  [[nodiscard]] bool isLike(const GDbXBaseIndex& other) const;
  /// Whether the keys are on its columns, each once.
  [[nodiscard]] bool serves(const GDbKey* keys, int count) const;

 private:
  std::vector<std::string> columnNames;  // normalised
  std::vector<int> fieldIds;
  std::string expression;
  bool valid = false;
};

using GDbXBaseIndexes = std::map<std::string, GDbXBaseIndex>;  // by upper-cased name

/// An open table. Counted: it begins with one reference, and closes its files
/// with the last.
class GDbXBaseData {
 public:
  /// Opens the table of an upper-cased name. `*data` has a reference for the
  /// caller.
  static GDbStatus open(GDbXBaseDirectory* directory, const std::string& name, GDbXBaseData** data);

  GDbXBaseData(const GDbXBaseData&) = delete;
  GDbXBaseData& operator=(const GDbXBaseData&) = delete;

  void addRef() { ++refCount; }
  void release();

  [[nodiscard]] GDbXBaseDirectory* getDirectory() const { return directory; }
  [[nodiscard]] const std::string& getName() const { return name; }
  [[nodiscard]] bool isReadOnly() const { return readOnly; }
  [[nodiscard]] loomkit::xbase::DataFile& getFile() const { return *dataFile; }
  [[nodiscard]] loomkit::xbase::IndexFile* getIndexFile() const { return indexFile; }
  [[nodiscard]] const GDbXBaseIndexes& getIndexes() const { return indexes; }

  /// The types in which the structure wants the fields of the file.
  GDbStatus findFieldTypes(const GDbStructure& structure, std::vector<GDbFieldType>* types) const;

  /// Sees to it that the index file has the indexes, and builds it anew if it has
  /// not. Without any, the index file is left alone.
  GDbStatus fitIndexes(const std::vector<GDbIndex>& wanted);

  /// The index for the keys, with its tag selected; null with a status otherwise.
  GDbStatus findIndex(const GDbKey* keys, int count, const GDbXBaseIndex** index,
                      std::string* indexName) const;

  /// The text to seek; empty for a key that no record can have.
  GDbStatus buildKey(const GDbXBaseIndex& index, const GDbKey* keys, int count,
                     std::string* text) const;

 private:
  GDbXBaseData(GDbXBaseDirectory* directory, const std::string& name, bool readOnly,
               std::unique_ptr<loomkit::xbase::DataFile> file);
  ~GDbXBaseData();
  [[nodiscard]] std::string indexFileName() const { return name + ".CDX"; }
  GDbStatus collectIndexes(const std::vector<GDbIndex>& wanted, GDbXBaseIndexes* collected) const;
  void openIndexFile();
  [[nodiscard]] bool indexFileHas(const GDbXBaseIndexes& wanted) const;
  GDbStatus rebuildIndexFile(GDbXBaseIndexes wanted);
  GDbStatus createIndexFile(const GDbXBaseIndexes& wanted);
  GDbStatus deleteIndexFile();

  int refCount = 1;
  GDbXBaseDirectory* directory;
  std::string name;  // upper-cased
  bool readOnly;     // the files were not writable
  std::unique_ptr<loomkit::xbase::DataFile> dataFile;
  loomkit::xbase::IndexFile* indexFile = nullptr;  // the table's; null until one is open
  GDbXBaseIndexes indexes;
};

#endif  // LOOMKIT_DB_XBASE_XBASE_DATA_H
