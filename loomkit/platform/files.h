// SPDX-License-Identifier: MIT
// Files and directories by path. Paths come in native form, with backslashes,
// and may hold slashes as well: both separate, whatever the system's own
// separator is. A failing call sets the thread's last error (platform.h); those
// that say so leave the reason in errno too.
#ifndef LOOMKIT_PLATFORM_FILES_H
#define LOOMKIT_PLATFORM_FILES_H

#include <filesystem>
#include <memory>
#include <string>

namespace loomkit::platform {

/// What access() asks for.
enum class Access { Exists = 0, Execute = 1, Write = 2, Read = 4 };

/// The path as the standard streams of this system want it.
std::filesystem::path streamPath(const std::string& path);

/// True if the process may use the file in this way.
bool access(const std::string& path, Access mode);

/// True if something of this name is there; a link that leads nowhere is.
bool examine(const std::string& path);

/// True if the name leads to a directory.
bool isDirectory(const std::string& path);

/// True if the name is a link itself, wherever it leads.
bool isLink(const std::string& path);

/// Sets the time of the last change, in seconds since 1970. Where the system refuses,
/// the time stays as it is, and nobody is told.
void setModificationTime(const std::string& path, long seconds);

/// Stores the time of the last change in seconds since 1970.
bool modificationTime(const std::string& path, long* seconds);

/// Deletes a file, not a directory.
bool deleteFile(const std::string& path);

/// Renames a file or directory. A file of the new name is replaced where the
/// system does that.
bool rename(const std::string& from, const std::string& to);

/// Makes a directory; the one above it has to exist. Here and in the functions down to
/// workingDirectory(), the reason of a failure is in errno, too.
bool makeDirectory(const std::string& path);
/// Removes an empty directory.
bool removeDirectory(const std::string& path);
/// Deletes a file, and a link instead of what it leads to.
bool unlinkFile(const std::string& path);
/// Deletes the file that a search in `directory` has named `entry`, and nothing
/// elsewhere: a name that cannot be reached is a missing file.
bool unlinkEntry(const std::string& directory, const std::string& entry);
/// Makes another directory the working directory of the process.
bool changeDirectory(const std::string& path);
/// Stores the path of the working directory. Fails with ERANGE when the path and its
/// NUL take more than `limit` bytes.
bool workingDirectory(std::string* path, std::size_t limit);

/// The system's directory for temporary files, ended by a backslash.
std::string tempPath();

/// The absolute native path, "." and ".." resolved by the text alone.
bool fullPath(const std::string& path, std::string* full);

/// Splits the root off an absolute native path: a drive letter and its colon
/// where there are drives, else nothing. `*rest` begins with a backslash. False
/// for a path that has no root of that kind.
bool splitRoot(const std::string& full, std::string* root, std::string* rest);

/// A search for names. The pattern's last component may hold '*' and '?'.
class FileSearch {
 public:
  FileSearch();
  ~FileSearch();
  FileSearch(const FileSearch&) = delete;
  FileSearch& operator=(const FileSearch&) = delete;

  /// Begins a search and finds the first name, "." and ".." among them. A
  /// search that was open is given up.
  bool first(const std::string& pattern);

  /// The next name; last error 18 at the end.
  bool next();

  /// The bare name that was found, as the disk spells it.
  [[nodiscard]] const std::string& name() const;

  /// Ends the search. False if there is none or the system refuses.
  bool close();

 private:
  struct State;
  std::unique_ptr<State> state;
};

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_FILES_H
