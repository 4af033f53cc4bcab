// SPDX-License-Identifier: MIT
// Tables of a CSV database that lie in its zip archive.
#include "loomkit/archive/zip/zip_reader.h"
#include "loomkit/db/csv/csv_database.h"
#include "loomkit/db/csv/csv_format.h"
#include "loomkit/streams/file.h"
#include "loomkit/streams/mem_stream.h"

namespace {

constexpr unsigned memberBlockSize = 0x1000;

}  // namespace

// False when there is no archive that can be read, which is passed over in
// silence. An archive that was opened stays open for further tables.
bool GDbCSV::openZipReader() {
  if (zipReader != nullptr) return true;
  const std::string path = directory + "/" + zipFile;
  std::unique_ptr<std::istream> stream(GFile(path).getInStream(true));
  if (stream == nullptr) return false;
  auto reader = std::make_unique<GZipReader>(stream.get(), true);
  static_cast<void>(stream.release());
  if (reader->isError()) return false;
  reader->setPath(path);
  zipReader = reader.release();
  return true;
}

std::unique_ptr<std::istream> GDbCSV::openZipMember(const std::string& file) {
  if (!openZipReader()) return nullptr;
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

void GDbCSV::listZipMembers(std::set<std::string>* names) {
  if (!openZipReader()) return;
  for (auto entry = zipReader->entriesBegin(); entry != zipReader->entriesEnd(); ++entry) {
    const std::string table = loomkit::csvTableName(entry->first);
    if (!table.empty()) names->insert(table);
  }
}

void GDbCSV::deleteZipReader() {
  delete zipReader;
  zipReader = nullptr;
}
