// SPDX-License-Identifier: MIT
#include "loomkit/object/object_reader.h"

#include <memory>

#include "loomkit/object/object_parser.h"
#include "loomkit/text/char_class.h"

GObject* GObject::parseCb(const char* s, const char** end) {
  *end = s;  // so it stays if memory runs out on the way
  loomkit::ObjectParser parser(s);
  std::unique_ptr<GObject> object;
  if (parser.parse(&object)) *end = parser.getPosition();
  return object.release();
}

GObject* GObject::parseCb(char* s, char** end) {
  *end = s;
  const char* behind = nullptr;
  GObject* object = parseCb(static_cast<const char*>(s), &behind);
  *end = s + (behind - s);
  return object;
}

GObject* gParseObject(const std::string& text, GObjectError* error) {
  loomkit::ObjectParser parser(text.c_str());
  parser.setKeepWholeNumbers(true);
  std::unique_ptr<GObject> object;
  const char* position = nullptr;
  std::string reason;
  if (!parser.parse(&object)) {
    position = parser.getPosition();
    reason = parser.getReason();
  } else {
    position = loomkit::skipAsciiSpace(parser.getPosition());
    if (position != text.c_str() + text.size()) reason = "garbage behind the object";
  }
  error->offset = static_cast<std::size_t>(position - text.c_str());
  error->reason = reason;
  return reason.empty() ? object.release() : nullptr;
}
