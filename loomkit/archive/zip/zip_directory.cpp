// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_directory.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "loomkit/archive/block_buf.h"
#include "loomkit/archive/zip/zip_layout.h"

namespace loomkit::zip {

namespace {

std::uint32_t low32(std::streamoff offset) { return static_cast<std::uint32_t>(offset); }

// The end record is looked for from the end, and the first one found counts.
std::optional<std::size_t> findEndRecord(const std::string& tail) {
  const RecordReader bytes(tail.data(), tail.size());
  for (std::size_t i = tail.size() - end::size + 1; i > 0; --i) {
    if (bytes.get(end::signature.behind(i - 1)) == end::signatureValue) return i - 1;
  }
  return std::nullopt;
}

// To sort 60,000 names, their first eight bytes are laid side by side: they decide
// most comparisons without a look at the names themselves.
struct NameKey {
  std::uint64_t start;
  std::size_t index;
};

// The entries in the order of their names; those with one name as they came.
std::vector<NameKey> orderOfNames(const std::vector<std::unique_ptr<GZipEntry>>& entries) {
  std::vector<NameKey> keys;
  keys.reserve(entries.size());
  for (const auto& entry : entries) {
    unsigned char start[8] = {};
    std::memcpy(start, entry->getFName().data(), std::min(sizeof start, entry->getFName().size()));
    keys.push_back({loadBe64(start), keys.size()});
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

Directory::Directory(std::istream& archive, Warn warnHost)
    : stream(archive), warn(std::move(warnHost)) {}

const char* Directory::readEndRecord() {
  std::streamoff size = -1;
  if (stream.seekg(0, std::ios::end)) size = stream.tellg();
  if (size < 0) return "can't seek to end of file";
  endRecord.archiveSize = low32(size);
  if (size < std::streamoff{end::size}) return "not a valid zip file";
  const auto tailSize = static_cast<std::streamsize>(std::min<std::streamoff>(size, searchedTail));
  std::string tail(static_cast<std::size_t>(tailSize), '\0');
  if (!stream.seekg(size - tailSize)) return "seek error";
  if (!stream.read(tail.data(), tailSize)) return "read error";
  const std::optional<std::size_t> index = findEndRecord(tail);
  if (!index) return "end of central directory record signature not found";
  endRecord.offset = low32(size - tailSize + static_cast<std::streamoff>(*index));
  const RecordReader record(tail.data() + *index, end::size);
  checkDisks(record);
  endRecord.entryCount = record.get(end::entries);
  endRecord.directorySize = record.get(end::directorySize);
  endRecord.directoryOffset = record.get(end::directoryOffset);
  takeComment(tail, *index + end::size, record.get(end::commentSize));
  return nullptr;
}

void Directory::checkDisks(const RecordReader& record) {
  if (record.get(end::disk) != 0) {
    warn("end of central directory record: invalid number of this disk");
  }
  if (record.get(end::directoryDisk) != 0) {
    warn(
        "end of central directory record: invalid number for disk with start of central "
        "directory");
  }
  if (record.get(end::entriesHere) != record.get(end::entries)) {
    warn(
        "end of central directory record: number of central directory entries on this disk "
        "doesn't match total number of central directory entries");
  }
}

// The comment fills the rest of the tail; bytes behind it do no harm.
void Directory::takeComment(const std::string& tail, std::size_t index, std::size_t size) {
  endRecord.comment.clear();
  if (index + size > tail.size()) {
    warn("end of central directory record: invalid length for zip file comment, comment ignored");
    return;
  }
  if (index + size < tail.size()) {
    warn("end of central directory record: extra bytes at end of zip file (ignored)");
  }
  endRecord.comment = tail.substr(index, size);
}

bool Directory::readEntries(std::vector<std::unique_ptr<GZipEntry>>* entries) {
  DirectoryStream headers(stream, endRecord.directoryOffset);
  const std::streamoff behind = std::streamoff{endRecord.directoryOffset} + endRecord.directorySize;
  while (headers.position() < behind) {
    entries->push_back(std::make_unique<GZipEntry>());
    if (!entries->back()->readFileHeader(&headers.get())) return false;
  }
  const bool endsRight = headers.position() == behind;
  if (!endsRight) warn("read beyond end of central directory");
  const bool countsRight = static_cast<std::uint16_t>(entries->size()) == endRecord.entryCount;
  if (!countsRight) warn("central directory entry count mismatch");
  exact = endsRight && countsRight;
  return true;
}

// In the order of their names the entries go into the map without a search.
void addByName(std::vector<std::unique_ptr<GZipEntry>> entries,
               std::map<std::string, GZipEntry*>* byName) {
  for (const NameKey& key : orderOfNames(entries)) {
    std::unique_ptr<GZipEntry>& entry = entries[key.index];
    const std::size_t before = byName->size();
    byName->emplace_hint(byName->end(), entry->getFName(), entry.get());
    if (byName->size() > before) static_cast<void>(entry.release());
  }
}

}  // namespace loomkit::zip
