// SPDX-License-Identifier: MIT
// Reads any bytes as a zlib stream. The first byte picks the buffer size, which
// must make no difference to what is read.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "loomkit/streams/z_stream.h"

namespace {

std::string unpacked(const std::string& data, unsigned bufferSize) {
  std::istringstream source(data);
  GIZipStream in(&source, bufferSize);
  std::string text;
  for (int c = in.get(); c != EOF && text.size() < 1'000'000; c = in.get())
    text += static_cast<char>(c);
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string bytes(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::string large = unpacked(bytes, 65'536);
  const std::string small = unpacked(bytes, 17U + data[0]);
  // Where the data are broken, a small buffer delivers what came before.
  if (small.compare(0, large.size(), large) != 0) std::abort();
  return 0;
}
