// SPDX-License-Identifier: MIT
// Tables of a CSV database that lie in its zip archive.
#include "loomkit/archive/zip/zip_reader.h"
#include "loomkit/db/csv/csv_database.h"
#include "loomkit/streams/file.h"
#include "loomkit/streams/mem_stream.h"

namespace {

constexpr unsigned memberBlockSize = 0x1000;

}  // namespace

// An archive that cannot be read is passed over silently. One that can stays
// open for further tables.
std::unique_ptr<std::istream> GDbCSV::openZipMember(const std::string& file) {
  if (zipReader == nullptr) {
    const std::string path = directory + "/" + zipFile;
    std::unique_ptr<std::istream> stream(GFile(path).getInStream(true));
    if (stream == nullptr) return nullptr;
    auto reader = std::make_unique<GZipReader>(stream.get(), true);
    static_cast<void>(stream.release());
    if (reader->isError()) return nullptr;
    reader->setPath(path);
    zipReader = reader.release();
  }
  const GZipEntry* entry = zipReader->getEntry(file);
  if (entry == nullptr) return nullptr;
  GOMemStream text(memberBlockSize);
  if (!zipReader->readEntry(entry, &text, false)) return nullptr;
  std::unique_ptr<std::streambuf> buffer(text.rdbuf(nullptr));
  auto stream = std::make_unique<GIStream>(buffer.get(), true);
  static_cast<void>(buffer.release());
  stream->seekg(0);
  return stream;
}

void GDbCSV::deleteZipReader() {
  delete zipReader;
  zipReader = nullptr;
}
