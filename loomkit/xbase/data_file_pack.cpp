// SPDX-License-Identifier: MIT
// Removing the records that are marked deleted.
#include <algorithm>
#include <new>

#include "loomkit/platform/hul.h"
#include "loomkit/platform/replacement.h"
#include "loomkit/text/binary.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/data_file.h"
#include "loomkit/xbase/dbf_layout.h"
#include "loomkit/xbase/engine.h"
#include "loomkit/xbase/index_file.h"
#include "loomkit/xbase/index_guard.h"

namespace loomkit::xbase {
namespace {

// How much less a buffer asks for after memory was refused.
constexpr std::size_t bufferStep = 2048;

int failed(DataFile& data, int code) {
  return fail(*data.engine, code, data.engine->report.files,
              fileNameLine(data.file.name()).c_str());
}

// As much as memory allows, from the engine's setting down to one record.
std::string makeBuffer(std::size_t wanted, std::size_t atLeast) {
  std::string buffer;
  for (std::size_t size = std::max(wanted, atLeast);;) {
    try {
      buffer.reserve(size);
      return buffer;
    } catch (const std::bad_alloc&) {
      if (size == atLeast) throw;
      size = size > atLeast + bufferStep ? size - bufferStep : atLeast;
    }
  }
}

// The file that takes the table's place; without commit() it goes away again.
class Scratch {
 public:
  explicit Scratch(DataFile& owner)
      : data(owner), buffer(makeBuffer(owner.engine->packBufferSize, owner.recordLength)) {}
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { platform::discardReplacement(&replacement); }

  int create() {
    const int status = platform::createReplacement(data.file.name(), &replacement);
    return status < 0 ? failed(data, errorCreating) : ok;
  }

  int append(const char* bytes, std::size_t count) {
    if (!buffer.empty() && buffer.size() + count > buffer.capacity()) {
      const int result = drain();
      if (result < 0) return result;
    }
    buffer.append(bytes, count);
    return ok;
  }

  // Puts the scratch file in the table's place.
  int commit() {
    const int result = drain();
    return result < 0 ? result : data.file.become(&replacement);
  }

 private:
  int drain() {
    const int status =
        hulWrite(replacement.handle, buffer.data(), static_cast<int>(buffer.size()), nullptr);
    buffer.clear();
    return status < 0 ? failed(data, errorWriting) : ok;
  }

  DataFile& data;
  platform::Replacement replacement;
  std::string buffer;
};

int copyHeader(DataFile& data, std::uint32_t records, Scratch* scratch) {
  std::string bytes(data.headerLength, '\0');
  const int result = data.file.readAll(0, bytes.data(), bytes.size());
  if (result < 0) return result;
  RecordWriter(bytes.data(), bytes.size()).put(dbf::header::recordCount, records);
  return scratch->append(bytes.data(), bytes.size());
}

// Calls `take` with each record of the file, until it fails.
template <class Take>
int eachRecord(DataFile& data, Take take) {
  std::string bytes(data.recordLength, '\0');
  std::uint64_t offset = data.headerLength;
  for (std::uint32_t i = 0; i < data.recordCount; ++i, offset += data.recordLength) {
    int result = data.file.readAll(offset, bytes.data(), bytes.size());
    if (result == ok) result = take(bytes);
    if (result < 0) return result;
    tellProgress(*data.engine, i + 1);
  }
  return ok;
}

bool isLive(const std::string& record) { return record.front() != dbf::flagDeleted; }

int writeLive(DataFile& data, std::uint32_t* live) {
  *live = 0;
  int result = eachRecord(data, [&](const std::string& record) {
    if (isLive(record)) ++*live;
    return ok;
  });
  if (result < 0) return result;
  Scratch scratch(data);
  result = scratch.create();
  if (result == ok) result = copyHeader(data, *live, &scratch);
  if (result == ok) {
    result = eachRecord(data, [&](const std::string& record) {
      return isLive(record) ? scratch.append(record.data(), record.size()) : ok;
    });
  }
  if (result == ok) result = scratch.append(&dbf::endMark, 1);
  return result == ok ? scratch.commit() : result;
}

}  // namespace

int pack(DataFile& data) {
  // Everything the table has reaches its file first: the records are read there.
  int result = flush(data);
  if (result != ok) return result;
  // Should the process die from here on, the tags are built anew.
  IndexGuard guard(data);
  for (const auto& index : data.indexes) {
    if (result == ok) result = announceChange(*index);
  }
  std::uint32_t live = 0;
  if (result == ok) result = writeLive(data, &live);
  guard.done();
  if (result < 0) return result;
  data.recordCount = live;
  data.headerChanged = true;
  data.recordNumber = 0;
  data.recordChanged = false;
  for (const auto& index : data.indexes) {
    result = rebuild(*index);
    if (result != ok) return result;
  }
  result = go(data, 1);
  if (result != noSuchRecord) return result;
  data.atBeginning = true;
  data.atEnd = true;
  return ok;
}

}  // namespace loomkit::xbase
