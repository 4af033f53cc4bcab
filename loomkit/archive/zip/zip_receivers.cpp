// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_receivers.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

GZipReader::Output::Output(bool convertLineEnds) : convert(convertLineEnds) {}
GZipReader::Output::~Output() = default;
void GZipReader::Output::reserve(unsigned int /*size*/) {}

namespace {

// A carriage return and a line feed become a line feed; a carriage return by itself
// stays. One at the end of a block waits in `pending` for what the next block begins
// with. `emit` takes each byte that goes on.
template <typename Pending, typename Emit>
void convertLineEnds(const char* data, unsigned int size, Pending& pending, Emit emit) {
  for (const char* end = data + size; data != end; ++data) {
    if (pending != 0 && *data != '\n') emit('\r');
    pending = *data == '\r' ? 1 : 0;
    if (pending == 0) emit(*data);
  }
}

}  // namespace

GZipReader::StreamOutput::StreamOutput(std::ostream* stream, bool convertLineEnds)
    : Output(convertLineEnds), target(stream) {}

bool GZipReader::StreamOutput::write(const char* data, unsigned int size) {
  if (convertsLineEnds()) {
    convertLineEnds(data, size, pendingCR, [this](char c) { target->put(c); });
  } else {
    target->write(data, static_cast<std::streamsize>(size));
  }
  return !target->fail();
}

// Without a pending carriage return there is nothing to write, and write() has told
// of the stream's state after each block.
bool GZipReader::StreamOutput::flush() {
  if (!pendingCR) return true;
  pendingCR = false;
  target->put('\r');
  return !target->fail();
}

GZipReader::BufferOutput::BufferOutput(bool convertLineEnds, std::uint64_t plausible)
    : Output(convertLineEnds), believed(plausible) {}

GZipReader::BufferOutput::~BufferOutput() { ::operator delete(buffer); }

void GZipReader::BufferOutput::reserve(unsigned int size) {
  grow(static_cast<unsigned int>(std::min<std::uint64_t>(size, believed)));
}

void GZipReader::BufferOutput::grow(unsigned int newCapacity) {
  if (newCapacity <= capacity) return;
  char* larger = static_cast<char*>(::operator new(newCapacity));
  if (used != 0) std::memcpy(larger, buffer, used);
  ::operator delete(buffer);
  buffer = larger;
  capacity = newCapacity;
}

bool GZipReader::BufferOutput::write(const char* data, unsigned int size) {
  constexpr std::uint64_t largest = std::numeric_limits<std::uint32_t>::max();
  const std::uint64_t need = std::uint64_t{used} + size + (pendingCR != 0 ? 1 : 0);
  if (need > largest) return false;
  if (need > capacity) {
    std::uint64_t doubled = capacity == 0 ? 128 : capacity;
    while (doubled < need) doubled *= 2;
    grow(static_cast<unsigned int>(std::min(doubled, largest)));
  }
  if (convertsLineEnds()) {
    convertLineEnds(data, size, pendingCR, [this](char c) { put(c); });
  } else {
    std::memcpy(buffer + used, data, size);
    used += size;
  }
  return true;
}

bool GZipReader::BufferOutput::flush() {
  if (pendingCR == 0) return true;
  pendingCR = 0;
  if (used == capacity) grow(used + 1);
  put('\r');
  return true;
}

void GZipReader::BufferOutput::release(char** data, unsigned int* size) {
  *data = buffer;
  *size = used;
  buffer = nullptr;
  capacity = used = 0;
}
