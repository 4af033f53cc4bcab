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
#include "loomkit/xbase/file.h"
#include "loomkit/xbase/key_tree.h"

namespace loomkit::xbase {

class Expression;
struct DataFile;
struct IndexFile;

/// A tag to be created.
struct TagDescription {
  std::string name;        ///< at most 10 characters count
  std::string expression;  ///< of the key
  std::string filter;      ///< empty: every record is in the tag
  bool unique = false;     ///< a second record with the same key is refused
  bool descending = false;
};

/// A tag of an open index file. Its members are for the engine and its tests.
struct Tag {
  Tag(IndexFile& owner, std::size_t keyLength, unsigned char pad);
  ~Tag();

  IndexFile* index;
  std::string name;  ///< in capitals, without blanks at its end
  std::unique_ptr<Expression> expression;
  std::unique_ptr<Expression> filter;  ///< null: every record is in the tag
  char keyType = 'C';                  ///< of the expression: C, D, d, N, n or L
  bool unique = false;
  bool descending = false;
  std::uint32_t headerAddress = 0;
  std::uint32_t version = 0;  ///< as the file's header has it

  KeyTree tree;
  TreeCursor cursor;  ///< where the tag stands, in the tag's own order
};

/// An open index file. Its members are for the engine and its tests.
struct IndexFile {
  explicit IndexFile(DataFile& table);
  IndexFile(const IndexFile&) = delete;
  IndexFile& operator=(const IndexFile&) = delete;
  ~IndexFile();

  DataFile* data;
  File file;
  BlockSpace space;
  std::unique_ptr<KeyTree> tagOfTags;      ///< null: a file of a single tag
  std::vector<std::unique_ptr<Tag>> tags;  ///< in the order of their names
  std::uint32_t version = 0;               ///< of the tag of tags
};

/// Opens an index file of a table, and adds it to the table's. `name` is a path, to
/// which ".CDX" is added if it has no extension; empty: the table's own path with
/// that extension. Null: the engine has the code; errorNotAnIndex also for a file
/// that was left in the midst of a change.
IndexFile* openIndex(DataFile& data, const std::string& name);

/// Makes an index file with a tag for each description, over all records of the
/// table, and adds it to the table's. With an empty path it becomes the table's
/// production index. Null: the engine has the code, and no file is left.
/// With `uniqueErrors`, records of equal keys in a unique tag are the error 20;
/// otherwise the tag gets the first of them.
IndexFile* createIndex(DataFile& data, const std::string& name,
                       const std::vector<TagDescription>& tags, bool uniqueErrors = false);

/// Flushes and closes a file that is the table's no more afterwards. With `remove`
/// nothing is written, and the file is deleted.
int closeIndex(IndexFile* index, bool remove = false);

/// Brings all changes to the disk.
int flush(IndexFile& index);
/// Marks the file on the disk as one that is being changed. For those who change
/// the table in a way that the tags are to follow later.
int announceChange(IndexFile& index);
/// Builds all tags anew from the records of the table.
int rebuild(IndexFile& index);

/// The tag of that name, whatever the letter case; null if there is none.
Tag* findTag(IndexFile& index, std::string_view name);
/// The text of the key's expression.
const std::string& tagExpression(const Tag& tag);

/// The key of the current record in a tag, and whether the tag's filter lets the
/// record in.
int recordKey(Tag& tag, std::vector<unsigned char>* key, bool* inTag);

/// Adds the current record's key under a record number. notUnique: a unique tag
/// has the key.
int addKey(Tag& tag, std::uint32_t record);
/// The same in every tag of the table's files. On a failure, and for notUnique, the
/// tags before it have been cleared of the key again.
int addKeys(DataFile& data, std::uint32_t record);
/// Takes the current record's key out of every tag of the table's files, as far as
/// it is there.
int removeKeys(DataFile& data, std::uint32_t record);

/// Moves to the first entry whose key begins with `key`, as the tag stores it.
/// notFound stands at the next entry, endOfFile behind the last.
int seekStored(Tag& tag, std::string_view key);
/// The same for a text: of a character tag the beginning of its key, of a numeric
/// one a number, of a date CCYYMMDD, of a logical one T or F. An empty text is not
/// found.
int seekKey(Tag& tag, std::string_view text);
/// Moves to a record's entry, or to where it would be: notFound, endOfFile.
int seekEntry(Tag& tag, const unsigned char* key, std::uint32_t record);
int goTop(Tag& tag);
int goBottom(Tag& tag);
/// Moves on by so many entries in the tag's order, back if it is negative.
/// endOfFile and beginningOfFile stay at the last entry there is.
int skipKeys(Tag& tag, long count);

/// The key at which a tag stands, as it is stored; empty if it stands nowhere.
std::string_view currentKey(const Tag& tag);

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_INDEX_FILE_H
