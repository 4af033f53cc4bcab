// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip64_reader.h"

#include <zlib.h>

#include <algorithm>
#include <numeric>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "loomkit/archive/guarded_file.h"
#include "loomkit/archive/zip/zip64_directory.h"
#include "loomkit/archive/zip/zip64_member_reader.h"
#include "loomkit/archive/zip/zip_layout.h"
#include "loomkit/platform/platform.h"
#include "loomkit/platform/random_access.h"

using namespace loomkit;

class LOOMKIT_LOCAL GZip64Reader::Impl {
 public:
  explicit Impl(GZip64Reader& zipReader) : reader(zipReader) {}
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  ~Impl() {
    if (handle >= 0) platform::closeFile(handle);
  }

  // Null, or what is wrong.
  const char* openFile(const std::string& filePath);
  const char* readDirectory();
  bool read(const GZipMember& member, const Receiver& receiver);
  bool checkLayout();
  const GZipMember* find(const std::string& name);

  std::vector<GZipMember> members;
  std::string comment;
  std::string errMsg;
  bool exact = true;

 private:
  // How far one member's data have come.
  struct Progress {
    const Receiver& receiver;
    std::uint64_t left;
    uLong crc = 0;
    bool tooMuch = false;
    bool refused = false;
  };

  const char* readData(const GZipMember& member, Progress& progress);
  const char* readEncryptionHeader(const GZipMember& member, std::uint64_t* at,
                                   std::uint64_t* left);
  const unsigned char* decrypted(const unsigned char* data, std::size_t size);
  static bool take(Progress& progress, const unsigned char* data, std::size_t size);

  GZip64Reader& reader;
  int handle = -1;
  std::optional<Window> window;
  std::uint64_t dataLimit = 0;  // where the directory begins
  zip::Inflater inflater;
  std::vector<unsigned char> plain;
  std::optional<bool> layoutIsGood;
  std::unordered_map<std::string_view, const GZipMember*> byName;  // empty until find()
};

GZip64Reader::GZip64Reader() : impl(std::make_unique<Impl>(*this)) {}
GZip64Reader::~GZip64Reader() = default;

bool GZip64Reader::open(const std::string& newPath) {
  close();
  clrError();
  setPath(newPath);
  const char* wrong = impl->openFile(newPath);
  if (wrong == nullptr) wrong = impl->readDirectory();
  return wrong == nullptr || error(wrong);
}

void GZip64Reader::close() { impl = std::make_unique<Impl>(*this); }

const std::vector<GZipMember>& GZip64Reader::getMembers() const { return impl->members; }

const GZipMember* GZip64Reader::find(const std::string& name) const { return impl->find(name); }

const std::string& GZip64Reader::getZipFileComment() const { return impl->comment; }
bool GZip64Reader::isDirectoryExact() const { return impl->exact; }
const std::string& GZip64Reader::getErrMsg() const { return impl->errMsg; }

bool GZip64Reader::read(const GZipMember& member, const Receiver& receiver) {
  return impl->read(member, receiver);
}

bool GZip64Reader::checkLayout() { return impl->checkLayout(); }

const GZipMember* GZip64Reader::Impl::find(const std::string& name) {
  if (byName.empty()) {
    byName.reserve(members.size());
    for (const GZipMember& member : members) byName[member.name] = &member;
  }
  const auto found = byName.find(name);
  return found == byName.end() ? nullptr : found->second;
}

const char* GZip64Reader::Impl::openFile(const std::string& filePath) {
  using platform::OpenMode;
  using platform::ShareMode;
  std::uint64_t size = 0;
  if (platform::openRandomAccess(filePath, OpenMode::readOnly, ShareMode::readWrite, &handle) &&
      platform::fileSize(handle, &size)) {
    window.emplace(handle, size);
    return nullptr;
  }
  errMsg = "can't open file" + lastReason();
  return errMsg.c_str();
}

const char* GZip64Reader::Impl::readDirectory() {
  zip::Directory64 directory(*window);
  const char* wrong = directory.readEndRecords();
  if (wrong == nullptr) wrong = directory.readMembers(&members);
  for (const std::string& text : directory.getWarnings()) reader.warning(text.c_str());
  comment = directory.getLayout().comment;
  dataLimit = directory.getLayout().directoryOffset;
  exact = directory.isExact();
  if (wrong != nullptr) members.clear();
  return wrong;
}

bool GZip64Reader::Impl::read(const GZipMember& member, const Receiver& receiver) {
  errMsg.clear();
  if (!window) {
    errMsg = "the reader is closed";
    return false;
  }
  Progress progress{receiver, member.size};
  const char* wrong = readData(member, progress);
  if (progress.refused) wrong = "unable to write decompressed data";
  if (progress.tooMuch) wrong = "more data than the header states";
  if (wrong == nullptr && progress.left != 0) wrong = "less data than the header states";
  if (wrong == nullptr && progress.crc != member.crc) wrong = "checksum mismatch";
  if (wrong == nullptr) return true;
  errMsg = wrong;
  return false;
}

bool GZip64Reader::Impl::take(Progress& progress, const unsigned char* data, std::size_t size) {
  progress.tooMuch = size > progress.left;
  if (progress.tooMuch) return false;
  progress.left -= size;
  progress.crc = crc32_z(progress.crc, data, size);
  progress.refused = !progress.receiver(reinterpret_cast<const char*>(data), size);
  return !progress.refused;
}

const char* GZip64Reader::Impl::readData(const GZipMember& member, Progress& progress) {
  const bool deflated = member.method == zip::methodDeflated;
  if (!deflated && member.method != zip::methodStored) return "compression method not supported";
  if ((member.flags & zip::flagStrongEncryption) != 0) return "strong encryption not supported";
  std::uint64_t at = 0;
  if (const char* wrong = zip::checkLocalHeader(*window, member, &at); wrong != nullptr) {
    return wrong;
  }
  std::uint64_t left = member.packedSize;
  if (at > dataLimit || left > dataLimit - at) return "the data reach beyond the archive";
  if (member.encrypted) {
    const char* wrong = readEncryptionHeader(member, &at, &left);
    if (wrong != nullptr) return wrong;
  }
  if (deflated && !inflater.begin()) return "inflateInit2() failed";
  const auto takePlain = [&progress](const unsigned char* data, std::size_t size) {
    return take(progress, data, size);
  };
  while (left > 0) {
    const auto [data, size] = window->some(at, left);
    if (data == nullptr) return "input/output error";
    const unsigned char* bytes = member.encrypted ? decrypted(data, size) : data;
    at += size;
    left -= size;
    if (!deflated) {
      if (!takePlain(bytes, size)) return "";
    } else if (!inflater.run(bytes, size, takePlain)) {
      return "compressed data corrupted";
    }
  }
  if (deflated && !inflater.isAtEnd()) return "unexpected end of compressed data";
  if (deflated && inflater.extraBytes() != 0) {
    reader.warning(("extra bytes after compressed data (file " + member.name + ")").c_str());
  }
  return nullptr;
}

// The last of the twelve bytes tells a wrong password, 255 times of 256.
const char* GZip64Reader::Impl::readEncryptionHeader(const GZipMember& member, std::uint64_t* at,
                                                     std::uint64_t* left) {
  constexpr std::size_t size = zip::encryptionHeaderSize;
  if (*left < size) return "no encryption header";
  const unsigned char* bytes = window->at(*at, size);
  if (bytes == nullptr) return "input/output error reading encryption header";
  reader.initKeys();
  const unsigned char* header = decrypted(bytes, size);
  *at += size;
  *left -= size;
  return header[size - 1] == member.checkByte ? nullptr : "the check byte is not right";
}

const unsigned char* GZip64Reader::Impl::decrypted(const unsigned char* data, std::size_t size) {
  if (plain.size() < size) plain.resize(size);
  for (std::size_t i = 0; i < size; ++i) plain[i] = reader.decrypt(data[i]);
  return plain.data();
}

bool GZip64Reader::Impl::checkLayout() {
  if (layoutIsGood) {
    if (!*layoutIsGood) errMsg = "members overlap";
    return *layoutIsGood;
  }
  std::vector<std::size_t> order(members.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  const auto before = [this](std::size_t a, std::size_t b) {
    return members[a].headerOffset < members[b].headerOffset;
  };
  if (!std::is_sorted(order.begin(), order.end(), before)) {
    std::stable_sort(order.begin(), order.end(), before);
  }
  layoutIsGood = true;
  std::uint64_t behind = 0;
  for (const std::size_t index : order) {
    // A member without a local header cannot be read; that is said when it is tried.
    std::uint64_t end = 0;
    if (!zip::findDataEnd(*window, members[index], &end)) continue;
    if (members[index].headerOffset < behind) layoutIsGood = false;
    behind = std::max(behind, end);
  }
  errMsg = *layoutIsGood ? "" : "members overlap";
  return *layoutIsGood;
}
