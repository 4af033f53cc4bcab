// SPDX-License-Identifier: MIT
// GDbXBaseDirectory: what all databases on one directory share. Private to the
// backend.
#ifndef LOOMKIT_DB_XBASE_XBASE_DIRECTORY_H
#define LOOMKIT_DB_XBASE_XBASE_DIRECTORY_H

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "loomkit/db/status.h"

struct HulTextCodec;
class GDbXBaseData;

/// A directory with its table and index files. Counted: it begins with one
/// reference and ends with the last. While it lives, it is in the process's map
/// of directories.
class GDbXBaseDirectory {
 public:
  /// The directory of a real path, with a reference for the caller: the one that
  /// is there, or a new one.
  static GDbXBaseDirectory* obtain(const std::string& realPath);

  GDbXBaseDirectory(const GDbXBaseDirectory&) = delete;
  GDbXBaseDirectory& operator=(const GDbXBaseDirectory&) = delete;

  void addRef() { ++refCount; }
  void release();

  [[nodiscard]] const std::string& getPath() const { return path; }

  /// The path of a file, by its upper-cased name with extension; empty if there is
  /// none.
  [[nodiscard]] std::string pathOf(const std::string& upperName) const;
  /// The name of a file as the disk has it; empty if there is none.
  [[nodiscard]] std::string diskNameOf(const std::string& upperName) const;
  /// The files, by upper-cased name with extension.
  [[nodiscard]] const std::multimap<std::string, std::string>& getFiles() const { return files; }
  /// Looks for one file that was just made and enters it. False if it is not
  /// there, or is there twice in different letter cases.
  bool enterNewFile(const std::string& upperName);
  /// Deletes a file and forgets it. False if it cannot be deleted; a file that is
  /// not known counts as one of an empty name.
  bool removeFile(const std::string& upperName);
  void forgetFile(const std::string& upperName);

  /// The open table of an upper-cased name, or null.
  [[nodiscard]] GDbXBaseData* findTable(const std::string& upperName) const;
  void enterTable(const std::string& upperName, GDbXBaseData* data);
  void leaveTable(const std::string& upperName);

  /// See GDbXBase::setEncoding().
  void setEncoding(const char* name);
  [[nodiscard]] HulTextCodec* getEncoder() const { return encoder; }
  [[nodiscard]] HulTextCodec* getDecoder() const { return decoder; }

 private:
  explicit GDbXBaseDirectory(const std::string& realPath);
  ~GDbXBaseDirectory();
  void closeCodecs();

  int refCount = 1;
  std::string path;
  HulTextCodec* encoder = nullptr;  // local code set to the files'
  HulTextCodec* decoder = nullptr;  // and back; both null: no conversion
  std::multimap<std::string, std::string> files;
  std::map<std::string, GDbXBaseData*> tables;  // not owned
};

namespace loomkit {

/// One reference to a counted object of the backend, given up at the end.
struct ReferenceRelease {
  template <class Counted>
  void operator()(Counted* counted) const {
    counted->release();
  }
};
template <class Counted>
using Reference = std::unique_ptr<Counted, ReferenceRelease>;

/// The result of convertText().
enum class Conversion {
  done,
  tooLong,  ///< more than the room that was allowed
  failed    ///< the text is none of its code set; the reason has been logged
};

/// Converts `text` into `*result`, which takes at most `room` bytes.
Conversion convertText(HulTextCodec* codec, std::string_view text, std::size_t room,
                       std::string* result);

/// The letters of this process's locale in capitals.
std::string upperCased(const std::string& text);

}  // namespace loomkit

#endif  // LOOMKIT_DB_XBASE_XBASE_DIRECTORY_H
