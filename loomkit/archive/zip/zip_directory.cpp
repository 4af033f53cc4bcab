// SPDX-License-Identifier: MIT
// GZipReader: the end record and the central directory.
#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "loomkit/archive/block_buf.h"
#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/archive/zip/zip_reader.h"
#include "loomkit/text/binary.h"

using namespace loomkit;

namespace {

const unsigned char* bytesOf(const char* text) {
  return reinterpret_cast<const unsigned char*>(text);
}

// A name's first eight bytes, which decide most comparisons, lie side by side.
struct NameKey {
  std::uint64_t start;
  std::uint32_t index;
};

// The entries in the order of their names; those with one name as they came.
std::vector<NameKey> orderOfNames(const std::vector<std::unique_ptr<GZipEntry>>& entries) {
  std::vector<NameKey> keys;
  keys.reserve(entries.size());
  for (const auto& entry : entries) {
    unsigned char start[8] = {};
    std::memcpy(start, entry->getFName().data(), std::min(sizeof start, entry->getFName().size()));
    keys.push_back({loadBe64(start), static_cast<std::uint32_t>(keys.size())});
  }
  const auto before = [&entries](const NameKey& a, const NameKey& b) {
    if (a.start != b.start) return a.start < b.start;
    const int order = entries[a.index]->getFName().compare(entries[b.index]->getFName());
    return order != 0 ? order < 0 : a.index < b.index;
  };
  // Most archives are sorted already.
  if (!std::is_sorted(keys.begin(), keys.end(), before))
    std::sort(keys.begin(), keys.end(), before);
  return keys;
}

}  // namespace

bool GZipReader::readEndOfCentralDirectoryRecord() {
  std::streamoff fileSize = -1;
  if (stream->seekg(0, std::ios::end)) fileSize = stream->tellg();
  if (fileSize < 0) return error("can't seek to end of file");
  zipFileSize = static_cast<std::uint32_t>(fileSize);
  if (fileSize < static_cast<std::streamoff>(zip::end::size)) return error("not a valid zip file");
  std::string tail(static_cast<std::size_t>(std::min<std::streamoff>(fileSize, zip::searchedTail)),
                   '\0');
  const std::streamoff tailOffset = fileSize - static_cast<std::streamoff>(tail.size());
  if (!stream->seekg(tailOffset)) return error("seek error");
  if (!stream->read(tail.data(), static_cast<std::streamsize>(tail.size()))) {
    return error("read error");
  }
  std::size_t index = 0;
  if (!findEndRecord(tail, &index)) {
    return error("end of central directory record signature not found");
  }
  endRecordOffset = static_cast<std::uint32_t>(tailOffset + static_cast<std::streamoff>(index));
  const unsigned char* record = bytesOf(tail.data() + index);
  checkEndRecord(record);
  centralDirectoryEntryCount = loadLe16(record + zip::end::entriesAt);
  centralDirectorySize = loadLe32(record + zip::end::directorySizeAt);
  centralDirectoryOffset = loadLe32(record + zip::end::directoryOffsetAt);
  takeZipFileComment(tail, index);
  return true;
}

// The one nearest to the end of the file counts.
bool GZipReader::findEndRecord(const std::string& tail, std::size_t* index) {
  for (std::size_t i = tail.size() - zip::end::size + 1; i > 0; --i) {
    if (loadLe32(bytesOf(tail.data() + i - 1)) == zip::end::signature) {
      *index = i - 1;
      return true;
    }
  }
  return false;
}

void GZipReader::checkEndRecord(const unsigned char* record) {
  using namespace zip::end;
  if (loadLe16(record + diskAt) != 0) {
    warning("end of central directory record: invalid number of this disk");
  }
  if (loadLe16(record + directoryDiskAt) != 0) {
    warning(
        "end of central directory record: invalid number for disk with start of central "
        "directory");
  }
  if (loadLe16(record + entriesHereAt) != loadLe16(record + entriesAt)) {
    warning(
        "end of central directory record: number of central directory entries on this disk "
        "doesn't match total number of central directory entries");
  }
}

void GZipReader::takeZipFileComment(const std::string& tail, std::size_t index) {
  const std::size_t begin = index + zip::end::size;
  const std::size_t size = loadLe16(bytesOf(tail.data() + index) + zip::end::commentSizeAt);
  zipFileComment.clear();
  if (begin + size > tail.size()) {
    warning(
        "end of central directory record: invalid length for zip file comment, comment ignored");
    return;
  }
  if (begin + size < tail.size()) {
    warning("end of central directory record: extra bytes at end of zip file (ignored)");
  }
  zipFileComment = tail.substr(begin, size);
}

bool GZipReader::readCentralDirectory() {
  if (!readEndOfCentralDirectoryRecord()) {
    return error("can't read end of central directory record");
  }
  if (!stream->seekg(centralDirectoryOffset)) {
    return error("can't seek to beginning of central directory");
  }
  return readFileHeaders();
}

bool GZipReader::readFileHeaders() {
  DirectoryStream directory(*stream, centralDirectoryOffset);
  const std::streamoff end = std::streamoff{centralDirectoryOffset} + centralDirectorySize;
  std::vector<std::unique_ptr<GZipEntry>> read;
  while (directory.position() < end) {
    read.push_back(std::make_unique<GZipEntry>());
    if (!read.back()->readFileHeader(&directory.get())) {
      deleteEntries();
      return error("error reading central directory entry");
    }
  }
  if (directory.position() != end) warning("read beyond end of central directory");
  const auto count = static_cast<std::uint16_t>(read.size());
  if (count != centralDirectoryEntryCount) warning("central directory entry count mismatch");
  addEntries(std::move(read));
  return true;
}

// Of several entries with one name the first stays. In their order they go into
// the map without a search.
void GZipReader::addEntries(std::vector<std::unique_ptr<GZipEntry>> read) {
  for (const NameKey& key : orderOfNames(read)) {
    std::unique_ptr<GZipEntry>& entry = read[key.index];
    const std::size_t before = entries.size();
    entries.emplace_hint(entries.end(), entry->getFName(), entry.get());
    if (entries.size() > before) static_cast<void>(entry.release());
  }
}
