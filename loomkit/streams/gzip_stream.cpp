// SPDX-License-Identifier: MIT
#include "loomkit/streams/gzip_stream.h"

#include <zlib.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include "loomkit/streams/gzip_layout.h"
#include "loomkit/text/binary.h"
#include "loomkit/text/output.h"

namespace gzip = loomkit::gzip;

namespace {

constexpr int rawWindowBits = -15;
constexpr int memoryLevel = 8;
constexpr std::size_t bufferSize = 4096;

void logLine(const std::string& text) { gOutput->log(0, gDataSysName, text.c_str()); }

void logCode(const char* text, int code) { logLine(text + std::to_string(code)); }

// zlib between two streams, a buffer on each side.
class Pump {
 public:
  Pump(std::istream& from, std::ostream& to) : input(from), output(to) {
    zlib.next_out = packed;
    zlib.avail_out = bufferSize;
  }
  Pump(const Pump&) = delete;
  Pump& operator=(const Pump&) = delete;
  /// Ends zlib, also where a host's stream throws.
  ~Pump() {
    if (end != nullptr) end(&zlib);
  }

  /// Ends zlib, and gives its result.
  int finish() { return std::exchange(end, nullptr)(&zlib); }

  /// Runs `step(zlib, input has ended)` until it gives Z_STREAM_END, whose
  /// output is written, or fails, or a stream does. The last result.
  template <class Step>
  int run(Step step) {
    int code = Z_OK;
    while (code == Z_OK && streamsGood()) {
      if (zlib.avail_in == 0 && !input.eof()) readInput();
      if (zlib.avail_out == 0) writeOutput();
      code = step(&zlib, input.eof());
    }
    if (code == Z_STREAM_END) writeOutput();
    return code;
  }

  z_stream zlib{};
  uLong crc = ::crc32(0, nullptr, 0);
  int (*end)(z_stream*) = nullptr;  ///< set once zlib is ready

 private:
  [[nodiscard]] bool streamsGood() const {
    return (input.good() || input.eof()) && output.rdstate() == std::ios_base::goodbit;
  }

  void readInput() {
    input.read(reinterpret_cast<char*>(plain), sizeof plain);
    zlib.next_in = plain;
    zlib.avail_in = static_cast<uInt>(input.gcount());
    crc = ::crc32(crc, plain, zlib.avail_in);
  }

  void writeOutput() {
    output.write(reinterpret_cast<const char*>(packed),
                 static_cast<std::streamsize>(bufferSize - zlib.avail_out));
    zlib.next_out = packed;
    zlib.avail_out = bufferSize;
  }

  std::istream& input;
  std::ostream& output;
  Bytef plain[bufferSize];
  Bytef packed[bufferSize];
};

void skipText(std::istream& input) {
  while (input.get() > 0) {
  }
}

void skipBytes(std::istream& input, int count) {
  for (; count > 0 && input.good(); --count) input.get();
}

}  // namespace

const int GGZCompress::sMagic[2] = {gzip::header::magic0Value, gzip::header::magic1Value};

GGZCompress::GGZCompress(std::istream& source) : input(source) {}

void GGZCompress::writeHeader(std::ostream& output) {
  namespace layout = gzip::header;
  char bytes[layout::size] = {};
  loomkit::RecordWriter header(bytes, sizeof bytes);
  header.put(layout::magic0, layout::magic0Value);
  header.put(layout::magic1, layout::magic1Value);
  header.put(layout::method, layout::methodDeflate);
  header.put(layout::system, layout::systemUnix);
  output.write(bytes, sizeof bytes);
}

// Byte by byte, so that a stream that is no gzip file stands behind the byte that
// has told so, where hosts go on with it.
bool GGZCompress::checkHeader() {
  const int first = input.get();
  const int second = input.get();
  if (first != sMagic[0] || second != sMagic[1]) {
    logLine("zlib: invalid magic number");
    return false;
  }
  const int method = input.get();
  const int flags = input.get();
  if (method != gzip::header::methodDeflate || (flags & gzip::reservedBits) != 0) {
    logLine("zlib: unknown compression method");
    return false;
  }
  for (std::size_t i = gzip::header::flags.end(); i < gzip::header::size; ++i) input.get();
  if ((flags & gzip::extraField) != 0) {
    char bytes[gzip::extra::size] = {};
    input.read(bytes, sizeof bytes);
    skipBytes(input, loomkit::RecordReader(bytes, sizeof bytes).get(gzip::extra::length));
  }
  if ((flags & gzip::fileName) != 0) skipText(input);
  if ((flags & gzip::comment) != 0) skipText(input);
  if ((flags & gzip::headerCrc) != 0) {
    input.get();
    input.get();
  }
  if (input.good()) return true;
  logLine(input.eof() ? "zlib: unexpected EOF in header" : std::generic_category().message(errno));
  return false;
}

bool GGZCompress::compress(std::ostream& output, bool gzipFormat) {
  if (gzipFormat) writeHeader(output);
  Pump pump(input, output);
  int code = gzipFormat ? deflateInit2(&pump.zlib, Z_BEST_COMPRESSION, Z_DEFLATED, rawWindowBits,
                                       memoryLevel, Z_DEFAULT_STRATEGY)
                        : deflateInit(&pump.zlib, Z_DEFAULT_COMPRESSION);
  if (code != Z_OK) {
    logCode("zlib: deflateInit error:", code);
    return false;
  }
  pump.end = ::deflateEnd;
  code = pump.run([](z_stream* zlib, bool ended) {
    return ::deflate(zlib, ended ? Z_FINISH : Z_PARTIAL_FLUSH);
  });
  if (code != Z_OK && code != Z_STREAM_END) {
    logCode("zlib: deflate error:", code);
    return false;
  }
  code = pump.finish();
  if (code != Z_OK) {
    // Logs have always named this function; who searches them relies on it.
    logCode("zlib: inflateEnd error:", code);
    return false;
  }
  if (gzipFormat) {
    char bytes[gzip::trailer::size];
    loomkit::RecordWriter trailer(bytes, sizeof bytes);
    trailer.putLow(gzip::trailer::crc, pump.crc);
    trailer.putLow(gzip::trailer::length, pump.zlib.total_in);
    output.write(bytes, sizeof bytes);
  }
  return true;
}

bool GGZCompress::decompress(std::ostream& output, bool gzipFormat) {
  if (gzipFormat && !checkHeader()) return false;
  Pump pump(input, output);
  int code = gzipFormat ? inflateInit2(&pump.zlib, rawWindowBits) : inflateInit(&pump.zlib);
  if (code != Z_OK) {
    logCode("zlib: inflateInit error:", code);
    return false;
  }
  pump.end = ::inflateEnd;
  code = pump.run([](z_stream* zlib, bool) { return ::inflate(zlib, Z_PARTIAL_FLUSH); });
  if (code != Z_OK && code != Z_STREAM_END) {
    logCode("zlib: inflate error:", code);
    return false;
  }
  code = pump.finish();
  if (code != Z_OK) logCode("zlib: inflateEnd error:", code);
  return code == Z_OK;
}

bool GGZCompress::isCompressed() {
  const int first = input.get();
  const int second = input.get();
  if (!input.fail()) input.rdbuf()->pubseekpos(0, std::ios_base::in);
  return first == sMagic[0] && second == sMagic[1];
}
