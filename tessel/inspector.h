// SPDX-License-Identifier: MIT
// Extension: GTesselInspector tells what is in a store file, and checks all of it.
//
//   GTesselInspector inspector;
//   if (inspector.open("parts.tessel") == GDbNoError && inspector.check() != GDbNoError)
//     gOutput->error(inspector.getErrMsg().c_str());
#ifndef TESSEL_INSPECTOR_H
#define TESSEL_INSPECTOR_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/db/status.h"
#include "loomkit/platform/export.h"

namespace tessel {
class Store;
}

/// Looks into one file. Sizes are bytes of the file. For one thread at a time.
class LOOMKIT_API GTesselInspector {
 public:
  struct Column {
    std::string name;
    std::string storage;  ///< such as "int8" or "text in a dictionary"
    std::uint64_t size = 0;
  };
  struct Index {
    std::string name;
    std::string columns;  ///< the names joined by commas
    bool unique = false;
    std::string form;  ///< "hashed" or "ranges"
    std::uint64_t size = 0;
  };
  struct Table {
    std::string name;
    std::uint32_t rows = 0;
    std::vector<Column> columns;
    std::vector<Index> indexes;
  };
  /// Told how many of how many steps are done.
  using Progress = std::function<void(std::uint64_t done, std::uint64_t total)>;

  GTesselInspector();
  GTesselInspector(const GTesselInspector&) = delete;
  GTesselInspector& operator=(const GTesselInspector&) = delete;
  ~GTesselInspector();

  /// Reads the header and the directory. GDbCantOpenFile: there is no such file,
  /// or it is no store; GDbIoError: it cannot be read, or is damaged; then
  /// isDamaged() tells which.
  GDbStatus open(const std::string& path);

  /// Empty before open().
  [[nodiscard]] const std::vector<Table>& getTables() const { return tables; }
  [[nodiscard]] std::uint64_t getFileSize() const { return fileSize; }

  /// Reads the whole file, and compares every checksum, every text and every
  /// index. GDbIoError: getErrMsg() tells the first problem. GDbNotOpen before
  /// open(). Takes a bit of memory for each row, and the memory of lookups.
  GDbStatus check(const Progress& progress = nullptr);

  /// True when the latest failure was damage, and not a file that cannot be read.
  [[nodiscard]] bool isDamaged() const { return damaged; }
  /// "PATH: REASON" after a failure, else empty.
  [[nodiscard]] const std::string& getErrMsg() const { return message; }

 private:
  std::string path;
  std::string message;
  bool damaged = false;
  std::uint64_t fileSize = 0;
  std::vector<Table> tables;
  std::unique_ptr<tessel::Store> store;
};

#endif  // TESSEL_INSPECTOR_H
