// SPDX-License-Identifier: MIT
// The xBase engine object: its settings, its error code and its reports.
//
// Tables (data_file.h), memos (memo_file.h), expressions (expression.h) and
// compound indexes (index_file.h) all belong to an engine. A process has one,
// theEngine(); tests make their own.
//
//   Engine& engine = theEngine();
//   engine.report = Reporting::none();
//   const std::unique_ptr<DataFile> table = openDataFile(engine, "parts");
//   if (table == nullptr) use(engine.errorCode);   // stays until cleared
#ifndef LOOMKIT_XBASE_ENGINE_H
#define LOOMKIT_XBASE_ENGINE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "loomkit/xbase/codes.h"

namespace loomkit::xbase {

struct DataFile;

/// What the engine tells the user by itself, besides returning a code.
struct Reporting {
  bool open = true;         ///< files that cannot be opened
  bool create = true;       ///< files that cannot be created
  bool go = true;           ///< records that are not there
  bool skip = true;         ///< skips from nowhere
  bool tag = true;          ///< tags that are not there
  bool expressions = true;  ///< whatever is wrong with an expression
  bool files = true;        ///< reads and writes that fail, and damaged files

  /// All but expressions off.
  static Reporting expressionsOnly() { return {false, false, false, false, false, true, false}; }
  static Reporting none() { return {false, false, false, false, false, false, false}; }
};

/// Takes a report: a title and lines that end in CR LF. `context` is the host's.
using ReportSink = void (*)(const char* title, const char* text, void* context);

/// One engine. All objects of an engine are used from one thread at a time, and
/// none outlives it.
struct Engine {
  std::string dateFormat = "MM/DD/YY";  ///< of DTOC() and CTOD()
  unsigned memoBlockSize = 512;         ///< of new memo files, in bytes
  unsigned memoTextLength = 1024;       ///< how much of a memo an expression sees, in bytes
  bool autoOpen = true;                 ///< open a table's production index with it
  bool safety = true;                   ///< refuse to create over a file that is there
  bool readOnly = false;                ///< open files for reading only
  bool exclusive = false;               ///< share files with nobody
  Reporting report;

  /// Extension: also read tables of later programs, with the field letters I, Y,
  /// T, B of 8 bytes and the field of null flags. Such tables are not written.
  bool laterTypes = false;

  std::size_t cacheBlockSize = 4096;       ///< of an open file's cache; a multiple of 1024
  std::size_t cacheBlocks = 8192;          ///< that an open file keeps at most; at least 1
  std::size_t readAheadBlocks = 16;        ///< that a sequential reader fetches at a time
  std::size_t indexBlocks = 16384;         ///< of 512 bytes that an index file keeps at most
  std::size_t sortMemory = 64U << 20;      ///< of a sort while an index is built, in bytes
  std::size_t packBufferSize = 64U << 10;  ///< of a pack's buffers to begin with, in bytes

  /// Negative after a failure. While it is, every operation fails with it at
  /// once: whoever handles a failure clears it.
  int errorCode = 0;
  /// Where in its text the latest expression went wrong, in bytes from its start.
  std::size_t errorPosition = 0;

  /// Extension: hears of long work, which calls it with the records that have been
  /// gone through since the last call.
  std::function<void(std::uint32_t records)> progress;

  ReportSink sink = nullptr;  ///< null: the platform's message box
  void* sinkContext = nullptr;

  /// The open tables, in the order of opening: expressions find them by alias.
  std::vector<DataFile*> dataFiles;
  std::uint64_t tablesOpened = 0;
};

/// The process's engine, made at the first call. It lives to the process's end.
Engine& theEngine();

/// Called for each record that long work has gone through, by its number from 1:
/// every 4,096 of them the engine's `progress` hears of it.
inline void tellProgress(const Engine& engine, std::uint32_t record) {
  constexpr std::uint32_t step = 4096;
  if (record % step == 0 && engine.progress) engine.progress(step);
}

/// Keeps `code` as the engine's error code, tells the user about it if
/// `reported`. The texts, as far as they are not null, are further lines of the
/// report.
void noteFailure(Engine& engine, int code, bool reported, const char* text1, const char* text2,
                 const char* text3);

/// The same for the end of an operation: returns the code.
inline int fail(Engine& engine, int code, bool reported, const char* text1 = nullptr,
                const char* text2 = nullptr, const char* text3 = nullptr) {
  noteFailure(engine, code, reported, text1, text2, text3);
  return code;
}

/// The same for an error after which the engine's structures cannot be trusted;
/// always reported.
int failSeverely(Engine& engine, int code, const char* text1 = nullptr, const char* text2 = nullptr,
                 const char* text3 = nullptr);

/// Does `work`, which gives a code, for destructors and whatever else must not throw:
/// when memory runs out, the code is errorMemory.
template <class Work>
int withoutThrowing(Engine& engine, Work work) noexcept {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return fail(engine, errorMemory, false);
  }
}

/// The line that names a file in a report.
std::string fileNameLine(const std::string& name);

}  // namespace loomkit::xbase

#endif  // LOOMKIT_XBASE_ENGINE_H
