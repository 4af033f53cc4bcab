// SPDX-License-Identifier: MIT
#include "loomkit/streams/gzip_file.h"

#include <zlib.h>

#include <array>
#include <cstring>

#include "loomkit/streams/gzip_layout.h"

namespace loomkit {

namespace {

constexpr std::size_t blockSize = std::size_t{128} << 10;
constexpr int gzipWindow = 15 + 16;  // the largest window, and gzip around it

Bytef* bytesOf(char* text) { return reinterpret_cast<Bytef*>(text); }

unsigned fillFrom(std::istream& in, char* block, std::size_t size) {
  in.read(block, static_cast<std::streamsize>(size));
  return static_cast<unsigned>(in.gcount());
}

// One deflate stream and its two blocks.
class Deflater {
 public:
  Deflater(std::istream& source, std::ostream& target) : in(source), out(target) {}
  Deflater(const Deflater&) = delete;
  Deflater& operator=(const Deflater&) = delete;
  ~Deflater() { deflateEnd(&z); }

  bool run(int level, const GzipHeader& header) {
    constexpr int memoryLevel = 8;
    if (deflateInit2(&z, level, Z_DEFLATED, gzipWindow, memoryLevel, Z_DEFAULT_STRATEGY) != Z_OK)
      return false;
    std::string name = header.name;
    gz_header fields{};
    fields.time = header.time;
    fields.os = gzip::header::systemUnix;
    if (!name.empty()) fields.name = bytesOf(name.data());
    deflateSetHeader(&z, &fields);
    while (in.good()) {
      z.avail_in = fillFrom(in, input.get(), blockSize);
      z.next_in = bytesOf(input.get());
      if (in.bad() || !step(in.good() ? Z_NO_FLUSH : Z_FINISH)) return false;
    }
    return in.eof() && !in.bad();
  }

 private:
  bool step(int flush) {
    do {
      z.next_out = bytesOf(output.get());
      z.avail_out = blockSize;
      deflate(&z, flush);
      out.write(output.get(), static_cast<std::streamsize>(blockSize - z.avail_out));
    } while (z.avail_out == 0 && out);
    return out.good();
  }

  std::istream& in;
  std::ostream& out;
  z_stream z{};
  std::unique_ptr<char[]> input{new char[blockSize]};
  std::unique_ptr<char[]> output{new char[blockSize]};
};

}  // namespace

bool writeGzip(std::istream& in, std::ostream& out, int level, const GzipHeader& header) {
  return Deflater(in, out).run(level, header);
}

class GzipReader::Impl {
 public:
  explicit Impl(std::istream& source) : in(source) { z.next_in = bytesOf(input.get()); }
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  ~Impl() { inflateEnd(&z); }

  Result readHeader() {
    if (headerRead || result != complete) return result;
    headerRead = true;
    if (inflateInit2(&z, gzipWindow) != Z_OK) return fail(outOfMemory);
    if (!beginsMember()) return fail(in.bad() ? cannotRead : notGzip);
    return beginMember();
  }

  Result extract(std::ostream* target) {
    out = target;
    if (readHeader() != complete) return result;
    for (;;) {
      if (readMember() != complete) return result;
      skipZeros();
      if (in.bad()) return fail(cannotRead);
      if (z.avail_in == 0) return complete;
      if (!beginsMember()) return fail(trailingGarbage);
      inflateReset(&z);
      if (beginMember() != complete) return result;
    }
  }

  GzipHeader header;
  std::uint64_t size = 0;
  std::uint32_t crc = 0;
  unsigned frameSize = 0;
  Result result = complete;

 private:
  Result fail(Result why) {
    result = why;
    return result;
  }

  // Brings more input behind what there is; false at its end.
  bool fill() {
    std::memmove(input.get(), z.next_in, z.avail_in);
    z.next_in = bytesOf(input.get());
    const unsigned count = fillFrom(in, input.get() + z.avail_in, blockSize - z.avail_in);
    z.avail_in += count;
    return count > 0;
  }

  bool beginsMember() {
    if (z.avail_in < 2) fill();
    return z.avail_in >= 2 && z.next_in[0] == gzip::header::magic0Value &&
           z.next_in[1] == gzip::header::magic1Value;
  }

  // Up to the end of the header.
  Result beginMember() {
    fields = gz_header{};
    fields.name = bytesOf(name.data());
    fields.name_max = static_cast<uInt>(name.size() - 1);
    inflateGetHeader(&z, &fields);
    // The flag Z_BLOCK makes inflate() stop behind the header.
    while (fields.done == 0) {
      if (z.avail_in == 0 && !fill()) return fail(in.bad() ? cannotRead : unexpectedEnd);
      z.next_out = bytesOf(output.get());
      z.avail_out = 0;
      const int status = inflate(&z, Z_BLOCK);
      if (status != Z_OK && status != Z_BUF_ERROR) return fail(damaged);
    }
    frameSize = static_cast<unsigned>(z.total_in + gzip::trailer::size);
    if (!anyHeader) header = {name.data(), static_cast<std::uint32_t>(fields.time)};
    anyHeader = true;
    return complete;
  }

  Result readMember() {
    for (;;) {
      if (z.avail_in == 0 && !fill()) return fail(in.bad() ? cannotRead : unexpectedEnd);
      z.next_out = bytesOf(output.get());
      z.avail_out = blockSize;
      const int status = inflate(&z, Z_NO_FLUSH);
      const std::size_t count = blockSize - z.avail_out;
      size += count;
      if (out != nullptr && !out->write(output.get(), static_cast<std::streamsize>(count)))
        return fail(cannotWrite);
      if (status == Z_MEM_ERROR) return fail(outOfMemory);
      if (status == Z_STREAM_END) {
        crc = static_cast<std::uint32_t>(z.adler);
        return complete;
      }
      if (status != Z_OK && status != Z_BUF_ERROR) return fail(damaged);
    }
  }

  void skipZeros() {
    while (z.avail_in > 0 || fill()) {
      if (*z.next_in != 0) return;
      ++z.next_in;
      --z.avail_in;
    }
  }

  std::istream& in;
  std::ostream* out = nullptr;
  z_stream z{};
  gz_header fields{};  // inflate() keeps its address
  bool headerRead = false;
  bool anyHeader = false;
  std::array<char, 4096> name{};  // the last byte stays zero
  std::unique_ptr<char[]> input{new char[blockSize]};
  std::unique_ptr<char[]> output{new char[blockSize]};
};

GzipReader::GzipReader(std::istream& in) : impl(std::make_unique<Impl>(in)) {}
GzipReader::~GzipReader() = default;

GzipReader::Result GzipReader::readHeader() { return impl->readHeader(); }
GzipReader::Result GzipReader::extract(std::ostream* out) { return impl->extract(out); }
const GzipHeader& GzipReader::getHeader() const { return impl->header; }
std::uint64_t GzipReader::getSize() const { return impl->size; }
std::uint32_t GzipReader::getCRC() const { return impl->crc; }
unsigned GzipReader::getFrameSize() const { return impl->frameSize; }

std::string GzipReader::getErrMsg() const {
  // In the order of Result.
  constexpr const char* texts[] = {"",
                                   "other data follow the compressed data",
                                   "not a gzip file",
                                   "unexpected end of file",
                                   "the data are damaged",
                                   "cannot be read",
                                   "cannot be written",
                                   "out of memory"};
  return texts[impl->result];
}

}  // namespace loomkit
