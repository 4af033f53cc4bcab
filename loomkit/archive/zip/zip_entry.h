// SPDX-License-Identifier: MIT
// GZipEntry: a member of a zip archive, and its records on the disk.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_ENTRY_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_ENTRY_H

#include <istream>
#include <ostream>
#include <string>

#include "loomkit/archive/zip/zip_sink.h"
#include "loomkit/platform/export.h"
#include "loomkit/text/str_stream.h"

/// A new entry is zero, empty and false throughout; the flags can be set and
/// not cleared. Readers and writers own their entries and hand out const ones.
///
/// The header functions report a failure to gOutput with the system name
/// gDataSysName and return false; after it, the stream's position is undefined.
/// Format: PKWARE's APPNOTE.TXT; docs/formats/zip.md has the table of fields.
class LOOMKIT_API GZipEntry {
 public:
  GZipEntry();
  GZipEntry(const GZipEntry&);
  GZipEntry& operator=(const GZipEntry&);
  virtual ~GZipEntry();

  /// The last change, in seconds since 1970.
  [[nodiscard]] long getModTime() const;
  void setModTime(long seconds);
  /// The same in MS-DOS form and local time, two seconds a step.
  [[nodiscard]] unsigned short getFileTime() const;
  [[nodiscard]] unsigned short getFileDate() const;

  /// Of the uncompressed data.
  [[nodiscard]] unsigned int getCRC32() const { return crc; }
  void setCRC32(unsigned int value) { crc = value; }
  /// Bytes in the archive, the encryption header's 12 included.
  [[nodiscard]] unsigned int getComprSize() const { return comprSize; }
  void setComprSize(unsigned int bytes) { comprSize = bytes; }
  [[nodiscard]] unsigned int getUncomprSize() const { return uncomprSize; }
  void setUncomprSize(unsigned int bytes) { uncomprSize = bytes; }
  /// Bytes from the start of the archive to the member's own header.
  [[nodiscard]] unsigned int getLocalHeaderOffs() const { return localHeaderOffs; }
  void setLocalHeaderOffs(unsigned int bytes) { localHeaderOffs = bytes; }

  /// As stored: separated by '/', a directory's name ending in one.
  [[nodiscard]] const std::string& getFName() const { return name; }
  void setFName(const std::string& text) { name = text; }
  [[nodiscard]] const std::string& getComment() const { return comment; }
  void setComment(const std::string& text) { comment = text; }

  [[nodiscard]] bool isEncrypted() const { return encrypted; }
  void setEncrypted() { encrypted = true; }
  /// Deflated; otherwise stored.
  [[nodiscard]] bool isCompressed() const { return compressed; }
  void setCompressed() { compressed = true; }
  [[nodiscard]] bool isFile() const { return file; }
  void setFile() { file = true; }
  [[nodiscard]] bool isDirectory() const { return directory; }
  void setDirectory() { directory = true; }
  /// Its own header does not tell CRC and sizes; a record behind the data does.
  [[nodiscard]] bool hasDataDescriptor() const { return dataDescriptor; }
  void setHasDataDescriptor() { dataDescriptor = true; }
  /// Judged to be text when it was written. Reading does not set it.
  [[nodiscard]] bool isAscii() const { return ascii; }
  void setAscii() { ascii = true; }
  /// Of a method that is not known, or a volume label.
  [[nodiscard]] bool extractNotSupported() const { return notSupported; }

  /// Takes this entry from the central header at the stream's position and
  /// leaves the stream behind it. What it cannot extract it warns about and
  /// takes all the same.
  bool readFileHeader(std::istream* stream);

  /// Compares the local header at the stream's position with this entry and
  /// leaves the stream at the data.
  bool verifyLocalFileHeader(std::istream* stream) const;

  /// Writes the header that precedes the data. CRC and sizes, not known yet,
  /// are zero, and a file's header announces a data descriptor.
  bool writeLocalFileHeader(GZipFileWriter* sink);
  bool writeLocalFileHeader(std::ostream* stream);

  /// After the data: completes the local header in its place and comes back;
  /// where the sink cannot seek, or the entry is to have one, a data descriptor
  /// is written instead.
  bool updateLocalFileHeader(GZipFileWriter* sink);
  bool updateLocalFileHeader(std::ostream* stream);

  /// Writes the central header.
  bool writeFileHeader(GZipFileWriter* sink);
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
