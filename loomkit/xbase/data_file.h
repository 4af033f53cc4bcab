// SPDX-License-Identifier: MIT
// DataFile: an open table, its current record, and the operations on both.
//
//   std::unique_ptr<DataFile> parts = openDataFile(engine, "parts");
//   for (std::uint32_t n = 1; go(*parts, n) == ok; ++n) {
//     if (!isDeleted(*parts)) use(fieldText(*parts, 0));   // field.h
//   }
//
// dbf_layout.h has the format; docs/formats/dbf.md tells what is read, what is
// written, and what a table looks like after a crash.
#ifndef LOOMKIT_XBASE_DATA_FILE_H
#define LOOMKIT_XBASE_DATA_FILE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/file.h"
#include "loomkit/xbase/tag_description.h"

namespace loomkit::xbase {

struct Engine;
struct IndexFile;
class MemoFile;
struct Tag;

/// A column to be created. `width` counts for the letters C, N and F, and
/// `decimals` for N and F.
struct FieldDescription {
  std::string name;
  char type = 'C';
  unsigned width = 0;
  unsigned decimals = 0;
};

/// A column of an open table.
struct Field {
  std::string name;  ///< as the file has it, at most 10 characters
  char type = 'C';   ///< C, D, F, L, M or N; a later letter with Engine::laterTypes
  unsigned width = 0;
  unsigned decimals = 0;
  std::size_t offset = 0;  ///< in the record, whose first byte is the deletion flag
};

/// A memo that was assigned to the current record and is not in the file yet.
struct MemoEntry {
  bool changed = false;
  std::string text;
};

/// An open table. Its members are for the engine and its tests; others use the
/// functions below. It is closed when it ends.
struct DataFile {
  explicit DataFile(Engine& engine);
  DataFile(const DataFile&) = delete;
  DataFile& operator=(const DataFile&) = delete;
  ~DataFile();

  Engine* engine;
  File file;
  std::string alias;  ///< the file's name without directory and extension, in capitals
  unsigned version = 0;
  unsigned codePage = 0;  ///< the language driver's number, 0 for none
  bool hasProductionIndex = false;
  std::uint32_t recordCount = 0;
  std::size_t headerLength = 0;
  std::size_t recordLength = 0;
  std::vector<Field> fields;

  std::string record;              ///< the current record: recordLength bytes
  std::string oldRecord;           ///< of a changed record, what it was, for its keys
  std::uint32_t recordNumber = 0;  ///< 0: none, or the one that is being appended
  bool recordChanged = false;
  bool headerChanged = false;
  bool atEnd = false;
  bool atBeginning = false;

  std::unique_ptr<MemoFile> memo;
  std::vector<MemoEntry> memos;  ///< one for each field; of use for letter M only
  bool memosChanged = false;     ///< some entry of `memos` is
  std::vector<std::shared_ptr<IndexFile>> indexes;
  Tag* selected = nullptr;   ///< the tag that orders skip() and seek(); null: record numbers
  std::uint64_t serial = 0;  ///< differs between all tables that an engine ever opened
};

/// Opens a table; `name` is a path, to which ".DBF" is added if it has no
/// extension. Null: the engine has the code.
std::unique_ptr<DataFile> openDataFile(Engine& engine, const std::string& name);

/// Makes a table and opens it, with a production index of `tags` if there are
/// any. Null: the engine has the code.
std::unique_ptr<DataFile> createDataFile(Engine& engine, const std::string& name,
                                         const std::vector<FieldDescription>& fields,
                                         const std::vector<TagDescription>& tags = {});

/// Flushes and closes everything. Repeatable. Does not throw: without the memory to
/// flush, what was not flushed before is lost, and the code is errorMemory.
int close(DataFile& data);

/// The zero-based number of a field, whatever the letter case; -1 for a name that
/// no field has, and for one of more than 10 characters.
int fieldNumber(const DataFile& data, std::string_view name);

/// Makes a record current; noSuchRecord, with a blank record, for a number
/// outside the file.
int go(DataFile& data, std::uint32_t number);
/// The same. `*plain` is where the file has read the record's bytes ahead, if it is known
/// that none of them is zero; null otherwise. So a long scan need not search each record
/// for zero bytes. Valid until the next call for the table.
int go(DataFile& data, std::uint32_t number, const char** plain);
/// Moves by `count` in the order of the selected tag. endOfFile and
/// beginningOfFile leave a blank record.
int skip(DataFile& data, long count);
/// Makes the first record with this key in the selected tag current. notFound
/// stands at the next key, endOfFile behind the last.
int seek(DataFile& data, std::string_view key);

/// Makes the next record current that has the key at which the selected tag stands.
/// notFound if there is none; the current record is then still the same. No other
/// record is read.
int seekNext(DataFile& data);

inline bool isDeleted(const DataFile& data) { return data.record.front() == dbf::flagDeleted; }
/// Comes before each change of the current record: keeps what the record was, so that
/// one that is only read is not copied.
void beginChange(DataFile& data);
/// Forgets the memos that were assigned and are not in the file yet.
void clearMemos(DataFile& data);
void markDeleted(DataFile& data);
void unmarkDeleted(DataFile& data);
/// Blanks all fields of the current record; the deletion flag stays.
void blank(DataFile& data);

/// Begins a new record with the bytes of the current one, without its memos.
int startAppend(DataFile& data);
/// Writes the record that startAppend() began, and its keys. notUnique: nothing
/// was written.
int finishAppend(DataFile& data);

/// Writes the current record, if it has changed, and brings everything to the
/// disk: memos, records, the header, then the indexes.
int flush(DataFile& data);
/// Removes the records that are marked deleted and rebuilds all tags. The table
/// is replaced in one step: a process that dies leaves the old one or the new.
int pack(DataFile& data);

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_DATA_FILE_H
