// SPDX-License-Identifier: MIT
// GZipEntry: a member of a zip archive, and its records on the disk.
//
//   const GZipEntry* entry = reader.getEntry("books/first.txt");
//   if (entry != nullptr && entry->isFile()) use(entry->getUncomprSize());
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_ENTRY_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_ENTRY_H

#include <istream>
#include <ostream>
#include <string>

#include "loomkit/archive/zip/zip_sink.h"
#include "loomkit/platform/export.h"
#include "loomkit/text/str_stream.h"

/// Describes one member: its name, its sizes, its time and its flags. A host gets
/// entries from a GZipReader, which owns them and keeps them until it is closed. It
/// makes one itself only to read or write single headers.
///
/// A new entry is zero, empty and false throughout. Its flags can be set and not
/// cleared. The header functions report a failure to gOutput with the system name
/// gDataSysName and return false; the stream's position is then undefined. Nothing
/// throws, apart from an allocation that fails. One thread at a time uses an entry,
/// also to ask it for its time, which is converted at the first question.
///
/// Format: PKWARE's APPNOTE.TXT; docs/formats/zip.md has the tables of the fields.
class LOOMKIT_API GZipEntry {
 public:
  /// An entry without a name.
  GZipEntry();
  GZipEntry(const GZipEntry&);
  GZipEntry& operator=(const GZipEntry&);
  virtual ~GZipEntry();

  /// The time of the last change, in seconds since 1970.
  [[nodiscard]] long getModTime() const;
  /// Sets the time of the last change, in seconds since 1970.
  void setModTime(long seconds);
  /// The time of day as the archive holds it: MS-DOS's form, local time, two
  /// seconds a step.
  [[nodiscard]] unsigned short getFileTime() const;
  /// The date as the archive holds it: MS-DOS's form, local time.
  [[nodiscard]] unsigned short getFileDate() const;

  /// The CRC-32 of the uncompressed data, as the archive states it.
  [[nodiscard]] unsigned int getCRC32() const { return crc; }
  /// Sets the CRC-32 of the uncompressed data.
  void setCRC32(unsigned int value) { crc = value; }
  /// The bytes that the data take in the archive, with the 12 of an encryption
  /// header.
  [[nodiscard]] unsigned int getComprSize() const { return comprSize; }
  /// Sets the bytes that the data take in the archive.
  void setComprSize(unsigned int bytes) { comprSize = bytes; }
  /// The bytes of the uncompressed data, as the archive states them.
  [[nodiscard]] unsigned int getUncomprSize() const { return uncomprSize; }
  /// Sets the bytes of the uncompressed data.
  void setUncomprSize(unsigned int bytes) { uncomprSize = bytes; }
  /// The bytes from the start of the archive to the member's own header.
  [[nodiscard]] unsigned int getLocalHeaderOffs() const { return localHeaderOffs; }
  /// Sets where the member's own header begins.
  void setLocalHeaderOffs(unsigned int bytes) { localHeaderOffs = bytes; }

  /// The name as stored: separated by '/', a directory's name ending in one. The
  /// bytes are a stranger's; nothing about them is certain.
  [[nodiscard]] const std::string& getFName() const { return name; }
  /// Sets the name.
  void setFName(const std::string& text) { name = text; }
  /// The member's comment, mostly empty.
  [[nodiscard]] const std::string& getComment() const { return comment; }
  /// Sets the member's comment.
  void setComment(const std::string& text) { comment = text; }

  /// True if the data are encrypted.
  [[nodiscard]] bool isEncrypted() const { return encrypted; }
  /// Says that the data are encrypted.
  void setEncrypted() { encrypted = true; }
  /// True if the data are deflated; otherwise they are stored as they are.
  [[nodiscard]] bool isCompressed() const { return compressed; }
  /// Says that the data are deflated.
  void setCompressed() { compressed = true; }
  /// True for a file. A volume label is neither a file nor a directory.
  [[nodiscard]] bool isFile() const { return file; }
  /// Says that the member is a file.
  void setFile() { file = true; }
  /// True for a directory, which its attribute tells and not its name.
  [[nodiscard]] bool isDirectory() const { return directory; }
  /// Says that the member is a directory.
  void setDirectory() { directory = true; }
  /// True if the member's own header does not tell checksum and sizes, because a
  /// record behind the data does.
  [[nodiscard]] bool hasDataDescriptor() const { return dataDescriptor; }
  /// Says that a record behind the data tells checksum and sizes.
  void setHasDataDescriptor() { dataDescriptor = true; }
  /// True if the data were judged to be text when they were written. Reading an
  /// archive does not set it.
  [[nodiscard]] bool isAscii() const { return ascii; }
  /// Says that the data are text.
  void setAscii() { ascii = true; }
  /// True for a member that cannot be read: one of an unknown compression method,
  /// or a volume label.
  [[nodiscard]] bool extractNotSupported() const { return notSupported; }

  /// Fills this new entry from the central header at the stream's position and
  /// leaves the stream behind it. A member that cannot be read later is warned
  /// about and taken all the same.
  bool readFileHeader(std::istream* stream);

  /// Compares the local header at the stream's position with this entry and
  /// leaves the stream at the data.
  bool verifyLocalFileHeader(std::istream* stream) const;

  /// Writes the header that precedes the data. Checksum and sizes are not known
  /// yet and zero, and a file's header announces a data descriptor.
  bool writeLocalFileHeader(GZipFileWriter* sink);
  /// The same to a stream, which stays the caller's.
  bool writeLocalFileHeader(std::ostream* stream);

  /// Completes the local header in its place once the data are written, and comes
  /// back to their end. Where the sink cannot seek, or the entry is to have one, a
  /// data descriptor is written instead.
  bool updateLocalFileHeader(GZipFileWriter* sink);
  /// The same to a stream, which stays the caller's.
  bool updateLocalFileHeader(std::ostream* stream);

  /// Writes the central header, with name and comment.
  bool writeFileHeader(GZipFileWriter* sink);
  /// The same to a stream, which stays the caller's.
  bool writeFileHeader(std::ostream* stream);

 private:
  bool error(const char* text) const;
  void warning(const char* text) const;
  void warning(GOStrStream& text) const;
  void fillLocalFileHeader(char* buffer, bool update) const;
  void convertToFileTime() const;
  void takeMethod(unsigned int method);
  void takeAttributes(unsigned int attributes);
  bool writeDataDescriptor(GZipFileWriter* sink);

  mutable long modTime = 0;
  unsigned int crc = 0;
  unsigned int comprSize = 0;
  unsigned int uncomprSize = 0;
  unsigned int localHeaderOffs = 0;
  std::string name;
  std::string comment;
  bool encrypted = false;
  bool compressed = false;
  bool file = false;
  bool directory = false;
  bool dataDescriptor = false;
  bool ascii = false;
  bool notSupported = false;
  // Why it is not supported: a volume label, which is not either, has a method.
  bool unknownMethod = false;
  // Times are converted when they are asked for: that costs more than the rest
  // of a header, and most are never looked at.
  mutable bool knowsModTime = true;
  mutable bool knowsFileTime = false;
  mutable unsigned short fileTime = 0;
  mutable unsigned short fileDate = 0;
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_ENTRY_H
