// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_extractor.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "loomkit/archive/guarded_file.h"
#include "loomkit/archive/zip/zip_extraction_plan.h"
#include "loomkit/archive/zip/zip_extraction_tree.h"
#include "loomkit/archive/zip/zip_member_source.h"
#include "loomkit/text/output.h"

using namespace loomkit;

namespace {

constexpr unsigned allRights = 0777;
constexpr unsigned specialBits = 07000;
constexpr std::uint64_t longestTarget = 4096;

}  // namespace

class LOOMKIT_LOCAL GZipExtractor::Impl {
 public:
  Impl(std::unique_ptr<zip::MemberSource> memberSource, const std::string& targetDirectory);

  Result run(const std::vector<std::size_t>& chosen, bool writing);
  Result runAll(bool writing);
  Result readOnly(std::size_t index);

  Limits limits;
  bool overwrite = false;
  bool makeLinks = false;
  bool keepSpecialModes = false;
  bool sync = false;
  std::function<bool()> cancelled;
  unsigned int fileCount = 0;
  std::uint64_t byteCount = 0;
  std::unique_ptr<zip::MemberSource> source;

 private:
  struct Link {
    std::size_t index;
    std::string target;
  };

  Result process(std::size_t index, bool writing);
  Result makeDirectory(const std::string& path);
  Result enter(const std::string& path, const platform::DirectoryHandle** directory);
  Result extractFile(std::size_t index, const std::string& path);
  Result extractLink(std::size_t index, const std::string& path);
  Result placeLink(const Link& link);
  FileTraits traitsOf(const GZipMember& member) const;
  Result judge(Placing placing, const std::string& path, const std::string& trouble);
  Result read(std::size_t index, const GZip64Reader::Receiver& receiver);
  bool isTooMuch(const GZipMember& member) const;
  Result finish();

  Result fail(Result result, const std::string& text);
  void warn(const std::string& text);
  std::string shown(const std::string& path) const { return directory + "/" + path; }
  void showProgress();

  std::string directory;
  zip::ExtractionPlan plan;
  zip::ExtractionTree tree;
  std::vector<Link> links;
  std::optional<bool> layoutIsGood;
  std::uint64_t packedCount = 0;  // of the members that were read
  std::uint64_t expectedBytes = 0;
  int shownPercent = -1;
};

GZipExtractor::Impl::Impl(std::unique_ptr<zip::MemberSource> memberSource,
                          const std::string& targetDirectory)
    : source(std::move(memberSource)),
      directory(targetDirectory.empty() ? "." : targetDirectory),
      plan(source->members()),
      tree(directory, plan) {
  for (const GZipMember& member : source->members()) expectedBytes += member.size;
}

GZipExtractor::Result GZipExtractor::Impl::runAll(bool writing) {
  std::vector<std::size_t> all(source->members().size());
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
  return run(all, writing);
}

GZipExtractor::Result GZipExtractor::Impl::run(const std::vector<std::size_t>& chosen,
                                               bool writing) {
  if (source->members().size() > limits.entries) {
    return fail(LimitExceeded, "more than " + std::to_string(limits.entries) + " entries");
  }
  if (!layoutIsGood) layoutIsGood = source->isLayoutGood();
  if (!*layoutIsGood) return fail(Damaged, "members overlap");
  Result worst = Done;
  for (const std::size_t index : chosen) {
    worst = std::max(worst, process(index, writing));
    if (worst >= LimitExceeded) break;
  }
  return writing ? std::max(worst, finish()) : worst;
}

GZipExtractor::Result GZipExtractor::Impl::process(std::size_t index, bool writing) {
  if (cancelled && cancelled()) return fail(Cancelled, "cancelled");
  const GZipMember& member = source->members()[index];
  const zip::ExtractionPlan::Step& step = plan.of(index);
  switch (step.fate) {
    case zip::Fate::passedOver:
      return Done;
    case zip::Fate::badName:
      return fail(Refused, "not a name for a file: " + member.name);
    case zip::Fate::conflict:
      return fail(Damaged, member.name + " is a file, and other members need it as a directory");
    case zip::Fate::superseded:
      if (writing) warn(member.name + " is there more than once; the last one is taken");
      return readOnly(index);
    case zip::Fate::directory: {
      // No program puts data into a directory, but its header and its data are checked
      // as any others.
      const Result result = readOnly(index);
      return result == Done && writing ? makeDirectory(step.path) : result;
    }
    case zip::Fate::link:
      if (writing && makeLinks) return extractLink(index, step.path);
      if (writing) warn(member.name + " is a link; its target is written as text");
      break;
    case zip::Fate::file:
      break;
  }
  return writing ? extractFile(index, step.path) : readOnly(index);
}

GZipExtractor::Result GZipExtractor::Impl::makeDirectory(const std::string& path) {
  const platform::DirectoryHandle* entered = nullptr;
  return enter(path, &entered);
}

GZipExtractor::Result GZipExtractor::Impl::enter(const std::string& path,
                                                 const platform::DirectoryHandle** entered) {
  std::string trouble;
  switch (tree.enter(path, entered, &trouble)) {
    case zip::ExtractionTree::Entered::yes:
      return Done;
    case zip::ExtractionTree::Entered::link:
      return fail(Refused, shown(path) + " leads through a link");
    default:
      return fail(CannotWrite, "can't make directory " + trouble + lastReason());
  }
}

FileTraits GZipExtractor::Impl::traitsOf(const GZipMember& member) const {
  FileTraits traits;
  if (member.mode != 0 && !member.isLink()) {
    traits.rights = member.mode & allRights;
    if (keepSpecialModes) traits.specialBits = member.mode & specialBits;
  }
  traits.modTime = member.modTime;
  traits.replace = overwrite;
  return traits;
}

// Reports what keeps a file from its place.
GZipExtractor::Result GZipExtractor::Impl::judge(Placing placing, const std::string& path,
                                                 const std::string& trouble) {
  switch (placing) {
    case Placing::done:
      return Done;
    case Placing::exists:
      return fail(Exists, shown(path) + trouble);
    case Placing::link:
      return fail(Refused, shown(path) + trouble);
    default:
      return fail(CannotWrite, shown(path) + trouble);
  }
}

GZipExtractor::Result GZipExtractor::Impl::extractFile(std::size_t index, const std::string& path) {
  const platform::DirectoryHandle* parent = nullptr;
  Result result = enter(zip::directoryPart(path), &parent);
  if (result != Done) return result;
  const auto fill = [&](const FileSink& sink) {
    result = read(index, sink);
    return result == Done;
  };
  std::string trouble;
  const Placing placing = placeFile(*parent, path.substr(path.rfind('/') + 1),
                                    traitsOf(source->members()[index]), fill, &trouble);
  if (placing == Placing::sourceFailed) return result;
  if (placing == Placing::done) ++fileCount;
  return judge(placing, path, trouble);
}

// Links wait until all files are written, so that none can lead a file elsewhere.
GZipExtractor::Result GZipExtractor::Impl::extractLink(std::size_t index, const std::string& path) {
  const GZipMember& member = source->members()[index];
  if (member.size > longestTarget) {
    return fail(Damaged, member.name + " is a link with a target that is too long");
  }
  std::string target;
  const Result result = read(index, [&](const char* data, std::size_t size) {
    target.append(data, size);
    return true;
  });
  if (result != Done) return result;
  if (!zip::staysBelowTop(path, target)) {
    return fail(Refused, member.name + " is a link that leads out of the directory: " + target);
  }
  links.push_back({index, std::move(target)});
  return Done;
}

GZipExtractor::Result GZipExtractor::Impl::placeLink(const Link& link) {
  const std::string& path = plan.of(link.index).path;
  const platform::DirectoryHandle* parent = nullptr;
  Result result = enter(zip::directoryPart(path), &parent);
  const std::string name = path.substr(path.rfind('/') + 1);
  // A link may take a link's place: it is replaced itself and leads nowhere.
  const bool replacesLink =
      result == Done && overwrite && parent->kindOf(name) == platform::NameKind::link;
  if (result == Done && !replacesLink) {
    std::string trouble;
    result = judge(findPlace(*parent, name, overwrite, nullptr, &trouble), path, trouble);
  }
  if (result != Done) return result;
  if (!parent->makeLink(link.target, name, overwrite)) {
    return fail(CannotWrite, shown(path) + " can't be made" + lastReason());
  }
  ++fileCount;
  return Done;
}

GZipExtractor::Result GZipExtractor::Impl::finish() {
  Result worst = Done;
  for (const Link& link : links) worst = std::max(worst, placeLink(link));
  links.clear();
  tree.finish();
  if (sync && !tree.sync()) worst = fail(CannotWrite, directory + lastReason());
  return worst;
}

GZipExtractor::Result GZipExtractor::Impl::readOnly(std::size_t index) {
  return read(index, [](const char*, std::size_t) { return true; });
}

// Deflate makes at most 1,032 bytes of one, so that much of the same comes near to that in
// the best of archives; what is small does no harm.
bool GZipExtractor::Impl::isTooMuch(const GZipMember& member) const {
  constexpr std::uint64_t harmless = std::uint64_t{64} << 20;
  return byteCount > limits.totalBytes ||
         (limits.ratio != 0 && byteCount > harmless &&
          byteCount / limits.ratio > packedCount + member.packedSize);
}

GZipExtractor::Result GZipExtractor::Impl::read(std::size_t index,
                                                const GZip64Reader::Receiver& receiver) {
  const GZipMember& member = source->members()[index];
  Result stopped = Done;
  const auto stop = [&stopped](Result why) {
    stopped = why;
    return false;
  };
  const auto outcome = source->read(index, [&](const char* data, std::size_t size) {
    byteCount += size;
    if (isTooMuch(member)) return stop(LimitExceeded);
    if (cancelled && cancelled()) return stop(Cancelled);
    if (!receiver(data, size)) return stop(CannotWrite);
    showProgress();
    return true;
  });
  packedCount += member.packedSize;
  if (stopped == LimitExceeded) {
    return fail(LimitExceeded, member.name + " is larger than is allowed");
  }
  if (stopped == Cancelled) return fail(Cancelled, "cancelled");
  if (stopped == CannotWrite) return CannotWrite;  // the receiver says why
  if (outcome.right) return Done;
  if (!outcome.complete && outcome.reason.empty()) {
    return fail(Damaged, member.name + " can't be read");
  }
  std::string text = member.name + " is damaged";
  if (member.encrypted) text += ", or the password is wrong";
  if (!outcome.reason.empty()) text += " (" + outcome.reason + ")";
  return fail(Damaged, text);
}

GZipExtractor::Result GZipExtractor::Impl::fail(Result result, const std::string& text) {
  gOutput->error(gDataSysName, (source->path() + ": " + text).c_str());
  return result;
}

void GZipExtractor::Impl::warn(const std::string& text) {
  gOutput->warning(gDataSysName, (source->path() + ": " + text).c_str());
}

void GZipExtractor::Impl::showProgress() {
  if (expectedBytes == 0) return;
  const auto percent = static_cast<int>(
      std::min(100.0, 100.0 * static_cast<double>(byteCount) / static_cast<double>(expectedBytes)));
  if (percent == shownPercent) return;
  shownPercent = percent;
  gProgress(percent);
}

GZipExtractor::GZipExtractor(GZipReader* reader, const std::string& directory)
    : impl(std::make_unique<Impl>(std::make_unique<zip::EntrySource>(*reader), directory)) {}
GZipExtractor::GZipExtractor(GZip64Reader* reader, const std::string& directory)
    : impl(std::make_unique<Impl>(zip::sourceOf(*reader), directory)) {}
GZipExtractor::~GZipExtractor() = default;

void GZipExtractor::setLimits(const Limits& newLimits) { impl->limits = newLimits; }
void GZipExtractor::setOverwrite(bool on) { impl->overwrite = on; }
void GZipExtractor::setCancel(std::function<bool()> asked) { impl->cancelled = std::move(asked); }
void GZipExtractor::setMakeLinks(bool on) { impl->makeLinks = on; }
void GZipExtractor::setKeepSpecialModes(bool on) { impl->keepSpecialModes = on; }
void GZipExtractor::setSync(bool on) { impl->sync = on; }

GZipExtractor::Result GZipExtractor::extractAll() { return impl->runAll(true); }
GZipExtractor::Result GZipExtractor::testAll() { return impl->runAll(false); }

GZipExtractor::Result GZipExtractor::extract(const std::vector<const GZipMember*>& members) {
  std::vector<std::size_t> chosen;
  chosen.reserve(members.size());
  const GZipMember* first = impl->source->members().data();
  for (const GZipMember* member : members) {
    chosen.push_back(static_cast<std::size_t>(member - first));
  }
  return impl->run(chosen, true);
}

GZipExtractor::Result GZipExtractor::extract(const GZipEntry* entry) {
  return impl->run({static_cast<zip::EntrySource&>(*impl->source).indexOf(entry)}, true);
}

GZipExtractor::Result GZipExtractor::test(const GZipMember* member) {
  return impl->run({static_cast<std::size_t>(member - impl->source->members().data())}, false);
}

GZipExtractor::Result GZipExtractor::test(const GZipEntry* entry) {
  return impl->readOnly(static_cast<zip::EntrySource&>(*impl->source).indexOf(entry));
}

unsigned int GZipExtractor::getFileCount() const { return impl->fileCount; }
std::uint64_t GZipExtractor::getByteCount() const { return impl->byteCount; }
