// SPDX-License-Identifier: MIT
// Streams that compress and decompress in the zlib format (RFC 1950):
//
//   GOZipStream out(&file, GOZipStream::DEFAULT_COMPRESSION, 4096);
//   out << text;
//   out.finish();                             // the destructor does not
//
//   GIZipStream in(&file, 4096);
//   std::getline(in, line);
#ifndef LOOMKIT_STREAMS_Z_STREAM_H
#define LOOMKIT_STREAMS_Z_STREAM_H

#include <istream>
#include <memory>
#include <ostream>

#include "loomkit/platform/export.h"
#include "loomkit/streams/mem_stream.h"

struct z_stream_s;

/// Inflates from, or deflates to, another stream, which it does not own and
/// which nobody else may use meanwhile.
///
/// A failure makes all further operations fail and sends, as log level 0 of
/// gDataSysName, "GZipStreamBuf::FUNCTION(): CALL failed (error N)"; a stream
/// failure is silent. One object belongs to one thread.
class LOOMKIT_API GZipStreamBuf : public GStreamBuf {
 public:
  /// So many bytes can be put back, also across a refill.
  static const int MAX_PUTBACK = 16;

  /// Reads compressed data from `input`. A buffer of MAX_PUTBACK bytes or fewer
  /// has no room left after its first fill, and reading fails there.
  GZipStreamBuf(std::istream* input, unsigned int bufferSize);

  /// Writes compressed data to `output`, at `level` 0 to 9.
  GZipStreamBuf(std::ostream* output, int level, unsigned int bufferSize);

  /// Does not finish(): without that the output is cut off.
  ~GZipStreamBuf() override;

  /// Writes what is left and the end of the compressed data. 0, or -1 on
  /// failure. When reading, or a second time, it does nothing and gives 0.
  int finish();

 protected:
  int_type overflow(int_type c) override;
  int_type pbackfail(int_type c) override;
  int_type underflow() override;

  /// Only (0, beg, in) is served: back to the start of the data. Once a buffer
  /// has been used up, the caller has to take the input back to its start too.
  pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                   std::ios_base::openmode which) override;
  pos_type seekpos(pos_type target, std::ios_base::openmode which) override;

 private:
  void error(const char* function, const char* call, int code);
  bool beginInflating(const char* function, const char* call);
  void keepPutback();
  void readInput();
  bool inflateInto(char* from);
  bool writePacked();

  std::istream* input = nullptr;
  std::ostream* output = nullptr;
  std::unique_ptr<z_stream_s> zlib;
  unsigned int bufferSize;
  std::unique_ptr<char[]> plain;
  std::unique_ptr<char[]> packed;
  unsigned int position = 0;  // plain bytes that have left the buffer for good
  bool streamEnd = false;
  bool failed = false;
  bool finished = false;
  // What zlib has begun and has to end. It does not follow from the streams, which
  // may both be null.
  bool inflating = false;
  bool deflating = false;
};

/// An input stream of decompressed data, in the classic locale. A failure is
/// end-of-file to the reader.
class LOOMKIT_API GIZipStream : public std::istream {
 public:
  GIZipStream(std::istream* input, unsigned int bufferSize = 4096);
  ~GIZipStream() override;
  GIZipStream(const GIZipStream&) = delete;
  GIZipStream& operator=(const GIZipStream&) = delete;

  /// The stream's own buffer.
  GZipStreamBuf* rdbuf() const;

 private:
  GZipStreamBuf* buffer;
};

/// An output stream that compresses, in the classic locale.
class LOOMKIT_API GOZipStream : public std::ostream {
 public:
  static const int MIN_COMPRESSION = 0;
  static const int MAX_COMPRESSION = 9;
  static const int DEFAULT_COMPRESSION = 6;

  GOZipStream(std::ostream* output, int level = DEFAULT_COMPRESSION,
              unsigned int bufferSize = 4096);

  /// Does not finish().
  ~GOZipStream() override;
  GOZipStream(const GOZipStream&) = delete;
  GOZipStream& operator=(const GOZipStream&) = delete;

  /// The stream's own buffer.
  GZipStreamBuf* rdbuf() const;

  /// Completes the compressed data; badbit tells of a failure.
  GOZipStream& finish();

 private:
  GZipStreamBuf* buffer;
};

#endif  // LOOMKIT_STREAMS_Z_STREAM_H
