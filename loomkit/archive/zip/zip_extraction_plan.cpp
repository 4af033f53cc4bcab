// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_extraction_plan.h"

#include <algorithm>
#include <string_view>

#include "loomkit/archive/zip/zip_name.h"

namespace loomkit::zip {

std::string directoryPart(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

bool staysBelowTop(const std::string& path, const std::string& target) {
  if (target.empty() || target.front() == '/' || target.find('\0') != std::string::npos) {
    return false;
  }
  auto above = std::count(path.begin(), path.end(), '/');
  bool goesDown = false;
  for (std::size_t begin = 0; begin < target.size();) {
    const std::size_t end = std::min(target.find('/', begin), target.size());
    const std::string_view part = std::string_view(target).substr(begin, end - begin);
    if (part == "..") {
      if (goesDown || above-- == 0) return false;
    } else if (!part.empty() && part != ".") {
      goesDown = true;
    }
    begin = end + 1;
  }
  return true;
}

ExtractionPlan::ExtractionPlan(const std::vector<GZipMember>& archiveMembers)
    : members(archiveMembers), steps(archiveMembers.size()) {
  for (std::size_t i = 0; i < members.size(); ++i) judge(i);
  // From the last to the first, so that the last of one name is met before the others.
  std::unordered_set<std::string_view> files;
  files.reserve(members.size());
  for (std::size_t i = members.size(); i-- > 0;) {
    Step& step = steps[i];
    if (step.fate != Fate::file && step.fate != Fate::link) continue;
    if (needed.count(step.path) != 0) {
      step.fate = Fate::conflict;
    } else if (!files.insert(step.path).second) {
      step.fate = Fate::superseded;
    }
  }
}

void ExtractionPlan::judge(std::size_t index) {
  const GZipMember& member = members[index];
  Step& step = steps[index];
  if (member.volumeLabel) {
    step.fate = Fate::passedOver;
  } else if (!memberPath(member.name, &step.path)) {
    step.fate = Fate::badName;
  } else if (member.directory) {
    step.fate = Fate::directory;
    directories[step.path] = index;
    addParents(step.path + "/");
  } else {
    step.fate = member.isLink() ? Fate::link : Fate::file;
    addParents(step.path);
  }
}

void ExtractionPlan::addParents(const std::string& path) {
  for (std::string parent = directoryPart(path); !parent.empty(); parent = directoryPart(parent)) {
    if (!needed.insert(parent).second) return;
  }
}

const GZipMember* ExtractionPlan::directoryAt(const std::string& path) const {
  const auto found = directories.find(path);
  return found == directories.end() ? nullptr : &members[found->second];
}

}  // namespace loomkit::zip
