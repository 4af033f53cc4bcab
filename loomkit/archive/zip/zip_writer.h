// SPDX-License-Identifier: MIT
// GZipWriter: writes a zip archive in one pass.
//
//   GZipWriter writer;
//   writer.setCompression(true);
//   if (!writer.open("books.zip")) return;       // gOutput was told why
//   writer.writeEntry("books/first.txt", text.data(), size);
//   if (!writer.close()) ...
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_WRITER_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_WRITER_H

#include <istream>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "loomkit/archive/zip/zip_base.h"
#include "loomkit/archive/zip/zip_entry.h"
#include "loomkit/archive/zip/zip_sink.h"

/// Compresses and encrypts each member in steps of 8192 bytes, whatever its size,
/// and writes the directory at close(). The directories above a member get entries
/// of their own, once each. All entries carry the time at which the writer was made.
///
/// After the first error, which gOutput was told (see GZipBase), the writer refuses
/// members without a word, and close() is false. A member that failed leaves its
/// part in the archive. The archive is written in place: where a half one must
/// never be seen, write to the stream of a GAtomicFile.
///
/// A writer serves one archive, and one thread at a time uses it. Nothing throws,
/// apart from an allocation that fails and what a host's own source throws. Offsets
/// are those of zip without zip64: members that begin beyond 2 GiB cannot be found
/// again.
class LOOMKIT_API GZipWriter : public GZipBase {
 public:
  /// The source of a member's bytes. A host derives from it to take them from
  /// where they are. It stays the caller's.
  class LOOMKIT_API Input {
   public:
    Input();
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    virtual ~Input();
    /// Stores up to `size` bytes in the buffer and gives their number. A number
    /// below `size` means that the data end there.
    virtual unsigned int read(char* buffer, unsigned int size) = 0;
  };

  /// A closed writer that stores without compression.
  GZipWriter();
  /// Writes to a stream, and deletes it in close() if `ownsStream` is set. One
  /// that cannot seek leaves members without their sizes; see GZipEntry.
  GZipWriter(std::ostream* stream, bool ownsStream);
  GZipWriter(const GZipWriter&) = delete;
  GZipWriter& operator=(const GZipWriter&) = delete;
  /// Closes.
  ~GZipWriter() override;

  /// Says whether the members that follow are deflated. At first they are stored.
  void setCompression(bool on) { compression = on; }

  /// Creates or empties a file. Requires: the writer is closed, and new.
  bool open(const std::string& path);

  /// Writes the central directory and ends file or stream. False if anything
  /// has failed since open(); true without an archive.
  bool close();

  /// Stores a file under its own path, made a member's name as below. False, and
  /// the error "can't open file", if it cannot be opened.
  bool writeEntry(const std::string& filePath);
  /// Stores what a stream still has, which stays the caller's. In the name,
  /// backslashes become slashes, and leading and doubled slashes, "." and ".." are
  /// resolved; a ".." that leads out of the archive is reported and ignored. What
  /// ends the stream ends the data; a stream buffer that throws is an error.
  bool writeEntry(const std::string& name, std::istream* data);
  /// Stores a block of bytes, which stays the caller's.
  bool writeEntry(const std::string& name, const char* data, unsigned int size);
  /// Stores what a source delivers. Requires, as the other forms: an archive is
  /// open.
  bool writeEntry(const std::string& name, Input* data);

  /// Keeps the text and does not write it: archives of this writer have no
  /// comment, and their readers count on the end record being the last 22 bytes.
  void setZipFileComment(const std::string& text) { zipFileComment = text; }

  /// Extension: makes the same members give the same bytes at any time and place.
  /// Members that follow carry 1980-01-01 00:00, and the directory is sorted by
  /// name. Encrypted members differ all the same, since they begin with random
  /// bytes.
  void setReproducible(bool on);

 private:
  class StreamInput;
  class BufferInput;
  class MemberWriter;
  class Holding;

  LOOMKIT_LOCAL bool failed(const char* text, int status);
  static std::string normalizeName(const std::string& name);
  bool makeBaseDirectories(const std::string& name);
  bool writeCentralDirectory();
  bool writeEndRecord(unsigned int start, unsigned int size);
  GZipEntry* addEntry(const std::string& name);

  bool compression = false;
  GZipFileWriter* sink = nullptr;  // owned
  long time;
  std::vector<GZipEntry*> entries;  // owned
  std::set<std::string> directories;
  std::string zipFileComment;
  bool reproducible = false;
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_WRITER_H
