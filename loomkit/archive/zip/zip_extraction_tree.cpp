// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_extraction_tree.h"

#include <algorithm>
#include <utility>

namespace loomkit::zip {
namespace {

constexpr unsigned ownersRights = 0700;
constexpr unsigned allRights = 0777;

}  // namespace

ExtractionTree::Entered ExtractionTree::enter(const std::string& path,
                                              const platform::DirectoryHandle** directory,
                                              std::string* trouble) {
  if (!top.isOpen() && !top.openPath(topPath, true)) {
    *trouble = topPath;
    return Entered::failed;
  }
  *directory = path.empty() ? &top : &current;
  if (path.empty() || path == currentPath) return Entered::yes;
  // A directory below the one that is open is reached from there.
  const bool below = !currentPath.empty() && path.size() > currentPath.size() &&
                     path[currentPath.size()] == '/' &&
                     path.compare(0, currentPath.size(), currentPath) == 0;
  std::size_t begin = below ? currentPath.size() + 1 : 0;
  if (!below) {
    leaveCurrent();
    if (auto open = others.extract(path); open) {
      current = std::move(open.mapped());
      currentPath = path;
      return Entered::yes;
    }
  }
  const platform::DirectoryHandle* parent = below ? &current : &top;
  while (begin < path.size()) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    const Entered entered =
        step(*parent, path.substr(0, end), path.substr(begin, end - begin), trouble);
    if (entered != Entered::yes) {
      currentPath.clear();
      return entered;
    }
    parent = &current;
    begin = end + 1;
  }
  return Entered::yes;
}

// Puts the current directory with the others. When there are too many, all of them are closed:
// that costs little each time, and nothing has to be kept in the order of use.
void ExtractionTree::leaveCurrent() {
  if (currentPath.empty()) return;
  if (others.size() >= mostOpen) others.clear();
  others.insert_or_assign(std::exchange(currentPath, {}), std::exchange(current, {}));
}

// Goes on to one directory of another. A directory keeps its owner's rights until
// finish(), so that files can be written into it.
ExtractionTree::Entered ExtractionTree::step(const platform::DirectoryHandle& parent,
                                             const std::string& path, const std::string& name,
                                             std::string* trouble) {
  const GZipMember* member = extractionPlan.directoryAt(path);
  const bool knowsMode = member != nullptr && member->mode != 0;
  const unsigned mode = knowsMode ? (member->mode & allRights) | ownersRights : allRights;
  platform::DirectoryHandle next;
  bool isNew = false;
  if (!next.enter(parent, name, mode, &isNew)) {
    *trouble = topPath + "/" + path;
    const platform::NameKind kind = parent.kindOf(name);
    return kind == platform::NameKind::link ? Entered::link : Entered::failed;
  }
  current = std::move(next);
  currentPath = path;
  if (isNew && member != nullptr) made.push_back(path);
  return Entered::yes;
}

// From the last to the first, so that what lies deeper is done before a directory may
// lose the rights that lead there.
void ExtractionTree::finish() {
  std::string trouble;
  const platform::DirectoryHandle* directory = nullptr;
  while (!made.empty()) {
    const std::string path = std::move(made.back());
    made.pop_back();
    if (enter(path, &directory, &trouble) != Entered::yes) continue;
    const GZipMember* member = extractionPlan.directoryAt(path);
    // Where the system refuses these, the directory is there all the same.
    static_cast<void>(directory->setTime(static_cast<long>(member->modTime)));
    if (member->mode != 0) static_cast<void>(directory->narrow(member->mode));
  }
}

}  // namespace loomkit::zip
