// SPDX-License-Identifier: MIT
#include "loomkit/xbase/scratch_file.h"

#include <utility>

#include "loomkit/platform/files.h"
#include "loomkit/platform/platform.h"
#include "loomkit/platform/random_access.h"
#include "loomkit/platform/system.h"
#include "loomkit/xbase/codes.h"
#include "loomkit/xbase/engine.h"

namespace loomkit::xbase {

namespace {

constexpr char role[] = "Temporary Working File";
constexpr char work[] = "Sorting";  // the only one that needs such a file
constexpr std::size_t bufferSize = 256U << 10;
constexpr unsigned lastNumber = 99999;

// What the last error says after a failed creation.
bool nameIsTaken() {
  const unsigned error = platform::lastError();
  return error == 80 || error == 183;
}

}  // namespace

ScratchFile::ScratchFile(Engine& owner, std::string ownDirectory)
    : engine(&owner), directory(std::move(ownDirectory)) {
  const char* temp = platform::environment("TEMP");
  if (temp != nullptr && *temp != '\0') directory = temp;
}

ScratchFile::~ScratchFile() {
  if (handle < 0) return;
  platform::closeFile(handle);
  platform::deleteFile(path);
}

int ScratchFile::failed(int code) {
  return fail(*engine, code, engine->report.files, fileNameLine(path).c_str(), role, work);
}

int ScratchFile::open() {
  // Other engines may use the same directory: a name that is taken is passed over.
  for (unsigned number = 1; handle < 0; ++number) {
    path = directory + "/LOOM" + std::to_string(number) + ".TMP";
    if (platform::openRandomAccess(path, platform::OpenMode::createNew,
                                   platform::ShareMode::readWrite, &handle))
      break;
    if (!nameIsTaken() || number == lastNumber) return failed(errorCreating);
  }
  return ok;
}

int ScratchFile::append(const void* data, std::size_t size) {
  if (buffer.size() + size > bufferSize) {
    const int result = writeBuffer();
    if (result < 0) return result;
  }
  const char* bytes = static_cast<const char*>(data);
  buffer.insert(buffer.end(), bytes, bytes + size);
  return ok;
}

int ScratchFile::writeBuffer() {
  if (!platform::writeAt(handle, written, buffer.data(), buffer.size()))
    return failed(errorWriting);
  written += buffer.size();
  buffer.clear();
  return ok;
}

int ScratchFile::read(std::uint64_t offset, void* data, std::size_t size) {
  if (!buffer.empty()) {
    const int result = writeBuffer();
    if (result < 0) return result;
  }
  std::size_t got = 0;
  const bool whole = platform::readAt(handle, offset, data, size, &got) && got == size;
  return whole ? ok : failed(errorReading);
}

}  // namespace loomkit::xbase
