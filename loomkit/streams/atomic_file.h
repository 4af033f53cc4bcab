// SPDX-License-Identifier: MIT
// Extension: GAtomicFile, a file that is written whole or not at all.
//
//   GAtomicFile file("settings.txt");
//   file.out() << text;
//   if (!file.commit()) gOutput->error(file.getErrMsg().c_str());
#ifndef LOOMKIT_STREAMS_ATOMIC_FILE_H
#define LOOMKIT_STREAMS_ATOMIC_FILE_H

#include <memory>
#include <ostream>
#include <string>

#include "loomkit/platform/export.h"

/// Writes to a new file in the target's directory, which commit() brings to the disk
/// and moves into the target's place. Until then, and when anything fails, the target
/// is as it was; what was not committed is gone with the object. A link is followed.
/// A target that exists must be a regular file, and its access rights stay.
///
/// Failures show in commit() and getErrMsg(); gOutput is not told. Nothing throws,
/// apart from an allocation that fails. One thread at a time uses an object.
class LOOMKIT_API GAtomicFile {
 public:
  /// Makes the new file. Where that fails, isOpen() is false, out() takes
  /// nothing, and commit() fails.
  explicit GAtomicFile(const std::string& path);

  /// What may be different for a file.
  struct Options {
    /// A file from which the new one is made: commit() gives the new one its
    /// owner, as far as this process may, its access rights but for set-user-id
    /// and the like, and its times. Until then only this user can open it.
    std::string likeFile;
    /// False: a link in the target's place is replaced, not what it leads to.
    bool followLinks = true;
    /// False: commit() does not wait until the content is on the disk. The file
    /// is whole for every program, but not after a loss of power.
    bool sync = true;
  };
  GAtomicFile(const std::string& path, const Options& options);
  GAtomicFile(const GAtomicFile&) = delete;
  GAtomicFile& operator=(const GAtomicFile&) = delete;
  ~GAtomicFile();

  /// True until commit(), discard(), or a failure to make the file.
  [[nodiscard]] bool isOpen() const;

  /// Takes the content, as bytes. It can seek, but not from the end. It belongs
  /// to this object.
  [[nodiscard]] std::ostream& out();

  /// Puts the file in the target's place. False if anything failed since the
  /// beginning: the target is as it was, and getErrMsg() says why.
  bool commit();

  /// Gives the new file up.
  void discard();

  /// Deletes the files of all objects of this process that are not committed,
  /// for a program that a signal ends: it may be called from a signal handler.
  /// Those objects can no longer be committed.
  static void discardAll() noexcept;

  /// "PATH: REASON" after a failure, else empty.
  [[nodiscard]] const std::string& getErrMsg() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl;
};

#endif  // LOOMKIT_STREAMS_ATOMIC_FILE_H
