// SPDX-License-Identifier: MIT
#include "zip_sources.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "command.h"
#include "path_of.h"

namespace loom {

namespace {

namespace fs = std::filesystem;

class Finder {
 public:
  Finder(bool linksAreKept, const std::string& archivePath)
      : keepLinks(linksAreKept), archive(archivePath) {}

  void addOperand(const std::string& path) {
    FileFacts facts;
    std::string reason;
    if (!factsOf(path, !keepLinks, &facts, &reason)) {
      throw Failure(ExitCode::cannotOpen, "cannot open " + path + ": " + reason);
    }
    addParents(path);
    add(path, facts, true);
    while (!unread.empty()) {
      const std::string directory = std::move(unread.back());
      unread.pop_back();
      addContent(directory);
    }
  }

  ZipSources take() {
    auto& members = found.members;
    std::stable_sort(members.begin(), members.end(),
                     [](const ZipSource& a, const ZipSource& b) { return a.name < b.name; });
    std::vector<ZipSource> once;
    for (ZipSource& member : members) {
      if (once.empty() || once.back().name != member.name) {
        once.push_back(std::move(member));
      } else if (!isSame(once.back().path, member.path)) {
        found.leftOut.push_back(
            {member.path, "it would have the name of " + once.back().path + " in the archive"});
      }
    }
    members = std::move(once);
    return std::move(found);
  }

 private:
  static bool isSame(const std::string& a, const std::string& b) {
    std::error_code error;
    return a == b || fs::equivalent(pathOf(a), pathOf(b), error);
  }

  void leaveOut(const std::string& path, const std::string& why) {
    found.leftOut.push_back({path, why});
  }

  // The directories on the way to an operand keep their times and rights, too.
  void addParents(const std::string& path) {
    for (fs::path parent = pathOf(path).parent_path(); !parent.empty();) {
      FileFacts facts;
      std::string reason;
      const std::string name = memberNameOf(parent.string());
      if (!name.empty() && factsOf(parent.string(), true, &facts, &reason)) {
        found.members.push_back({parent.string(), name + "/", facts, false});
      }
      const fs::path above = parent.parent_path();
      if (above == parent) break;
      parent = above;
    }
  }

  void add(const std::string& path, const FileFacts& facts, bool named) {
    const std::string name = memberNameOf(path);
    switch (facts.kind) {
      case FileKind::file:
        if (pathOf(path).filename() == pathOf(archive).filename() && isSame(path, archive)) {
          return leaveOut(path, "it is the archive itself");
        }
        break;
      case FileKind::directory:
        unread.push_back(path);
        if (!name.empty()) found.members.push_back({path, name + "/", facts, named});
        return;
      case FileKind::link:
        if (!keepLinks) return leaveOut(path, "it is a link (--links stores links)");
        break;
      case FileKind::socket:
        return leaveOut(path, "it is a socket");
      case FileKind::fifo:
        return leaveOut(path, "it is a FIFO");
      case FileKind::device:
        return leaveOut(path, "it is a device");
      case FileKind::other:
        return leaveOut(path, "it is no file");
    }
    if (!name.empty()) found.members.push_back({path, name, facts, named});
  }

  void addContent(const std::string& directory) {
    std::error_code error;
    for (fs::directory_iterator i(pathOf(directory), error), end; !error && i != end;
         i.increment(error)) {
      const std::string path = i->path().generic_string();
      FileFacts facts;
      std::string reason;
      if (factsOf(path, false, &facts, &reason)) {
        add(path, facts, false);
      } else {
        leaveOut(path, reason);
      }
    }
    if (error) leaveOut(directory, "what is in it: " + error.message());
  }

  bool keepLinks;
  const std::string& archive;
  std::vector<std::string> unread;  // directories
  ZipSources found;
};

}  // namespace

std::string memberNameOf(const std::string& path) {
  std::string name;
  for (const fs::path& part : pathOf(path).lexically_normal().relative_path()) {
    const std::string text = part.string();
    if (text.empty() || text == "." || text == "..") continue;
    if (!name.empty()) name += '/';
    name += text;
  }
  return name;
}

ZipSources zipSourcesOf(const std::vector<std::string>& operands, bool keepLinks,
                        const std::string& archive) {
  Finder finder(keepLinks, archive);
  for (const std::string& operand : operands) finder.addOperand(operand);
  return finder.take();
}

}  // namespace loom
