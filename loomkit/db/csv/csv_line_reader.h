// SPDX-License-Identifier: MIT
// CsvLineReader: the lines of a stream, with their positions. Private to the
// backend.
#ifndef LOOMKIT_DB_CSV_CSV_LINE_READER_H
#define LOOMKIT_DB_CSV_CSV_LINE_READER_H

#include <cstddef>
#include <cstdint>
#include <istream>
#include <memory>
#include <string>

namespace loomkit {

/// Reads lines that end in LF, CR, CR LF or LF CR. Works in the stream's own
/// buffer and counts positions itself: asking a file for its position costs a
/// system call a line.
class CsvLineReader {
 public:
  enum class Result { line, end, failed };

  explicit CsvLineReader(std::unique_ptr<std::istream> source);

  /// Moves to a position that was a line's start; false when the stream is, or
  /// becomes, unusable.
  bool seek(std::int64_t position);

  /// Reads the next line. `end`: nothing was left; a last line without
  /// terminator is a line. `failed`: the stream is broken.
  Result read();

  /// The line just read, NUL-terminated. It may hold NULs.
  [[nodiscard]] const std::string& line() const { return text; }
  /// Whether a terminator ended it, and not the end of the data.
  [[nodiscard]] bool hadTerminator() const { return terminated; }
  /// Where the line just read started.
  [[nodiscard]] std::int64_t lineStart() const { return start; }

 private:
  bool fill();
  void consume(std::size_t count);
  Result endOfData(Result otherwise);
  Result swallowPair(char terminator);

  std::unique_ptr<std::istream> stream;
  std::string text;
  bool terminated = false;
  std::int64_t start = 0;
  std::int64_t next = 0;  // the position of the next byte
};

}  // namespace loomkit

#endif  // LOOMKIT_DB_CSV_CSV_LINE_READER_H
