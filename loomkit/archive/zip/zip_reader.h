// SPDX-License-Identifier: MIT
// GZipReader: lists and extracts zip archives.
//
//   GZipReader reader;
//   if (!reader.open("books.zip")) return;       // gOutput was told why
//   for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) ...
//   std::ostringstream text;
//   reader.readEntry("books/first.txt", &text, true);
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_READER_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_READER_H

#include <cstdint>
#include <istream>
#include <map>
#include <ostream>
#include <string>

#include "loomkit/archive/entry_iterator.h"
#include "loomkit/archive/zip/zip_base.h"
#include "loomkit/archive/zip/zip_entry.h"

/// Loads the central directory when it is opened, and extracts entries one at a
/// time. It does not trust the archive: an entry's own header is compared with
/// the directory before its data are touched. What can be tolerated is warned
/// about; the rest is an error, which ends reading by name (see GZipBase).
///
/// The entries belong to the reader and are good until close(). One thread per
/// reader: extraction moves the stream and the cipher's keys.
/// Format: PKWARE's APPNOTE.TXT without zip64; data are read in steps of 8192
/// bytes.
class LOOMKIT_API GZipReader : public GZipBase {
 public:
  /// Receives the bytes of an entry.
  class LOOMKIT_API Output {
   public:
    /// With `convertLineEnds`, the two receivers of this class make CR LF a
    /// LF; one of your own may look at the flag.
    Output(bool convertLineEnds);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    virtual ~Output();

    /// Told the uncompressed size that the archive states, once and first. It
    /// may be a lie.
    virtual void reserve(unsigned int size);
    /// Takes the next bytes; false ends the extraction.
    virtual bool write(const char* data, unsigned int size) = 0;
    /// Called once after the last byte.
    virtual bool flush() = 0;

   protected:
    [[nodiscard]] bool convertsLineEnds() const { return convert; }

   private:
    bool convert;
  };

  using EntryIterator = loomkit::ArchiveEntryIterator<GZipEntry>;

  /// A closed reader.
  GZipReader();
  /// Reads the directory of a seekable binary stream; isError() tells how that
  /// went. The reader deletes the stream if `ownsStream` is set.
  GZipReader(std::istream* stream, bool ownsStream);
  /// Copies share stream and entries: close and end only one of the two, or
  /// copy a closed reader.
  GZipReader(const GZipReader&);
  GZipReader& operator=(const GZipReader&);
  ~GZipReader() override;

  /// Opens a file. Clears the error of before; what is still open is not
  /// closed: close() does that.
  bool open(const std::string& path);
  /// Ends an owned stream and the entries; path, comment and error stay. Always
  /// true.
  bool close();

  /// Extract a member to a stream, or to a block of `operator new` that is not
  /// terminated and belongs to the caller (null for an empty member), or to a
  /// receiver. The forms with a name return false without a word after an
  /// error, and with the warning "entry not found (NAME)" for an unknown one.
  /// What has gone out before a failure stays out; a block is given on success
  /// only.
  ///
  /// An entry with a data descriptor is not compared with its checksum, and a
  /// wrong password shows in the data at best.
  bool readEntry(const std::string& name, std::ostream* out, bool convertLineEnds);
  bool readEntry(const std::string& name, char** data, unsigned int* size, bool convertLineEnds);
  bool readEntry(const std::string& name, Output* out);
  /// The same by entry, whatever failed before. Requires: the reader is open
  /// and the entry is one of its own.
  bool readEntry(const GZipEntry* entry, std::ostream* out, bool convertLineEnds);
  bool readEntry(const GZipEntry* entry, char** data, unsigned int* size, bool convertLineEnds);
  bool readEntry(const GZipEntry* entry, Output* out);

  /// True if the stream, which may be null, begins as a zip file that has a
  /// member does. The stream stays where it is, but for one of less than four
  /// bytes, which is left failed.
  static bool isZipStream(std::istream* stream);

  [[nodiscard]] unsigned int getEntryCount() const {
    return static_cast<unsigned int>(entries.size());
  }
  /// The entry with exactly this name, or null.
  [[nodiscard]] const GZipEntry* getEntry(const std::string& name) const;
  /// All entries in the order of their names' bytes. Of several with one name,
  /// only the first of the directory is there.
  [[nodiscard]] EntryIterator entriesBegin() const { return EntryIterator(entries.begin()); }
  [[nodiscard]] EntryIterator entriesEnd() const { return EntryIterator(entries.end()); }
  [[nodiscard]] const std::string& getZipFileComment() const { return zipFileComment; }

  /// Extension: false when the directory has another number of members than the
  /// end record states, or ends elsewhere. open() warns of that and tolerates it;
  /// who checks an archive takes it for damage.
  [[nodiscard]] bool isDirectoryExact() const { return directoryExact; }

 private:
  class MemberReader;
  class StreamOutput;
  class BufferOutput;

  void takeStream(std::istream* newStream, bool ownsNewStream);
  void deleteEntries();
  bool readCentralDirectory();
  const GZipEntry* findEntry(const std::string& name);

  bool ownsStream = false;
  std::istream* stream = nullptr;
  std::map<std::string, GZipEntry*> entries;  // owned
  std::string zipFileComment;
  std::uint32_t zipFileSize = 0;
  std::uint32_t endRecordOffset = 0;
  std::uint32_t centralDirectoryOffset = 0;
  std::uint32_t centralDirectorySize = 0;
  std::uint16_t centralDirectoryEntryCount = 0;
  bool directoryExact = true;
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_READER_H
