// SPDX-License-Identifier: MIT
// Decompresses any bytes as gzip; what they hold must survive a round trip.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "loomkit/streams/gzip_stream.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
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
