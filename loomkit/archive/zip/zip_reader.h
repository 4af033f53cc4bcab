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
/// time. It does not trust the archive: it compares an entry's own header with the
/// directory before it touches the data. It warns about what can be tolerated; the
/// rest is an error, after which nothing can be read by name any more (see
/// GZipBase). To write a stranger's members to the disk there is GZipExtractor.
///
/// The entries belong to the reader and are good until close(). One thread at a
/// time uses a reader and its stream, which extraction moves. Nothing throws, apart
/// from an allocation that fails and what a host's own stream or receiver throws.
///
/// Format: PKWARE's APPNOTE.TXT without zip64, see docs/formats/zip.md. Data are
/// read in steps of 8192 bytes, so that an extraction to a stream needs the same
/// memory for every size.
class LOOMKIT_API GZipReader : public GZipBase {
 public:
  /// Receives the bytes of an entry. A host derives from it to have them where it
  /// wants them. It stays the caller's.
  class LOOMKIT_API Output {
   public:
    /// With `convertLineEnds`, the reader's own two receivers make a line feed of
    /// a carriage return and a line feed. One of your own may look at the flag.
    Output(bool convertLineEnds);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    virtual ~Output();

    /// Is told the uncompressed size that the archive states, once and first. The
    /// archive may lie: allocate no more than the bytes that come. Does nothing
    /// unless it is overridden.
    virtual void reserve(unsigned int size);
    /// Takes the next bytes, which are good during the call. False ends the
    /// extraction with an error.
    virtual bool write(const char* data, unsigned int size) = 0;
    /// Is called once after the last byte. False is an error.
    virtual bool flush() = 0;

   protected:
    /// The flag that the receiver was made with.
    [[nodiscard]] bool convertsLineEnds() const { return convert; }

   private:
    bool convert;
  };

  /// Walks the entries; `(*i).first` is the name and `(*i).second` the entry.
  using EntryIterator = loomkit::ArchiveEntryIterator<GZipEntry>;

  /// A closed reader.
  GZipReader();
  /// Reads the directory of a binary stream that can seek; isError() tells how
  /// that went. The reader deletes the stream if `ownsStream` is set; otherwise the
  /// stream has to live until the reader is closed.
  GZipReader(std::istream* stream, bool ownsStream);
  /// Copies share stream and entries: close and end only one of the two, or
  /// copy a closed reader.
  GZipReader(const GZipReader&);
  GZipReader& operator=(const GZipReader&);
  ~GZipReader() override;

  /// Opens a file and reads its directory. False when that fails; gOutput was told
  /// why. Clears the error of before. Call close() first if an archive is still
  /// open: this does not, and would leave its entries among the new ones.
  bool open(const std::string& path);
  /// Deletes an owned stream and the entries. The path, the comment and the error
  /// stay. Always true.
  bool close();

  /// Writes a member's data to a stream. False after any earlier error, without a
  /// word; for an unknown name, with the warning "entry not found (NAME)"; and when
  /// reading fails. What has gone out before a failure stays out.
  ///
  /// An entry with a data descriptor is not compared with its checksum, and a wrong
  /// password may show in the data only.
  bool readEntry(const std::string& name, std::ostream* out, bool convertLineEnds);
  /// The same into a block of `operator new`, which belongs to the caller, is not
  /// terminated, and is null for an empty member. Nothing is given on failure.
  bool readEntry(const std::string& name, char** data, unsigned int* size, bool convertLineEnds);
  /// The same into a receiver.
  bool readEntry(const std::string& name, Output* out);
  /// Writes a member's data to a stream, whatever failed before. Requires: the
  /// reader is open and the entry is one of its own.
  bool readEntry(const GZipEntry* entry, std::ostream* out, bool convertLineEnds);
  /// The same into a block of `operator new`, as above.
  bool readEntry(const GZipEntry* entry, char** data, unsigned int* size, bool convertLineEnds);
  /// The same into a receiver.
  bool readEntry(const GZipEntry* entry, Output* out);

  /// True if the stream begins as a zip file that has a member does; a null stream
  /// does not. The stream stays where it is; one of less than four bytes is left
  /// failed.
  static bool isZipStream(std::istream* stream);

  /// The number of entries; those that share a name count once.
  [[nodiscard]] unsigned int getEntryCount() const {
    return static_cast<unsigned int>(entries.size());
  }
  /// The entry with exactly this name, or null.
  [[nodiscard]] const GZipEntry* getEntry(const std::string& name) const;
  /// The first of all entries in the order of their names' bytes. Of several with
  /// one name, only the first of the directory is there.
  [[nodiscard]] EntryIterator entriesBegin() const { return EntryIterator(entries.begin()); }
  /// Stands behind the last entry.
  [[nodiscard]] EntryIterator entriesEnd() const { return EntryIterator(entries.end()); }
  /// The comment of the archive, as bytes.
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
