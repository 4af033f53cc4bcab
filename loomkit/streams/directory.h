// SPDX-License-Identifier: MIT
// GDirectory: a handle on one directory, and the helpers for paths.
//
// Paths are written with slashes everywhere and get backslashes only on the way
// to the operating system:
//
//   GDirectory::unix2nativePath("a//b/c")    // "a\\b\\c"
//   GDirectory::native2unixPath("a\\b")      // "a/b"
#ifndef LOOMKIT_STREAMS_DIRECTORY_H
#define LOOMKIT_STREAMS_DIRECTORY_H

#include <memory>
#include <string>

#include "loomkit/platform/export.h"
#include "loomkit/platform/surprise.h"

namespace loomkit::platform {
class FileSearch;
}

/// Lists, creates or removes the directory of a name. The name need not exist, and
/// no handle stays open but that of a listing.
///
/// False or null is the failure; unless a call is `quiet`, gOutput is told the reason
/// as an error with the default system. Nothing throws, apart from an allocation that
/// fails. One thread at a time uses an object.
///
///   GDirectory directory("/data");
///   for (const char* name = directory.first(false); name; name = directory.next(false))
///     use(name);
///   directory.close(false);
class LOOMKIT_API GDirectory {
 public:
  /// A name for the process's own scratch directory, in native form. Nothing is
  /// created.
  GDirectory();

  /// The directory of that path, taken as it is.
  GDirectory(const std::string& path);

  /// A copy has the name; it has no listing open.
  GDirectory(const GDirectory& other);
  GDirectory& operator=(const GDirectory& other);

  /// close(false).
  ~GDirectory();

  /// The path as it was given.
  [[nodiscard]] const std::string& getName() const;

  /// True for a directory, false for a file of that name.
  bool exists();

  /// Starts a listing and gives the first bare name, or null when there is none. The
  /// order is the platform's; "." and ".." are left out. The text is good until the
  /// next call on the object. Requires: no listing is open, see close().
  /// Error: "cannot open directory NAME (error N)".
  const char* first(bool quiet);

  /// The next name; null at the end, which does not close the listing.
  /// Error: "cannot read directory NAME (error N)".
  const char* next(bool quiet);

  /// Ends the listing; true also when none is open.
  /// Error: "cannot close directory NAME (error N)".
  bool close(bool quiet);

  /// Makes the directory. One that is there already is emptied of its files and
  /// made anew: callers rely on getting a clean directory. What remove(true,
  /// false) cannot remove makes it fail.
  /// Error: "cannot create directory NAME (REASON)".
  LOOMKIT_SURPRISING("deletes the files of a directory that is there already; ensure() keeps them")
  bool create(bool quiet);

  /// Extension: makes the directory unless it is there already; nothing in it is
  /// touched. False when it cannot be made, or when something else has that name.
  /// Error: "cannot create directory NAME (REASON)".
  bool ensure(bool quiet);

  /// Removes the directory, and with `removeFiles` the files in it before. It does not
  /// go into directories, and leaves files whose names begin with a dot; with any of
  /// these in it, the directory stays. `quiet` does not hold for the listing of the
  /// files.
  /// Errors: "cannot remove file NAME/FILE (REASON)", "cannot remove directory
  /// NAME (REASON)".
  bool remove(bool removeFiles, bool quiet);

  /// The native form of a path: each separator becomes one backslash, a run of them
  /// too, except at the start of the path. A path without a slash stays as it is. The
  /// result is `path` itself or a buffer that is good until the next call of this
  /// form from any thread; of two threads, only one may use it at a time.
  static const char* unix2nativePath(const char* path);
  /// The same as a text of its own, for any thread.
  static std::string unix2nativePath(const std::string& path);
  /// The same; the flag has no effect.
  static std::string unix2nativePath(const std::string& path, bool flag);

  /// The path with each backslash as a slash.
  static std::string native2unixPath(const std::string& path);
  /// The same; the flag has no effect.
  static std::string native2unixPath(const std::string& path, bool flag);

  /// What stands behind the last '/'; without one, the whole path.
  static std::string basenameUnix(const std::string& path);
  /// What stands up to the last '/' and with it; without one, nothing.
  static std::string dirnameUnix(const std::string& path);
  /// What stands behind the last of '/', '\\' and ':'; without one, the whole path.
  static std::string basenameNative(const std::string& path);
  /// What stands up to the last of these and with it; without one, nothing.
  static std::string dirnameNative(const std::string& path);

  /// True if the path begins with a separator, or with a drive letter, its colon and
  /// a separator.
  static bool isAbsolute(const std::string& path);

  /// The variable TMPDIR as it is, or the system's own temporary directory
  /// without a separator at its end.
  static std::string getTempDir();

  /// Makes a directory of a new name in `directory` (empty: getTempDir()); the
  /// name is `prefix` (empty: "tmp") and eight or more hexadecimal digits. The
  /// path, or an empty text on failure, without a message. One thread at a time
  /// in a process.
  static std::string createTempDir(const std::string& directory, const std::string& prefix);

  /// The working directory with slashes; empty on failure.
  /// Error: "cannot get working directory: REASON".
  static std::string getcwd();

  /// Makes another directory the working directory of the process.
  /// Error: "cannot set working directory: REASON".
  static bool chdir(const std::string& path, bool quiet);

 private:
  const char* skipDots(bool found, bool quiet);
  void reportCode(const char* text) const;
  bool removeListedFiles(bool quiet);

  std::string name;
  bool listing = false;
  std::unique_ptr<loomkit::platform::FileSearch> search;
};

#endif  // LOOMKIT_STREAMS_DIRECTORY_H
