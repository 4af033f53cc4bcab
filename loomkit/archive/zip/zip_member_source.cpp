// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_member_source.h"

#include <zlib.h>

#include <algorithm>

#include "loomkit/archive/zip/zip_layout.h"

namespace loomkit::zip {
namespace {

class WideSource : public MemberSource {
 public:
  explicit WideSource(GZip64Reader& zipReader) : reader(zipReader) {}

  [[nodiscard]] const std::vector<GZipMember>& members() const override {
    return reader.getMembers();
  }
  [[nodiscard]] const std::string& path() const override { return reader.getPath(); }
  Outcome read(std::size_t index, const GZip64Reader::Receiver& receiver) override {
    const bool right = reader.read(members()[index], receiver);
    return {right, right, reader.getErrMsg()};
  }
  bool isLayoutGood() override { return reader.checkLayout(); }

 private:
  GZip64Reader& reader;
};

// Hands the bytes on, and sums them up for the members whose checksum a GZipReader does
// not compare.
class Summing : public GZipReader::Output {
 public:
  explicit Summing(const GZip64Reader::Receiver& receiverOfAll)
      : Output(false), receiver(receiverOfAll) {}
  bool write(const char* data, unsigned int size) override {
    bytes += size;
    crc = crc32(crc, reinterpret_cast<const unsigned char*>(data), size);
    return receiver(data, size);
  }
  bool flush() override { return true; }

  std::uint64_t bytes = 0;
  uLong crc = 0;

 private:
  const GZip64Reader::Receiver& receiver;
};

GZipMember memberOf(const GZipEntry& entry) {
  GZipMember member;
  member.name = entry.getFName();
  member.size = entry.getUncomprSize();
  member.packedSize = entry.getComprSize();
  member.headerOffset = entry.getLocalHeaderOffs();
  member.modTime = entry.getModTime();
  member.crc = entry.getCRC32();
  member.encrypted = entry.isEncrypted();
  member.method = entry.isCompressed() ? methodDeflated : methodStored;
  member.volumeLabel = !entry.isFile() && !entry.isDirectory();
  // Many programs do not set the attribute of directories and mark them by a slash
  // at the end of the name alone.
  const bool endsInSlash = !member.name.empty() && member.name.back() == '/';
  member.directory = entry.isDirectory() || (endsInSlash && member.size == 0);
  return member;
}

}  // namespace

std::unique_ptr<MemberSource> sourceOf(GZip64Reader& reader) {
  return std::make_unique<WideSource>(reader);
}

EntrySource::EntrySource(GZipReader& zipReader) : reader(zipReader) {
  list.reserve(reader.getEntryCount());
  entries.reserve(reader.getEntryCount());
  for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
    list.push_back(memberOf(*i->second));
    entries.push_back(i->second);
  }
}

MemberSource::Outcome EntrySource::read(std::size_t index, const GZip64Reader::Receiver& receiver) {
  // Without data of its own a directory has nothing that could be wrong, and the reader
  // reads files only.
  if (list[index].directory && !entries[index]->isFile()) return {true, true, {}};
  Summing output(receiver);
  const bool complete = reader.readEntry(entries[index], &output);
  const bool right = output.crc == list[index].crc && output.bytes == list[index].size;
  return {complete, complete && right, {}};
}

// Without the lengths of the local headers' extra fields, which only a GZip64Reader
// looks at, the least room that each member takes has to do.
bool EntrySource::isLayoutGood() {
  std::vector<const GZipMember*> order;
  order.reserve(list.size());
  for (const GZipMember& member : list) order.push_back(&member);
  std::sort(order.begin(), order.end(), [](const GZipMember* a, const GZipMember* b) {
    return a->headerOffset < b->headerOffset;
  });
  std::uint64_t behind = 0;
  for (const GZipMember* member : order) {
    if (member->headerOffset < behind) return false;
    behind = member->headerOffset + local::size + member->name.size() + member->packedSize;
  }
  return true;
}

std::size_t EntrySource::indexOf(const GZipEntry* entry) const {
  const auto found = std::lower_bound(
      list.begin(), list.end(), entry->getFName(),
      [](const GZipMember& member, const std::string& name) { return member.name < name; });
  return static_cast<std::size_t>(found - list.begin());
}

}  // namespace loomkit::zip
