// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_sink.h"

#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <utility>

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
  const char* bytes = static_cast<const char*>(data);
  if (usesHandle) {
    return holding ? gather(bytes, static_cast<std::size_t>(size)) : writeOut(bytes, size);
  }
  stream->write(bytes, size);
  return stateOf(*stream);
}

int GZipFileWriter::writeOut(const char* data, int size) {
  const int status = hulWrite(handle, data, size, nullptr);
  position = status == 0 && position >= 0 ? position + size : -1;
  return status;
}

void GZipFileWriter::hold() {
  if (!usesHandle || tell() < 0) return;
  if (held == nullptr) held.reset(new char[capacity]);
  holding = true;
}

int GZipFileWriter::release() {
  if (!holding) return 0;
  holding = false;
  return writeOut(held.get(), static_cast<int>(std::exchange(heldSize, 0)));
}

int GZipFileWriter::gather(const char* data, std::size_t size) {
  while (size > capacity - heldSize) {
    const std::size_t fitting = capacity - heldSize;
    std::memcpy(held.get() + heldSize, data, fitting);
    heldSize = capacity;
    data += fitting;
    size -= fitting;
    if (const int status = makeRoom(); status != 0) return status;
  }
  std::memcpy(held.get() + heldSize, data, size);
  heldSize += size;
  return 0;
}

// Writes out what is held up to the end of a page and keeps the rest. A page that
// is written in two parts costs more, because the system clears the rest of a new
// one first.
int GZipFileWriter::makeRoom() {
  constexpr std::size_t page = 4096;
  const std::size_t beyond = (static_cast<std::size_t>(position) + capacity) % page;
  const std::size_t leaving = capacity - beyond;
  const int status = writeOut(held.get(), static_cast<int>(leaving));
  holding = status == 0;
  heldSize = holding ? beyond : 0;
  std::memmove(held.get(), held.get() + leaving, heldSize);
  return status;
}

bool GZipFileWriter::amend(long target, const void* data, std::size_t size) {
  if (!holds(target)) return false;
  const auto at = static_cast<std::size_t>(target - position);
  if (at > heldSize || size > heldSize - at) return false;
  std::memcpy(held.get() + at, data, size);
  return true;
}

// A writer asks three times a member; that is why the position is kept here.
long GZipFileWriter::tell() {
  if (!usesHandle) {
    return stream == nullptr || stream->fail() ? -1 : static_cast<long>(stream->tellp());
  }
  if (position < 0 && hulSeek(handle, hulFromCurrent, 0, 0, &position) < 0) return -1;
  const std::int64_t here = position + static_cast<std::int64_t>(heldSize);
  const bool fits = here <= std::numeric_limits<std::int32_t>::max();
  return fits ? static_cast<long>(here) : -1;
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
