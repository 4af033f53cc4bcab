// SPDX-License-Identifier: MIT
// IndexFile: a compound index file and its tags, each a tree of keys over the
// records of one table.
//
//   IndexFile* index = createIndex(*parts, "", {{"NAME", "NAME", "", false, false}});
//   Tag* tag = findTag(*index, "name");
//   if (seekKey(*tag, "bolt") == ok) use(tag->cursor.record);
//   while (skipKeys(*tag, 1) == ok) use(tag->cursor.record);
//
// cdx_layout.h has the format; docs/formats/cdx.md tells what is read and written,
// and how a file that was left in the midst of a change is known.
#ifndef LOOMKIT_XBASE_INDEX_FILE_H
#define LOOMKIT_XBASE_INDEX_FILE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "loomkit/xbase/block_space.h"
#include "loomkit/xbase/expression.h"
#include "loomkit/xbase/file.h"
#include "loomkit/xbase/key_tree.h"
#include "loomkit/xbase/tag_description.h"

namespace loomkit::xbase {

struct DataFile;
struct IndexFile;

/// The keys of a record before and after a change, and whether they are in the tag.
struct KeyChange {
  std::vector<unsigned char> before;
  std::vector<unsigned char> after;
  bool wasIn = false;
  bool isIn = false;

  [[nodiscard]] bool isNone() const { return wasIn == isIn && (!isIn || before == after); }
};

/// A tag of an open index file. Its members are for the engine and its tests.
struct Tag {
  /// `key` is the expression of the keys, which are `keyLength` bytes long.
  Tag(IndexFile& owner, std::unique_ptr<Expression> key, std::size_t keyLength);

  IndexFile* index;
  std::string name;  ///< in capitals, without blanks at its end
  std::unique_ptr<Expression> expression;
  std::unique_ptr<Expression> filter;  ///< null: every record is in the tag
  bool unique = false;
  bool descending = false;
  std::uint32_t headerAddress = 0;
  std::uint32_t version = 0;       ///< as the file's header has it
  std::uint64_t writtenState = 0;  ///< of the tree's changes, those that the header knows of

  KeyTree tree;
  TreeCursor cursor;  ///< where the tag stands
  KeyChange change;   ///< of the record that is being written; otherwise only its memory counts
};

/// An open index file. Its members are for the engine and its tests.
struct IndexFile {
  explicit IndexFile(DataFile& table);
  IndexFile(const IndexFile&) = delete;
  IndexFile& operator=(const IndexFile&) = delete;

  DataFile* data;
  File file;
  BlockSpace space;
  KeyTree tagOfTags;
  bool compound = true;                    ///< false: a file of a single tag, without a tag of tags
  std::uint32_t version = 0;               ///< of the tag of tags
  std::vector<std::unique_ptr<Tag>> tags;  ///< in the order of their names
};

/// Opens an index file of a table, and adds it to the table's. `name` is a path, to
/// which ".CDX" is added if it has no extension; empty: the table's own path with
/// that extension. Null: the engine has the code; errorNotAnIndex also for a file
/// that was left in the midst of a change.
IndexFile* openIndex(DataFile& data, const std::string& name);

/// Extension: the same for a file that may have been left in the midst of a change,
/// as long as it tells what its tags are; they are built anew. The table is to be
/// flushed before.
IndexFile* mendIndex(DataFile& data, const std::string& name);

/// Makes an index file with a tag for each description, over all records of the
/// table, and adds it to the table's. With an empty path it becomes the table's
/// production index. A unique tag gets the first of several records with the same
/// key; with `uniqueErrors` they are the error 20 instead. Null: the engine has the
/// code, and no file is left.
IndexFile* createIndex(DataFile& data, const std::string& name,
                       const std::vector<TagDescription>& tags, bool uniqueErrors = false);

/// Flushes and closes the file, which is the table's no more. Its tags are gone.
int closeIndex(IndexFile& index);

/// Brings all changes to the disk.
int flush(IndexFile& index);
/// Marks the file on the disk as one that is being changed. For those who change
/// the table in a way that the tags are to follow later.
int announceChange(IndexFile& index);
/// Builds all tags anew from the records of the table, which is to be flushed
/// before: the index must not know of records that a crash can take away.
int rebuild(IndexFile& index);

/// The tag of that name, whatever the letter case; null if there is none.
Tag* findTag(IndexFile& index, std::string_view name);
/// The text of the key's expression.
const std::string& tagExpression(const Tag& tag);

/// The key of the current record in a tag, and whether the tag's filter lets the
/// record in.
int recordKey(Tag& tag, std::vector<unsigned char>* key, bool* inTag);

/// Adds the current record, under its number, to every tag of the table. On a
/// failure, and for notUnique, no tag has it.
int addKeys(DataFile& data);
/// Takes a record out of every tag that has it; it is the current one, as it was
/// when it was added.
int removeKeys(DataFile& data);
/// Brings every tag from DataFile::oldRecord to what the record is now. On a
/// failure, and for notUnique, the tags are as they were.
int updateKeys(DataFile& data);

/// Undo addKeys() and updateKeys() for a record that could not be written. The
/// engine keeps its error code.
void withdrawKeys(DataFile& data);
void revertKeys(DataFile& data);

/// Moves to the first entry, in the tag's order, whose key begins with these bytes.
/// notFound stands at the next entry, endOfFile nowhere.
int seekStored(Tag& tag, std::string_view stored);
/// The same for a text: of a character tag the beginning of a key, of a numeric
/// one a number, of a date CCYYMMDD, of a logical one T or F. An empty text is not
/// found.
int seekKey(Tag& tag, std::string_view text);
/// Moves to the entry of a record with this key, or to the next one: notFound,
/// endOfFile.
int seekEntry(Tag& tag, const std::vector<unsigned char>& key, std::uint32_t record);
/// Move to an end of the tag; endOfFile if it is empty.
int goTop(Tag& tag);
int goBottom(Tag& tag);
/// Moves on by so many entries in the tag's order, back if the number is negative.
/// endOfFile and beginningOfFile stay at the last entry there is.
int skipKeys(Tag& tag, long count);

/// The key at which a tag stands, as it is stored; empty if it stands nowhere.
std::string_view currentKey(const Tag& tag);

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_INDEX_FILE_H
