// SPDX-License-Identifier: MIT
#include "loomkit/archive/guarded_file.h"

#include "loomkit/platform/platform.h"

namespace loomkit {
namespace {

constexpr unsigned allRights = 0777;
constexpr unsigned rightsOfFiles = 0666;

Placing failed(const char* text, std::string* trouble) {
  *trouble = text + lastReason();
  return Placing::failed;
}

}  // namespace

std::string lastReason() {
  const std::string reason = platform::lastErrorWords();
  return reason.empty() ? reason : " (" + reason + ")";
}

Placing findPlace(const platform::DirectoryHandle& directory, const std::string& name, bool replace,
                  unsigned* rights, std::string* trouble) {
  unsigned present = allRights;
  switch (directory.kindOf(name, &present)) {
    case platform::NameKind::nothing:
      return Placing::done;
    case platform::NameKind::link:
      *trouble = " leads through a link";
      return Placing::link;
    case platform::NameKind::directory:
      *trouble = " is a directory";
      return Placing::failed;
    default:
      break;
  }
  if (!replace) {
    *trouble = " is there already";
    return Placing::exists;
  }
  if (rights != nullptr) *rights &= present;
  return Placing::done;
}

Placing placeFile(const platform::DirectoryHandle& directory, const std::string& name,
                  const FileTraits& traits, const std::function<bool(const FileSink&)>& fill,
                  std::string* trouble) {
  unsigned rights = traits.rights.value_or(rightsOfFiles);
  const Placing place =
      findPlace(directory, name, traits.replace, traits.rights ? nullptr : &rights, trouble);
  if (place != Placing::done) return place;
  platform::NewFile file;
  if (!file.create(directory, rights)) return failed(" can't be made", trouble);
  bool written = true;
  const bool filled = fill([&](const char* data, std::size_t size) {
    if (!file.write(data, size)) {
      written = false;
      static_cast<void>(failed(" can't be written", trouble));
    }
    return written;
  });
  if (!written) return Placing::failed;
  if (!filled) return Placing::sourceFailed;
  if (traits.specialBits != 0) static_cast<void>(file.addMode(traits.specialBits));
  // Where the system refuses a time, the file is there all the same.
  if (traits.modTime) static_cast<void>(file.setTime(static_cast<long>(*traits.modTime)));
  if (!file.place(name, traits.replace)) return failed(" can't be made", trouble);
  return Placing::done;
}

}  // namespace loomkit
