// SPDX-License-Identifier: MIT
// Extension: GXBaseTable, one xBase table as its files have it: header, fields,
// records, memos, tags and expressions, beside what the database model shows of
// them. For tools that look into files, check them and mend them.
//
//   GXBaseTable table;
//   if (!table.open("parts.dbf", true)) return table.getErrMsg();
//   for (unsigned n = 1; table.go(n); ++n) use(table.getText(0));
//
//   GXBaseExpression key;
//   if (!key.parse(&table, "UPPER(NAME)")) point(key.getErrorPosition());
//   while (...) { std::string value; key.evaluate(&value); }
#ifndef LOOMKIT_XBASE_XBASE_H
#define LOOMKIT_XBASE_XBASE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/platform/export.h"

/// Takes the reports that the engine below the database model makes by itself: a
/// title, and lines that end in CR LF. `context` is what was given with it.
using GXBaseReportSink = void (*)(const char* title, const char* text, void* context);

/// Sends those reports, which are of wrong expressions only, to `sink` in place of
/// the platform's message box (on Linux, standard error). Null brings that back.
LOOMKIT_API void gXBaseSetReportSink(GXBaseReportSink sink, void* context);

/// One table with its memo file and its index file. It also reads the field
/// letters I, Y, T, B and 0 of later programs, and then cannot be changed.
///
/// Where a `bool` result is false, getErrMsg() says why and getErrorCode() with
/// which code of the engine. Nothing is reported elsewhere, and nothing throws on
/// bad files. A table belongs to one thread at a time, as do all tables of the
/// process. Do not open a file here that a database of this process has open.
class LOOMKIT_API GXBaseTable {
 public:
  /// A field. `type` is its letter in capitals: C text, N and F number, D date, L
  /// logical, M memo; I integer, Y currency, T time, B double, 0 null flags.
  struct Field {
    std::string name;
    char type = 'C';
    unsigned width = 0;
    unsigned decimals = 0;
  };
  /// A tag of the index file.
  struct Tag {
    std::string name;
    std::string expression;
    std::string filter;  ///< empty: every record is in the tag
    bool unique = false;
    bool descending = false;
  };
  /// What the header says.
  struct Header {
    unsigned version = 0;
    unsigned codePage = 0;  ///< the language driver's number
    std::size_t headerLength = 0;
    std::size_t recordLength = 0;
    unsigned recordCount = 0;         ///< records that the file has whole
    unsigned memoBlockSize = 0;       ///< 0: there is no memo file
    bool hasProductionIndex = false;  ///< the header says so
  };
  /// Something wrong, found by check(). Record 0: not in a record.
  struct Finding {
    unsigned record = 0;
    std::string where;  ///< a field's or tag's name
    std::string what;
  };
  /// Hears of long work: records done, of how many. False stops it.
  using Progress = std::function<bool(unsigned done, unsigned all)>;

  GXBaseTable();
  GXBaseTable(const GXBaseTable&) = delete;
  GXBaseTable& operator=(const GXBaseTable&) = delete;
  /// close().
  ~GXBaseTable();

  /// Opens the table at `path`, to which ".DBF" is added if it has no extension.
  bool open(const std::string& path, bool readOnly);
  /// Opens the index file beside it. True also if there is none: then there are no
  /// tags. False: it is damaged, or was left in the midst of a change.
  bool openIndexes();
  /// Writes what is to be written, and closes. Repeatable.
  bool close();
  [[nodiscard]] bool isOpen() const;

  [[nodiscard]] Header getHeader() const;
  [[nodiscard]] std::vector<Field> getFields() const;
  [[nodiscard]] std::vector<Tag> getTags() const;
  /// The number of a field, whatever the letter case; -1 if there is none.
  [[nodiscard]] int getFieldId(const std::string& name) const;

  /// Makes a record current, from 1; false outside the table.
  bool go(unsigned number);
  [[nodiscard]] unsigned getRecordNumber() const;
  [[nodiscard]] bool isDeleted() const;
  /// A field of the current record as text, without blanks around it: numbers,
  /// dates as CCYYMMDD (times with " HH:MM:SS" behind), the memo's text, null
  /// flags in hexadecimal. Empty for a memo that cannot be read. Requires: `field`
  /// is a field number.
  [[nodiscard]] std::string getText(int field);
  /// A memo field's text; false for a pointer to nothing. Requires: `field` is
  /// the number of a field of letter M.
  bool getMemo(int field, std::string* text);

  /// Looks at every record, memo and tag entry, and adds what is wrong to
  /// `*findings`, up to `limit`. False: a file could not be read, or `progress`
  /// stopped it.
  bool check(std::vector<Finding>* findings, std::size_t limit, const Progress& progress);
  /// Has a function called every now and then by pack() and reindex(), which cannot be
  /// stopped: with the steps done, of how many; empty: none. It must not use the table.
  void setProgress(std::function<void(std::uint64_t done, std::uint64_t all)> listener);
  /// Removes the records marked deleted, and builds all tags anew.
  bool pack();
  /// Builds all tags anew. An index file that openIndexes() has not opened is opened
  /// for that, even if it was left in the midst of a change, as long as it tells what
  /// its tags are.
  bool reindex();
  /// Adds tags to those of openIndexes(), which comes first, and builds the index file
  /// anew with all of them. A name that is taken and an expression that is wrong change
  /// nothing; a file that cannot be written leaves no index file.
  bool addTags(const std::vector<Tag>& tags);

  [[nodiscard]] int getErrorCode() const;
  [[nodiscard]] const std::string& getErrMsg() const;

 private:
  friend class GXBaseExpression;
  struct State;
  std::unique_ptr<State> state;
};

/// An expression over the records of a table. It must not outlive the table's
/// being open.
class LOOMKIT_API GXBaseExpression {
 public:
  GXBaseExpression();
  GXBaseExpression(const GXBaseExpression&) = delete;
  GXBaseExpression& operator=(const GXBaseExpression&) = delete;
  ~GXBaseExpression();

  /// Compiles `source`. False: getErrMsg() and getErrorPosition() tell why and
  /// where. Requires: `table` is open.
  bool parse(GXBaseTable* table, const std::string& source);
  /// 'C' text, 'L' logical, 'n' or 'N' number, 'd' or 'D' date. Requires: parse()
  /// was successful, here and below.
  [[nodiscard]] char getType() const;
  /// Stores the value for the current record as text: a number in the fewest
  /// digits that read back as itself, a date as CCYYMMDD, a logical as T or F.
  bool evaluate(std::string* value);

  [[nodiscard]] const std::string& getErrMsg() const;
  /// The offset in the source of what is wrong, in bytes.
  [[nodiscard]] std::size_t getErrorPosition() const;

 private:
  struct State;
  std::unique_ptr<State> state;
};

#endif  // LOOMKIT_XBASE_XBASE_H
