// SPDX-License-Identifier: MIT
// Any text as an object: what is read is written, and can be read again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "loomkit/object/object_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  GObjectError error;
  const GRef2<GObject> object(gParseObject(text, &error));
  if (error.offset > size) std::abort();
  const char* end = nullptr;
  const GRef2<GObject> first(GObject::parseCb(text.c_str(), &end));
  if (!error.reason.empty()) return 0;
  if (GObject::formatCb(first) != GObject::formatCb(object)) std::abort();
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
