// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip_file_writer.h"

#include <cstdint>
#include <fstream>
#include <limits>

#include "loomkit/platform/hul.h"

namespace {

int stateOf(const std::ostream& stream) {
  return stream.fail() ? GZipFileWriter::unspecificFailure : 0;
}

}  // namespace

GZipFileWriter::GZipFileWriter(int fileHandle) : usesHandle(true), handle(fileHandle) {}

GZipFileWriter::GZipFileWriter(std::ostream* target, bool ownsTarget)
    : usesHandle(false), stream(target), ownsStream(ownsTarget) {}

GZipFileWriter::~GZipFileWriter() {
  if (handle != -1) hulClose(handle);
  if (ownsStream) delete stream;
}

int GZipFileWriter::write(const void* data, int size) {
  if (usesHandle) {
    const int status = hulWrite(handle, data, size, nullptr);
    position = status == 0 && position >= 0 ? position + size : -1;
    return status;
  }
  stream->write(static_cast<const char*>(data), size);
  return stateOf(*stream);
}

// Asked for three times a member, so that it is kept.
long GZipFileWriter::tell() {
  if (!usesHandle) {
    return stream == nullptr || stream->fail() ? -1 : static_cast<long>(stream->tellp());
  }
  if (position < 0 && hulSeek(handle, hulFromCurrent, 0, 0, &position) < 0) return -1;
  const bool fits = position <= std::numeric_limits<std::int32_t>::max();
  return fits ? static_cast<long>(position) : -1;
}

int GZipFileWriter::seek(long target) {
  if (usesHandle) {
    const int status = hulSeek(handle, hulFromStart, target, 0, nullptr);
    position = status == 0 ? target : -1;
    return status;
  }
  if (stream == nullptr) return unspecificFailure;
  stream->seekp(target);
  return stateOf(*stream);
}

int GZipFileWriter::flush() {
  if (usesHandle || stream == nullptr) return 0;
  if (stream->good() && stream->rdbuf()->pubsync() == -1) stream->setstate(std::ios::badbit);
  return stream->bad() ? unspecificFailure : 0;
}

int GZipFileWriter::close() {
  if (usesHandle) {
    if (handle == -1) return 0;
    const int closing = handle;
    handle = -1;
    position = -1;
    return hulClose(closing);
  }
  if (stream == nullptr) return 0;
  if (ownsStream) {
    if (auto* file = dynamic_cast<std::ofstream*>(stream)) file->close();
  }
  const int status = stateOf(*stream);
  if (ownsStream) delete stream;
  stream = nullptr;
  return status;
}
