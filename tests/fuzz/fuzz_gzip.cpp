// SPDX-License-Identifier: MIT
// Decompresses any bytes as gzip, by both readers; what they hold must survive a
// round trip.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "loomkit/streams/gzip_file.h"
#include "loomkit/streams/gzip_stream.h"

static void readWhole(const std::string& bytes) {
  std::istringstream in(bytes);
  std::ostringstream text;
  loomkit::GzipReader reader(in);
  if (reader.extract(&text) != loomkit::GzipReader::complete) return;
  std::istringstream plain(text.str());
  std::stringstream packed;
  if (!loomkit::writeGzip(plain, packed, 1, reader.getHeader())) std::abort();
  std::ostringstream again;
  loomkit::GzipReader second(packed);
  if (second.extract(&again) != loomkit::GzipReader::complete) std::abort();
  if (again.str() != text.str()) std::abort();
  if (second.getHeader().name != reader.getHeader().name) std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  readWhole(std::string(reinterpret_cast<const char*>(data), size));
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  std::ostringstream text;
  if (!GGZCompress(in).decompress(text, true)) return 0;
  std::istringstream plain(text.str());
  std::stringstream packed;
  std::ostringstream again;
  if (!GGZCompress(plain).compress(packed, true)) std::abort();
  if (!GGZCompress(packed).decompress(again, true) || again.str() != text.str()) std::abort();
  return 0;
}
