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

/// The buffer behind GIZipStream and GOZipStream. It inflates from another stream, or
/// deflates to one, which it does not own and which nobody else may use meanwhile.
///
/// After a failure all further operations fail. A failure of zlib sends one line of
/// log level 0 of gDataSysName, "GZipStreamBuf::FUNCTION(): CALL failed (error N)"; a
/// failure of the other stream is silent. Nothing throws, apart from an allocation
/// that fails. One thread at a time uses an object.
class LOOMKIT_API GZipStreamBuf : public GStreamBuf {
 public:
  /// The number of bytes that can always be put back, also across a refill.
  static const int MAX_PUTBACK = 16;

  /// Reads compressed data from `input`. A null stream is at its end. `bufferSize` is
  /// in bytes; a buffer of MAX_PUTBACK bytes or fewer has no room left after its
  /// first fill, and reading fails there.
  GZipStreamBuf(std::istream* input, unsigned int bufferSize);

  /// Writes compressed data to `output`, at `level` 0 (not at all) to 9 (best). With
  /// a null stream, what does not fit the buffer of `bufferSize` bytes is refused.
  GZipStreamBuf(std::ostream* output, int level, unsigned int bufferSize);

  /// Ends zlib. It does not finish(): without that call the output is cut off.
  ~GZipStreamBuf() override;

  /// Writes what is left and the end of the compressed data, and brings it out of the
  /// other stream's buffer. 0, or -1 on failure. When reading, and a second time, it
  /// does nothing and gives 0.
  int finish();

 protected:
  int_type overflow(int_type c) override;
  int_type pbackfail(int_type c) override;
  int_type underflow() override;

  /// Serves only (0, beg, in), which goes back to the start of the data. Once a buffer
  /// has been used up, the caller has to take the input back to its start as well.
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

/// An input stream of decompressed data, which reads numbers in the classic locale. A
/// failure is the end of the file for who reads. It owns its buffer and not the stream
/// that it reads from. One thread at a time uses it.
class LOOMKIT_API GIZipStream : public std::istream {
 public:
  /// Reads zlib data from `input`, `bufferSize` bytes at a time.
  GIZipStream(std::istream* input, unsigned int bufferSize = 4096);
  ~GIZipStream() override;
  GIZipStream(const GIZipStream&) = delete;
  GIZipStream& operator=(const GIZipStream&) = delete;

  /// The stream's own buffer.
  GZipStreamBuf* rdbuf() const;

 private:
  GZipStreamBuf* buffer;
};

/// An output stream that compresses, and writes numbers in the classic locale. It owns
/// its buffer and not the stream that it writes to. Call finish() at the end: what was
/// written is incomplete without it. One thread at a time uses it.
class LOOMKIT_API GOZipStream : public std::ostream {
 public:
  /// No compression.
  static const int MIN_COMPRESSION = 0;
  /// The smallest result, and the slowest way to it.
  static const int MAX_COMPRESSION = 9;
  /// zlib's own choice between the two.
  static const int DEFAULT_COMPRESSION = 6;

  /// Writes zlib data to `output`, with a buffer of `bufferSize` bytes on each side of
  /// zlib.
  GOZipStream(std::ostream* output, int level = DEFAULT_COMPRESSION,
              unsigned int bufferSize = 4096);

  /// Does not finish().
  ~GOZipStream() override;
  GOZipStream(const GOZipStream&) = delete;
  GOZipStream& operator=(const GOZipStream&) = delete;

  /// The stream's own buffer.
  GZipStreamBuf* rdbuf() const;

  /// Completes the compressed data; badbit tells of a failure. Nothing more can be
  /// written afterwards.
  GOZipStream& finish();

 private:
  GZipStreamBuf* buffer;
};

#endif  // LOOMKIT_STREAMS_Z_STREAM_H
