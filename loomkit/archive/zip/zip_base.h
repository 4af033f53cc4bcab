// SPDX-License-Identifier: MIT
// GZipBase: what the reader and the writer of zip archives have in common.
//
//   GZipReader reader;                       // a GZipBase, as is GZipWriter
//   reader.setPassword("secret");
//   if (!reader.open("books.zip") || reader.isError()) ...
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_BASE_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_BASE_H

#include <string>

#include "loomkit/platform/export.h"
#include "loomkit/text/str_stream.h"

/// Holds an archive's path for messages, its password with the state of the
/// cipher, and an error flag that stays set.
///
/// Only the first error of an archive reaches gOutput, as "PATH: TEXT" with the
/// system name gDataSysName; later ones, which mostly follow from it, are silent.
/// Warnings always go out and never set the flag. Nothing throws.
///
/// A host does not make objects of this class but of those derived from it. A copy
/// has the flag and the password, too. One thread at a time uses an object.
class LOOMKIT_API GZipBase {
 public:
  /// Calls the archive "<unknown>" in messages until a path is set.
  GZipBase();
  /// Calls the archive by this path.
  GZipBase(const std::string& path);
  GZipBase(const GZipBase&);
  GZipBase& operator=(const GZipBase&);
  virtual ~GZipBase();

  /// Sets what messages call the archive; no file is touched. open() of a reader
  /// or writer does this itself.
  void setPath(const std::string& newPath) { path = newPath; }
  /// What messages call the archive. Good as long as the object lives.
  [[nodiscard]] const std::string& getPath() const { return path; }

  /// Sets the password for the members that are read or written from then on. An
  /// empty one means no encryption when writing. It counts up to its first NUL.
  void setPassword(const std::string& newPassword) { password = newPassword; }

  /// True once an error was reported, until the next open().
  [[nodiscard]] bool isError() const { return errorFlag; }

 protected:
  /// Sets the flag and reports the text, unless the flag is set already. Always
  /// false, so that a caller can return the result.
  bool error(const char* text);
  /// The same with the text that the stream has gathered.
  bool error(GOStrStream& text);
  /// The same with the platform's words for a failure of its file layer behind the
  /// text, in parentheses. `code` is the status, taken as unsigned.
  bool error(const char* text, unsigned int code);
  /// Reports the text as a warning; the flag stays as it is.
  void warning(const char* text);
  /// The same with the text that the stream has gathered.
  void warning(GOStrStream& text);
  /// Clears the flag, so that the next error is reported again.
  void clrError() { errorFlag = false; }

  /// The password, empty for none.
  [[nodiscard]] const std::string& getPassword() const { return password; }

  /// Sets the traditional cipher of PKWARE's APPNOTE.TXT up for the password. Each
  /// member begins with this; the three calls below then run byte by byte.
  void initKeys();
  /// Moves the cipher on by one byte of plain text.
  void updateKeys(unsigned char plain);
  /// Gives the plain text of the next byte and moves the cipher on.
  unsigned char decrypt(unsigned char c);
  /// Gives the cipher text of the next byte and moves the cipher on.
  unsigned char encrypt(unsigned char c);

 private:
  std::string password;
  unsigned int key0 = 0;
  unsigned int key1 = 0;
  unsigned int key2 = 0;
  bool errorFlag = false;
  std::string path = "<unknown>";
};

#endif  // LOOMKIT_ARCHIVE_ZIP_ZIP_BASE_H
