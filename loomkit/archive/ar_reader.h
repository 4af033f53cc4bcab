// SPDX-License-Identifier: MIT
// GArReader: reads Unix ar archives (static libraries, Debian packages).
//
//   GArReader reader;
//   if (!reader.open("hello.deb")) return;        // gOutput was told why
//   std::ostringstream version;
//   reader.readEntry("debian-binary", &version);
#ifndef LOOMKIT_ARCHIVE_AR_READER_H
#define LOOMKIT_ARCHIVE_AR_READER_H

#include <istream>
#include <map>
#include <ostream>
#include <string>

#include "loomkit/archive/entry_iterator.h"
#include "loomkit/platform/export.h"
#include "loomkit/text/str_stream.h"

/// A member of an ar archive: its name and where its data lie. A plain value, which
/// a host gets from a GArReader; the reader owns it.
class LOOMKIT_API GArEntry {
 public:
  /// An entry whose data are `size` bytes, `offset` bytes from the start of the
  /// archive.
  GArEntry(const std::string& name, unsigned long offset, unsigned int size);

  /// The name as stored: with a trailing '/' in the System V dialect, and with the
  /// zero bytes that fill a BSD name up.
  [[nodiscard]] const std::string& getName() const { return name; }
  /// The bytes from the start of the archive to the data.
  [[nodiscard]] unsigned long getOffs() const { return offset; }
  /// The size of the data in bytes as the archive states it, which may be more than
  /// the archive holds.
  [[nodiscard]] unsigned int getSize() const { return size; }

 private:
  std::string name;
  unsigned long offset;
  unsigned int size;
};

/// Walks the member headers once, when it is opened, and then reads members by
/// name or entry. It reads the common layout with BSD long names. Of the System
/// V dialect nothing is interpreted: a name keeps its trailing '/', and the
/// tables "/" and "//" are members like any other.
///
/// Failures are reported to gOutput as "PATH: TEXT" with the system name
/// gDataSysName, and only the first one of an archive: isError() stays true
/// from then on, and members can no longer be read by name, until the next
/// open(). Warnings always go out, without the path.
///
/// The entries belong to the reader and are good until close(). Nothing throws,
/// apart from an allocation that fails. A reader belongs to one thread at a time:
/// reading moves its stream. Format: docs/formats/ar.md.
class LOOMKIT_API GArReader {
 public:
  /// Walks the entries; `(*i).first` is the name and `(*i).second` the entry.
  using EntryIterator = loomkit::ArchiveEntryIterator<GArEntry>;

  /// A closed reader without entries; its path is "<unknown>".
  GArReader();
  /// Reads the table of contents of a binary stream that can seek; isError() tells
  /// how that went. The reader deletes the stream if `ownsStream` is set;
  /// otherwise the stream has to live until the reader is closed.
  GArReader(std::istream* stream, bool ownsStream);
  /// Copies share stream and entries: close and end only one of the two, or
  /// copy a closed reader.
  GArReader(const GArReader&);
  GArReader& operator=(const GArReader&);
  ~GArReader();

  /// Opens a file and reads its table of contents. False when that fails; gOutput
  /// was told why. Clears the error of before. Call close() first if an archive is
  /// still open: this does not, and would leave its entries among the new ones.
  bool open(const std::string& path);
  /// Deletes an owned stream and the entries. Error and path stay. Always true.
  bool close();

  /// True once an error was reported, until the next open().
  [[nodiscard]] bool isError() const { return errorFlag; }
  /// Sets what messages call the archive; no file is touched.
  void setPath(const std::string& newPath) { path = newPath; }
  /// What messages call the archive.
  [[nodiscard]] const std::string& getPath() const { return path; }

  /// The number of entries; those that share a name count once.
  [[nodiscard]] unsigned int getEntryCount() const {
    return static_cast<unsigned int>(entries.size());
  }
  /// The entry with exactly this name, or null. It belongs to the reader.
  [[nodiscard]] const GArEntry* getEntry(const std::string& name) const;
  /// The first of all entries, in the order of their names' bytes.
  [[nodiscard]] EntryIterator entriesBegin() const { return EntryIterator(entries.begin()); }
  /// Stands behind the last entry.
  [[nodiscard]] EntryIterator entriesEnd() const { return EntryIterator(entries.end()); }

  /// Writes a member's data to `out`. False if the reader has failed before,
  /// without a word; if there is no such entry, with the warning "entry not
  /// found (NAME)", which is no error; or if reading or writing fails.
  bool readEntry(const std::string& name, std::ostream* out);
  /// Gives a member's data in a block of `operator new` that belongs to the
  /// caller and is not terminated. On failure, as above, nothing is given.
  bool readEntry(const std::string& name, char** data, unsigned int* size);
  /// Writes an entry's data to `out`, whatever failed before. Requires: the entry
  /// is one of this reader's, and the reader is open.
  bool readEntry(const GArEntry* entry, std::ostream* out);
  /// Gives an entry's data in a block, as above. A size that the archive does not
  /// hold is refused before any memory is taken for it.
  bool readEntry(const GArEntry* entry, char** data, unsigned int* size);

 private:
  class TableReader;

  void clrError() { errorFlag = false; }
  void takeStream(std::istream* newStream, bool ownsNewStream);
  bool createTableOfContents();
  void deleteEntries();
  const GArEntry* findEntry(const std::string& name);
  bool seekToEntry(const GArEntry* entry);
  [[nodiscard]] bool isWithinArchive(const GArEntry* entry);
  bool readingFailed(const GArEntry* entry);
  bool error(const char* text);
  bool error(GOStrStream& text);
  static void warning(const char* text);
  static void warning(GOStrStream& text);

  bool errorFlag = false;
  bool ownsStream = false;
  std::string path = "<unknown>";
  std::istream* stream = nullptr;
  std::map<std::string, GArEntry*> entries;  // owned
};

#endif  // LOOMKIT_ARCHIVE_AR_READER_H
