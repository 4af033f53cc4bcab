// SPDX-License-Identifier: MIT
// GuardedFolder: a folder of a test's own that nothing survives, not even in a
// test program that is killed.
#ifndef LOOMKIT_TESTS_DB_GUARDED_FOLDER_H
#define LOOMKIT_TESTS_DB_GUARDED_FOLDER_H

#include <string>

namespace loomkit::testing {

/// A new folder among the temporary ones. A small process waits for the end of
/// this object, or of the program in any way, then stops a PostgreSQL server whose
/// data is in "data" here, frees its shared memory and deletes the folder.
class GuardedFolder {
 public:
  GuardedFolder();
  GuardedFolder(const GuardedFolder&) = delete;
  GuardedFolder& operator=(const GuardedFolder&) = delete;
  /// Returns when the folder is gone.
  ~GuardedFolder();

  [[nodiscard]] const std::string& path() const { return folder; }

 private:
  std::string folder;
  int toGuard = -1;    // closed: the guard is to begin
  int fromGuard = -1;  // at its end: the guard has done
};

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_DB_GUARDED_FOLDER_H
