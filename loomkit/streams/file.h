// SPDX-License-Identifier: MIT
// GFile: a file of the file system, by its path.
//
//   GFile file("conf/main.txt");
//   std::unique_ptr<std::istream> in(file.getInStream(false));
//   if (!in) ...                              // nothing was reported
#ifndef LOOMKIT_STREAMS_FILE_H
#define LOOMKIT_STREAMS_FILE_H

#include <string>

#include "loomkit/platform/export.h"
#include "loomkit/streams/file_object.h"

/// Opens, examines, renames and deletes the file of a path. It keeps the path as it
/// was given and in native form, and never an open handle: each call looks anew.
///
/// Null or false is the failure, and the last error of the system tells why; only
/// getRealPath() says something of its own. Streams belong to the caller, who deletes
/// them. Nothing throws, apart from an allocation that fails. Threads can share an
/// object as long as none of them renames or assigns it.
class LOOMKIT_API GFile : public GFileObject {
 public:
  /// What is denied to other openers while a stream of getInStream() is open,
  /// on systems that have sharing modes; elsewhere the flags are kept only.
  enum ShareFlags { denyRead = 1, denyWrite = 2, denyDelete = 4 };

  /// The file of that path, which need not exist. Slashes and backslashes separate.
  GFile(const std::string& path);
  /// The same with flags of ShareFlags.
  GFile(const std::string& path, int shareFlags);
  GFile(const GFile&);
  GFile& operator=(const GFile&);
  ~GFile() override;

  /// A new GFile of the same path, which the caller deletes.
  GFileObject* copy() override;
  /// The path as it was given.
  [[nodiscard]] const std::string& getName() const override;

  /// A new stream from the file's beginning, which the caller deletes. Null for what
  /// cannot be opened, such as a directory.
  std::istream* getInStream(bool binary) override;
  /// A new stream that writes to the file, which the caller deletes. A file that is
  /// there already is emptied. Null for what cannot be opened.
  std::ostream* getOutStream(bool binary) override;

  /// True if there is a file or directory of this path.
  bool exists() override;
  /// True if this process may read it.
  bool isReadable() override;
  /// True if this process may write it.
  bool isWritable() override;
  /// True if this process may run it, or enter it as a directory.
  bool isExecutable() override;

  /// The time of the last change in seconds since 1970; 0 if there is no such file.
  long getModTime();

  /// Deletes the file. True also if it was not there. False if its directory is not
  /// there, and for what cannot be deleted.
  bool remove();

  /// Renames the file, and gives this object the new path. False leaves both as they
  /// were.
  bool rename(const std::string& newPath);

  /// The absolute path with slashes, each component as the disk spells it and a
  /// drive letter in upper case; a drive's root is the letter and the colon. On
  /// failure it sends a line of log level 0 with an empty system, "can't get real
  /// path of PATH", mostly with ": error N" behind it, and gives the path as far as
  /// it is known.
  [[nodiscard]] std::string getRealPath() const;

  /// The path as a "file:" URI; empty for an empty path. pathFromURL() reverses it.
  [[nodiscard]] std::string getURL() const;

  /// The path of a "file:" URI; empty for another scheme.
  static std::string pathFromURL(const std::string& url);

 private:
  std::string name;
  std::string nativeName;
  int shareFlags;
};

#endif  // LOOMKIT_STREAMS_FILE_H
