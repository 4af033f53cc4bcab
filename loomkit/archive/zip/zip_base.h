// SPDX-License-Identifier: MIT
// GZipBase: what reader and writer of zip archives have in common.
#ifndef LOOMKIT_ARCHIVE_ZIP_ZIP_BASE_H
#define LOOMKIT_ARCHIVE_ZIP_ZIP_BASE_H

#include <string>

#include "loomkit/platform/export.h"
#include "loomkit/text/str_stream.h"

/// The archive's path, its password, and a sticky error flag: only the first
/// error of an archive reaches gOutput, as "PATH: TEXT" with the system name
/// gDataSysName. Warnings always go out and never set the flag.
///
/// One thread at a time.
class LOOMKIT_API GZipBase {
 public:
  /// The path is "<unknown>" until it is set.
  GZipBase();
  GZipBase(const std::string& path);
  GZipBase(const GZipBase&);
  GZipBase& operator=(const GZipBase&);
  virtual ~GZipBase();

  /// What messages are to call the archive.
  void setPath(const std::string& newPath) { path = newPath; }
  [[nodiscard]] const std::string& getPath() const { return path; }

  /// Takes effect with the next member that is read or written. Empty: no
  /// encryption. It counts up to its first NUL.
  void setPassword(const std::string& newPassword) { password = newPassword; }

  [[nodiscard]] bool isError() const { return errorFlag; }

 protected:
  /// Set the flag and report, unless it is set already. Always false. With a
  /// code, the platform's words for it follow in parentheses.
  bool error(const char* text);
  bool error(GOStrStream& text);
  bool error(const char* text, unsigned int code);
  void warning(const char* text);
  void warning(GOStrStream& text);
  void clrError() { errorFlag = false; }

  [[nodiscard]] const std::string& getPassword() const { return password; }

  // The traditional cipher of APPNOTE.TXT, one byte at a time: initKeys() sets
  // it up for the password.
  void initKeys();
  void updateKeys(unsigned char plain);
  unsigned char decrypt(unsigned char c);
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
