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

/// Members are compressed and encrypted in steps of 8192 bytes, whatever their
/// size; the directory follows at close(). The directories above a member get
/// entries of their own, once each. All carry the time at which the writer was
/// made.
///
/// The first error is the last thing that is heard of (see GZipBase): from then
/// on members are refused without a word, and close() is false. A member that
/// failed leaves its part in the archive.
///
/// A writer serves one archive and one thread. Offsets are those of zip without
/// zip64: members that begin beyond 2 GiB cannot be found again.
class LOOMKIT_API GZipWriter : public GZipBase {
 public:
  /// The source of a member's bytes.
  class LOOMKIT_API Input {
   public:
    Input();
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    virtual ~Input();
    /// Stores up to `size` bytes and gives their number; less than `size` means
    /// that the data end there.
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

  /// For the members from then on.
  void setCompression(bool on) { compression = on; }

  /// Creates or empties a file. Requires: the writer is closed, and new.
  bool open(const std::string& path);

  /// Writes the central directory and ends file or stream. False if anything
  /// has failed since open(); true without an archive.
  bool close();

  /// Writes a file under its own path.
  bool writeEntry(const std::string& filePath);
  /// Write a member. The name's backslashes become slashes; leading and doubled
  /// ones, "." and ".." go; a ".." that leads out of the archive is reported and
  /// ignored. Stream and block stay the caller's; what ends a stream ends the
  /// data, but for a buffer that throws, which is an error.
  bool writeEntry(const std::string& name, std::istream* data);
  bool writeEntry(const std::string& name, const char* data, unsigned int size);
  bool writeEntry(const std::string& name, Input* data);

  /// Keeps the text. It is not written: archives of this writer have no comment,
  /// and their readers count on the end record being the last 22 bytes.
  void setZipFileComment(const std::string& text) { zipFileComment = text; }

  /// Extension: the same members give the same bytes at any time and place.
  /// From then on members carry 1980-01-01 00:00, and the directory is sorted
  /// by name. Encrypted members differ all the same.
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
