// SPDX-License-Identifier: MIT
// DirectoryHandle and NewFile: how files of strangers' archives come to lie below one
// directory and nowhere else. Each step is taken from a directory that is held open,
// one name at a time, and never through a link, so that nothing that appears
// meanwhile can lead the way elsewhere. A call that returns false has set the
// thread's last error (platform.h).
//
//   DirectoryHandle out;
//   if (!out.openPath("incoming", true)) ...
//   DirectoryHandle sub;
//   if (!sub.enter(out, "docs", 0777, &made)) ...
//   NewFile file;
//   if (file.create(sub, 0644) && file.write(data, size) && file.place("a.txt", false)) ...
#ifndef LOOMKIT_PLATFORM_DIRECTORY_HANDLE_H
#define LOOMKIT_PLATFORM_DIRECTORY_HANDLE_H

#include <cstddef>
#include <string>

#include "loomkit/platform/replacement.h"

namespace loomkit::platform {

/// What a name in a directory is; a link is not followed.
enum class NameKind { nothing, file, directory, link, other };

/// A directory that is held open. It has one descriptor, which it owns. Names are
/// single parts of a path, without a separator. One thread at a time uses it.
class DirectoryHandle {
 public:
  DirectoryHandle() = default;
  DirectoryHandle(const DirectoryHandle&) = delete;
  DirectoryHandle& operator=(const DirectoryHandle&) = delete;
  DirectoryHandle(DirectoryHandle&& other) noexcept;
  DirectoryHandle& operator=(DirectoryHandle&& other) noexcept;
  ~DirectoryHandle();

  [[nodiscard]] bool isOpen() const { return descriptor >= 0; }

  /// Opens the directory at a path, whose links are followed: it is the caller's own
  /// word. With `make`, what is missing of it is made.
  bool openPath(const std::string& path, bool make);

  /// Opens the directory `name` of another one. A link is refused (ELOOP or
  /// ENOTDIR). One that is missing is made with these rights, less the process's
  /// umask, and `*made`, unless null, tells so; with a null `made` it is not made.
  bool enter(const DirectoryHandle& parent, const std::string& name, unsigned mode, bool* made);

  /// Stores the rights of what is there in `*mode`, unless that is null.
  NameKind kindOf(const std::string& name, unsigned* mode = nullptr) const;

  /// Makes a link that leads to `target`. With `replace`, it takes the place of a
  /// file or link of that name.
  bool makeLink(const std::string& target, const std::string& name, bool replace) const;

  /// Takes away all rights that are not in `mode`.
  bool narrow(unsigned mode) const;
  /// Sets the time of the last change, in seconds since 1970.
  bool setTime(long seconds) const;

  /// Brings all that was written to the directory's file system to the disk.
  bool sync() const;

 private:
  friend class NewFile;
  void close();

  int descriptor = -1;
};

/// A file that has no name until it is complete, so that nobody ever meets half of
/// it. Where the system has no files without names, it has a hidden one meanwhile.
/// What was not placed is gone with the object, or with
/// deleteAllReplacements(). One thread at a time uses it.
class NewFile {
 public:
  NewFile() = default;
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile() { discard(); }

  /// Makes an empty file with these rights, less the process's umask. The directory
  /// stays the caller's and has to live until the file is placed.
  bool create(const DirectoryHandle& parent, unsigned mode);
  bool write(const void* data, std::size_t size);
  /// Sets the time of the last change, in seconds since 1970.
  bool setTime(long seconds);
  /// Adds rights to those of create(): the set-user, set-group and sticky bits.
  bool addMode(unsigned bits);

  /// Gives the file its name. Fails with EEXIST when there is one of that name,
  /// unless `replace`. A link of that name is replaced itself.
  bool place(const std::string& name, bool replace);

  void discard();

 private:
  bool createNamed(unsigned mode);
  bool linkTo(const std::string& name);

  const DirectoryHandle* directory = nullptr;
  int descriptor = -1;
  std::string hiddenName;  // empty: the file has no name yet
  UnfinishedFile record;   // of the hidden name
};

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_DIRECTORY_HANDLE_H
