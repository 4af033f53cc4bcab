// SPDX-License-Identifier: MIT
// Any text as an object: what is read is written, and read again as the same.
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
  // Whole floats come back as integers, so that the second text is the fixed one.
  const GRef2<GObject> again(gParseObject(GObject::formatCb(object), &error));
  if (!error.reason.empty()) std::abort();
  const std::string fixed = GObject::formatCb(again);
  const GRef2<GObject> last(gParseObject(fixed, &error));
  if (!error.reason.empty() || GObject::formatCb(last) != fixed) std::abort();
  return 0;
}
