// SPDX-License-Identifier: MIT
#include "loomkit/archive/ar_extractor.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include "loomkit/archive/guarded_file.h"
#include "loomkit/archive/portable_name.h"
#include "loomkit/text/output.h"

using namespace loomkit;

namespace {

constexpr std::uint32_t allRights = 0777;

}  // namespace

class LOOMKIT_LOCAL GArExtractor::Impl {
 public:
  Impl(GArMemberReader& arReader, const std::string& targetDirectory)
      : reader(arReader), path(targetDirectory.empty() ? "." : targetDirectory) {}

  Result extract(const std::vector<const GArMember*>& members);

  GArMemberReader& reader;
  bool overwrite = false;
  bool sync = false;

 private:
  Result extract(const GArMember& member);
  [[nodiscard]] FileTraits traitsOf(const GArMember& member) const;
  void warnOfNamesakes(const GArMember& member, std::size_t count) const;
  Result fail(Result result, const std::string& text) const;

  std::string path;
  platform::DirectoryHandle directory;
};

GArExtractor::Result GArExtractor::Impl::extract(const std::vector<const GArMember*>& members) {
  struct Namesakes {
    const GArMember* last = nullptr;
    std::size_t count = 0;
  };
  std::unordered_map<std::string_view, Namesakes> byName;
  for (const GArMember* member : members) {
    Namesakes& namesakes = byName[member->name];
    namesakes.last = member;
    ++namesakes.count;
  }
  Result worst = Done;
  for (const GArMember* member : members) {
    const Namesakes& namesakes = byName[member->name];
    if (member != namesakes.last) continue;
    if (namesakes.count > 1) warnOfNamesakes(*member, namesakes.count);
    worst = std::max(worst, extract(*member));
  }
  if (sync && directory.isOpen() && !directory.sync()) {
    worst = std::max(worst, fail(CannotWrite, path + lastReason()));
  }
  return worst;
}

GArExtractor::Result GArExtractor::Impl::extract(const GArMember& member) {
  const std::string name(member.name);
  if (!isPortableName(name)) return fail(Refused, "not a name for a file: " + name);
  if (!directory.isOpen() && !directory.openPath(path, true)) {
    return fail(CannotWrite, "can't make directory " + path + lastReason());
  }
  std::string trouble;
  const auto fill = [&](const FileSink& sink) { return reader.read(member, sink); };
  const Placing placing = placeFile(directory, name, traitsOf(member), fill, &trouble);
  const std::string shown = path + "/" + name;
  switch (placing) {
    case Placing::done:
      return Done;
    case Placing::exists:
      return fail(Exists, shown + trouble);
    case Placing::link:
      return fail(Refused, shown + trouble);
    case Placing::sourceFailed:
      return fail(Damaged, reader.getErrMsg());
    default:
      return fail(CannotWrite, shown + trouble);
  }
}

// Archives that are to be the same whenever they are made have no times.
FileTraits GArExtractor::Impl::traitsOf(const GArMember& member) const {
  FileTraits traits;
  if (member.mode != 0) traits.rights = member.mode & allRights;
  if (member.modTime != 0) traits.modTime = member.modTime;
  traits.replace = overwrite;
  return traits;
}

void GArExtractor::Impl::warnOfNamesakes(const GArMember& member, std::size_t count) const {
  const std::string text = reader.getPath() + ": " + std::string(member.name) + " is there " +
                           std::to_string(count) + " times; the last one is taken";
  gOutput->warning(gDataSysName, text.c_str());
}

GArExtractor::Result GArExtractor::Impl::fail(Result result, const std::string& text) const {
  gOutput->error(gDataSysName, (reader.getPath() + ": " + text).c_str());
  return result;
}

GArExtractor::GArExtractor(GArMemberReader* reader, const std::string& directory)
    : impl(std::make_unique<Impl>(*reader, directory)) {}
GArExtractor::~GArExtractor() = default;

void GArExtractor::setOverwrite(bool on) { impl->overwrite = on; }
void GArExtractor::setSync(bool on) { impl->sync = on; }

GArExtractor::Result GArExtractor::extractAll() {
  std::vector<const GArMember*> all;
  for (const GArMember& member : impl->reader.getMembers()) all.push_back(&member);
  return impl->extract(all);
}

GArExtractor::Result GArExtractor::extract(const std::vector<const GArMember*>& members) {
  return impl->extract(members);
}
