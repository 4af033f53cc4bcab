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

/// Keeps the path as given and in native form, and never an open handle. An
/// object that is being renamed or assigned is not to be shared by threads.
class LOOMKIT_API GFile : public GFileObject {
 public:
  /// What is denied to other openers while a stream of getInStream() is open,
  /// on systems that have sharing modes; elsewhere the flags are kept only.
  enum ShareFlags { denyRead = 1, denyWrite = 2, denyDelete = 4 };

  GFile(const std::string& path);
  GFile(const std::string& path, int shareFlags);
  GFile(const GFile&);
  GFile& operator=(const GFile&);
  ~GFile() override;

  GFileObject* copy() override;
  [[nodiscard]] const std::string& getName() const override;

  /// Null for what cannot be opened, a directory among it.
  std::istream* getInStream(bool binary) override;
  /// Empties a file that is there already.
  std::ostream* getOutStream(bool binary) override;

  bool exists() override;
  bool isReadable() override;
  bool isWritable() override;
  bool isExecutable() override;

  /// The time of the last change in seconds since 1970; 0 when there is none.
  long getModTime();

  /// Deletes the file. True also if it was not there; false if its directory is
  /// not.
  bool remove();

  /// Moves the file, and this object with it. False leaves both alone.
  bool rename(const std::string& newPath);

  /// The absolute path with slashes, each component as the disk spells it and a
  /// drive letter in upper case; a drive's root is the letter and the colon. On
  /// failure a line of log level 0 with an empty system, "can't get real path
  /// of PATH", mostly with ": error N" behind it, and the path as far as it is
  /// known.
  [[nodiscard]] std::string getRealPath() const;

  /// The "file:" URI; empty for an empty path. pathFromURL() reverses it.
  [[nodiscard]] std::string getURL() const;

  /// The path of a "file:" URI; empty for another scheme.
  static std::string pathFromURL(const std::string& url);

 private:
  std::string name;
  std::string nativeName;
  int shareFlags;
};

#endif  // LOOMKIT_STREAMS_FILE_H
