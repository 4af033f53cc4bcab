// SPDX-License-Identifier: MIT
#include "loomkit/db/csv/csv_line_reader.h"

#include <cstring>
#include <streambuf>
#include <utility>

namespace loomkit {
namespace {

constexpr std::size_t firstRoom = 128;

// Gives access to the get area of any stream buffer. Its members are protected,
// and C++ lets a derived class name them for objects of the base class, too.
struct GetArea : std::streambuf {
  static const char* begin(std::streambuf* buffer) { return (buffer->*(&GetArea::gptr))(); }
  static const char* end(std::streambuf* buffer) { return (buffer->*(&GetArea::egptr))(); }
  static void skip(std::streambuf* buffer, int count) { (buffer->*(&GetArea::gbump))(count); }
};

// The first CR or LF, or `end`. The search for CR ends at the LF, so that a
// buffer of many short lines is not searched to its end for each of them.
const char* findTerminator(const char* begin, const char* end) {
  const auto* lf =
      static_cast<const char*>(std::memchr(begin, '\n', static_cast<std::size_t>(end - begin)));
  if (lf == nullptr) lf = end;
  const auto* cr =
      static_cast<const char*>(std::memchr(begin, '\r', static_cast<std::size_t>(lf - begin)));
  return cr != nullptr ? cr : lf;
}

}  // namespace

CsvLineReader::CsvLineReader(std::unique_ptr<std::istream> source) : stream(std::move(source)) {
  text.reserve(firstRoom);
}

bool CsvLineReader::seek(std::int64_t position) {
  if (stream->fail()) return false;
  stream->seekg(static_cast<std::istream::off_type>(position), std::ios::beg);
  if (stream->fail()) return false;
  next = position;
  return true;
}

// Whether there is a next byte in the buffer. peek() turns a read error into the
// bad bit, where the buffer itself would throw.
bool CsvLineReader::fill() {
  std::streambuf* buffer = stream->rdbuf();
  if (GetArea::begin(buffer) != GetArea::end(buffer)) return true;
  return stream->peek() != std::istream::traits_type::eof();
}

void CsvLineReader::consume(std::size_t count) {
  GetArea::skip(stream->rdbuf(), static_cast<int>(count));
  next += static_cast<std::int64_t>(count);
}

CsvLineReader::Result CsvLineReader::endOfData(Result otherwise) {
  if (stream->bad()) return Result::failed;
  stream->clear();  // a later seek must find a good stream
  return otherwise;
}

CsvLineReader::Result CsvLineReader::read() {
  text.clear();
  terminated = false;
  start = next;
  while (fill()) {
    const char* begin = GetArea::begin(stream->rdbuf());
    const char* end = GetArea::end(stream->rdbuf());
    const char* terminator = findTerminator(begin, end);
    const auto length = static_cast<std::size_t>(terminator - begin);
    text.append(begin, length);
    if (terminator == end) {
      consume(length);
      continue;
    }
    const char byte = *terminator;
    consume(length + 1);
    return swallowPair(byte);
  }
  return endOfData(text.empty() ? Result::end : Result::line);
}

CsvLineReader::Result CsvLineReader::swallowPair(char terminator) {
  terminated = true;
  if (!fill()) return endOfData(Result::line);
  const char other = terminator == '\n' ? '\r' : '\n';
  if (*GetArea::begin(stream->rdbuf()) == other) consume(1);
  return Result::line;
}

}  // namespace loomkit
