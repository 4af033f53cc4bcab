// SPDX-License-Identifier: MIT
#include "loomkit/streams/z_stream.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <locale>
#include <string>

#include "loomkit/text/output.h"

namespace {

Bytef* bytes(char* text) { return reinterpret_cast<Bytef*>(text); }

}  // namespace

const int GZipStreamBuf::MAX_PUTBACK;
const int GOZipStream::MIN_COMPRESSION;
const int GOZipStream::MAX_COMPRESSION;
const int GOZipStream::DEFAULT_COMPRESSION;

GZipStreamBuf::GZipStreamBuf(std::istream* source, unsigned int size)
    : input(source),
      zlib(std::make_unique<z_stream_s>()),
      bufferSize(std::max(size, 1U)),
      plain(std::make_unique_for_overwrite<char[]>(bufferSize)),
      packed(std::make_unique_for_overwrite<char[]>(bufferSize)) {
  if (beginInflating("GZipStreamBuf", "inflateInit()")) setg(plain.get(), plain.get(), plain.get());
}

GZipStreamBuf::GZipStreamBuf(std::ostream* sink, int level, unsigned int size)
    : output(sink),
      zlib(std::make_unique<z_stream_s>()),
      bufferSize(std::max(size, 1U)),
      plain(std::make_unique_for_overwrite<char[]>(bufferSize)),
      packed(std::make_unique_for_overwrite<char[]>(bufferSize)) {
  zlib->next_out = bytes(packed.get());
  zlib->avail_out = bufferSize;
  const int code = deflateInit(zlib.get(), level);
  deflating = code == Z_OK;
  if (!deflating) {
    error("GZipStreamBuf", "deflateInit()", code);
    return;
  }
  setp(plain.get(), plain.get() + bufferSize);
}

GZipStreamBuf::~GZipStreamBuf() {
  if (!deflating && !inflating) return;
  const int code = deflating ? deflateEnd(zlib.get()) : inflateEnd(zlib.get());
  if (code != Z_OK) error("~GZipStreamBuf", deflating ? "deflateEnd()" : "inflateEnd()", code);
}

void GZipStreamBuf::error(const char* function, const char* call, int code) {
  failed = true;
  const std::string text = std::string("GZipStreamBuf::") + function + "(): " + call +
                           " failed (error " + std::to_string(code) + ")";
  gOutput->log(0, gDataSysName, text.c_str());
}

// Begins to inflate, with no input yet.
bool GZipStreamBuf::beginInflating(const char* function, const char* call) {
  *zlib = z_stream_s{};
  zlib->next_in = bytes(packed.get());
  const int code = inflateInit(zlib.get());
  inflating = code == Z_OK;
  if (!inflating) error(function, call, code);
  return inflating;
}

// Makes room for new bytes, and keeps the last of the old ones for pbackfail.
void GZipStreamBuf::keepPutback() {
  if (egptr() - plain.get() <= MAX_PUTBACK) return;
  char* end = egptr();
  char* next = plain.get() + MAX_PUTBACK;
  std::memmove(plain.get(), end - MAX_PUTBACK, MAX_PUTBACK);
  position += static_cast<unsigned int>(end - next);
  setg(plain.get(), next, next);
}

void GZipStreamBuf::readInput() {
  input->read(packed.get(), static_cast<std::streamsize>(bufferSize));
  zlib->next_in = bytes(packed.get());
  zlib->avail_in = static_cast<uInt>(input->gcount());
  if (input->bad()) failed = true;
}

// Inflates to `from` until something has come out or the data have ended.
bool GZipStreamBuf::inflateInto(char* from) {
  const auto room = static_cast<uInt>(plain.get() + bufferSize - from);
  zlib->next_out = bytes(from);
  zlib->avail_out = room;
  while (zlib->avail_out == room && !streamEnd) {
    if (zlib->avail_in == 0 && input->rdstate() == std::ios_base::goodbit) readInput();
    const int code = ::inflate(zlib.get(), Z_NO_FLUSH);
    if (code == Z_STREAM_END) {
      streamEnd = true;
    } else if (code != Z_OK) {
      error("underflow", "inflate()", code);
      return false;
    }
  }
  return true;
}

GZipStreamBuf::int_type GZipStreamBuf::underflow() {
  if (input == nullptr || failed) return traits_type::eof();
  if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
  keepPutback();
  char* next = gptr();
  const bool good = inflateInto(next);
  char* end = good ? reinterpret_cast<char*>(zlib->next_out) : next;
  setg(plain.get(), next, end);
  return next < end ? traits_type::to_int_type(*next) : traits_type::eof();
}

GZipStreamBuf::int_type GZipStreamBuf::pbackfail(int_type c) {
  if (input == nullptr || failed || gptr() == eback()) return traits_type::eof();
  gbump(-1);
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::to_int_type(*gptr());
  *gptr() = traits_type::to_char_type(c);
  return c & 255;
}

// Hands the packed buffer's content to the output and empties it.
bool GZipStreamBuf::writePacked() {
  const auto size = static_cast<std::streamsize>(bufferSize - zlib->avail_out);
  if (size > 0) output->write(packed.get(), size);
  zlib->next_out = bytes(packed.get());
  zlib->avail_out = bufferSize;
  if (output->fail()) failed = true;
  return !failed;
}

GZipStreamBuf::int_type GZipStreamBuf::overflow(int_type c) {
  if (output == nullptr || failed || finished) return traits_type::eof();
  if (traits_type::eq_int_type(c, traits_type::eof())) return 0;
  if (pptr() == epptr()) {
    zlib->next_in = bytes(pbase());
    zlib->avail_in = static_cast<uInt>(pptr() - pbase());
    while (zlib->avail_in != 0) {
      const int code = ::deflate(zlib.get(), Z_NO_FLUSH);
      if (code != Z_OK) {
        error("overflow", "deflate()", code);
        return traits_type::eof();
      }
      if (zlib->avail_out == 0 && !writePacked()) return traits_type::eof();
    }
    position += static_cast<unsigned int>(pptr() - pbase());
    setp(plain.get(), plain.get() + bufferSize);
  }
  *pptr() = traits_type::to_char_type(c);
  pbump(1);
  return c & 255;
}

int GZipStreamBuf::finish() {
  if (failed) return -1;
  if (output == nullptr || finished) return 0;
  zlib->next_in = bytes(pbase());
  zlib->avail_in = static_cast<uInt>(pptr() - pbase());
  setp(plain.get(), plain.get());
  int code = Z_OK;
  while (code == Z_OK) {
    code = ::deflate(zlib.get(), Z_FINISH);
    if (!writePacked()) return -1;
  }
  if (code != Z_STREAM_END) {
    error("finish", "deflate()", code);
    return -1;
  }
  if (output->good() && output->rdbuf()->pubsync() == -1) output->setstate(std::ios_base::badbit);
  finished = output->good();
  failed = !finished;
  return finished ? 0 : -1;
}

GZipStreamBuf::pos_type GZipStreamBuf::seekoff(off_type offset, std::ios_base::seekdir direction,
                                               std::ios_base::openmode which) {
  if (offset != 0 || direction != std::ios_base::beg || which != std::ios_base::in)
    return off_type(-1);
  return seekpos(0, std::ios_base::in);
}

GZipStreamBuf::pos_type GZipStreamBuf::seekpos(pos_type target, std::ios_base::openmode which) {
  const pos_type refused(off_type(-1));
  if (which != std::ios_base::in || target != pos_type(0) || input == nullptr || failed)
    return refused;
  if (position == 0) {
    setg(plain.get(), plain.get(), egptr());
    return 0;
  }
  const int code = inflateEnd(zlib.get());
  inflating = false;
  if (code != Z_OK) {
    error("seekpos", "inflateEnd", code);
    return refused;
  }
  position = 0;
  streamEnd = false;
  if (!beginInflating("seekpos", "inflateInit")) return refused;
  setg(plain.get(), plain.get(), plain.get());
  return 0;
}

GIZipStream::GIZipStream(std::istream* source, unsigned int bufferSize)
    : std::istream(new GZipStreamBuf(source, bufferSize)),
      buffer(static_cast<GZipStreamBuf*>(std::istream::rdbuf())) {
  imbue(std::locale::classic());
}

GIZipStream::~GIZipStream() { delete buffer; }

GZipStreamBuf* GIZipStream::rdbuf() const { return buffer; }

GOZipStream::GOZipStream(std::ostream* sink, int level, unsigned int bufferSize)
    : std::ostream(new GZipStreamBuf(sink, level, bufferSize)),
      buffer(static_cast<GZipStreamBuf*>(std::ostream::rdbuf())) {
  imbue(std::locale::classic());
}

GOZipStream::~GOZipStream() { delete buffer; }

GZipStreamBuf* GOZipStream::rdbuf() const { return buffer; }

GOZipStream& GOZipStream::finish() {
  if (buffer->finish() == -1) setstate(std::ios_base::badbit);
  return *this;
}
