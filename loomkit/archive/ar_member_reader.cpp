// SPDX-License-Identifier: MIT
#include "loomkit/archive/ar_member_reader.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "loomkit/archive/ar_directory.h"
#include "loomkit/archive/ar_layout.h"
#include "loomkit/archive/guarded_file.h"
#include "loomkit/platform/random_access.h"
#include "loomkit/text/output.h"

using namespace loomkit;

class LOOMKIT_LOCAL GArMemberReader::Impl {
 public:
  explicit Impl(std::string archivePath) : path(std::move(archivePath)) {}
  Impl(const Impl&) = delete;
  Impl& operator=(const Impl&) = delete;
  ~Impl() {
    if (handle >= 0) platform::closeFile(handle);
  }

  bool open();
  bool report(const std::string& text) const;

  std::string path;
  std::string errMsg;
  int handle = -1;
  std::optional<Window> window;
  ar::Contents contents;
};

bool GArMemberReader::Impl::open() {
  using platform::OpenMode;
  using platform::ShareMode;
  std::uint64_t size = 0;
  if (!platform::openRandomAccess(path, OpenMode::readOnly, ShareMode::readWrite, &handle) ||
      !platform::fileSize(handle, &size))
    return report("can't open file" + lastReason());
  window.emplace(handle, size);
  const unsigned char* bytes = window->at(0, ar::magic.size());
  const std::string_view magic(reinterpret_cast<const char*>(bytes),
                               bytes == nullptr ? 0 : ar::magic.size());
  if (magic == ar::thinMagic) {
    return report("a thin archive: it holds none of its members, which are files beside it");
  }
  if (magic != ar::magic) return report("file is not an ar file (wrong magic string)");
  ar::Directory(*window, &contents).readAll();
  for (const std::string& text : contents.damage) report(text);
  return true;
}

bool GArMemberReader::Impl::report(const std::string& text) const {
  gOutput->error(gDataSysName, (path + ": " + text).c_str());
  return false;
}

GArMemberReader::GArMemberReader() : impl(std::make_unique<Impl>(std::string())) {}
GArMemberReader::~GArMemberReader() = default;

bool GArMemberReader::open(const std::string& path) {
  impl = std::make_unique<Impl>(path);
  if (impl->open()) return true;
  impl = std::make_unique<Impl>(path);
  return false;
}

void GArMemberReader::close() { impl = std::make_unique<Impl>(impl->path); }

const std::string& GArMemberReader::getPath() const { return impl->path; }
const std::vector<GArMember>& GArMemberReader::getMembers() const { return impl->contents.members; }
bool GArMemberReader::isWhole() const { return impl->contents.damage.empty(); }
const std::string& GArMemberReader::getErrMsg() const { return impl->errMsg; }

const GArMember* GArMemberReader::find(std::string_view name, std::uint32_t number) const {
  const std::vector<GArMember>& members = impl->contents.members;
  const std::vector<std::uint32_t>& byName = impl->contents.byName;
  const auto found = std::lower_bound(
      byName.begin(), byName.end(), name,
      [&](std::uint32_t index, std::string_view wanted) { return members[index].name < wanted; });
  const auto left = static_cast<std::size_t>(byName.end() - found);
  if (number == 0 || number > left) return nullptr;
  const GArMember& member = members[found[static_cast<std::ptrdiff_t>(number) - 1]];
  return member.name == name ? &member : nullptr;
}

bool GArMemberReader::read(const GArMember& member, const Receiver& receiver) {
  impl->errMsg.clear();
  for (std::uint64_t done = 0; done < member.size;) {
    const auto [bytes, count] = impl->window->some(member.offset + done, member.size - done);
    if (bytes == nullptr) {
      impl->errMsg = std::string(member.name) + " can't be read: the archive ends within it";
      return false;
    }
    if (!receiver(reinterpret_cast<const char*>(bytes), count)) {
      impl->errMsg = std::string(member.name) + " was not read to its end";
      return false;
    }
    done += count;
  }
  return true;
}
