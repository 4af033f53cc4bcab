// SPDX-License-Identifier: MIT
// Any text as an object: what is read is written, and can be read again.
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "loomkit/object/object_reader.h"

namespace {

// A whole number beyond 32 bits takes ten characters at least, as in 2147483648 and
// 0x80000000.
bool mayHoldWideNumber(const std::string& text) {
  constexpr std::size_t fewest = 10;
  std::size_t run = 0;
  return std::any_of(text.begin(), text.end(), [&](unsigned char c) {
    run = std::isalnum(c) != 0 ? run + 1 : 0;
    return run >= fewest;
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  GObjectError error;
  const GRef2<GObject> object(gParseObject(text, &error));
  if (error.offset > size) std::abort();
  const char* end = nullptr;
  const GRef2<GObject> first(GObject::parseCb(text.c_str(), &end));
  if (!error.reason.empty()) return 0;
  // Those numbers are the only ones that the two readers take differently.
  if (!mayHoldWideNumber(text) && GObject::formatCb(first) != GObject::formatCb(object)) {
    std::abort();
  }
  // A float out of range is written as -inf or -nan, which nothing reads.
  const std::string written = GObject::formatCb(object);
  if (written.find("-inf") != std::string::npos || written.find("-nan") != std::string::npos)
    return 0;
  // The same text need not come back: whole floats return as integers, and the
  // reader of numbers does not round correctly, so that last digits may move.
  const GRef2<GObject> again(gParseObject(written, &error));
  if (!error.reason.empty()) std::abort();
  return 0;
}
