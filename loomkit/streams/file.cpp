// SPDX-License-Identifier: MIT
#include "loomkit/streams/file.h"

#include <algorithm>
#include <fstream>
#include <locale>
#include <memory>

#include "loomkit/platform/files.h"
#include "loomkit/platform/platform.h"
#include "loomkit/platform/shared_stream.h"
#include "loomkit/streams/directory.h"
#include "loomkit/text/char_class.h"
#include "loomkit/text/gi_string.h"
#include "loomkit/text/letter_case.h"
#include "loomkit/text/output.h"
#include "loomkit/text/uri.h"

namespace platform = loomkit::platform;

namespace {

std::ios_base::openmode modeOf(bool binary) {
  return binary ? std::ios_base::binary : std::ios_base::openmode{};
}

// The opened stream, or null when it has failed.
template <class Stream>
std::unique_ptr<Stream> unlessFailed(std::unique_ptr<Stream> stream, bool binary) {
  if (stream->fail()) return nullptr;
  if (!binary) stream->imbue(std::locale::classic());
  return stream;
}

static_assert(GFile::denyRead == int{platform::denyReading} &&
              GFile::denyWrite == int{platform::denyWriting} &&
              GFile::denyDelete == int{platform::denyDeletion});

void logRealPathFailure(const std::string& nativeName, bool withError) {
  std::string text = "can't get real path of " + nativeName;
  if (withError) text += ": error " + std::to_string(platform::lastError());
  gOutput->log(0, std::string(), text.c_str());
}

bool isFileScheme(const std::string& url) {
  return loomkit::lowerCased(url.substr(0, 5)) == "file:";
}

}  // namespace

GFileObject::GFileObject() = default;
GFileObject::GFileObject(const GFileObject&) = default;
GFileObject& GFileObject::operator=(const GFileObject&) = default;
GFileObject::~GFileObject() = default;

GFile::GFile(const std::string& path) : GFile(path, denyDelete) {}

GFile::GFile(const std::string& path, int flags)
    : name(path), nativeName(GDirectory::unix2nativePath(path)), shareFlags(flags) {}

GFile::GFile(const GFile&) = default;
GFile& GFile::operator=(const GFile&) = default;
GFile::~GFile() = default;

GFileObject* GFile::copy() { return new GFile(*this); }

const std::string& GFile::getName() const { return name; }

std::istream* GFile::getInStream(bool binary) {
  // Some systems open a directory, and fail only at the first read.
  if (platform::isDirectory(nativeName)) return nullptr;
  const std::ios_base::openmode mode = std::ios_base::in | modeOf(binary);
  return unlessFailed(platform::openShared(nativeName, mode, shareFlags), binary).release();
}

std::ostream* GFile::getOutStream(bool binary) {
  const std::ios_base::openmode mode = std::ios_base::out | modeOf(binary);
  auto stream = std::make_unique<std::ofstream>(platform::streamPath(nativeName), mode);
  return unlessFailed(std::move(stream), binary).release();
}

bool GFile::exists() { return platform::access(nativeName, platform::Access::Exists); }
bool GFile::isReadable() { return platform::access(nativeName, platform::Access::Read); }
bool GFile::isWritable() { return platform::access(nativeName, platform::Access::Write); }
bool GFile::isExecutable() { return platform::access(nativeName, platform::Access::Execute); }

long GFile::getModTime() {
  long seconds = 0;
  return platform::modificationTime(nativeName, &seconds) ? seconds : 0;
}

bool GFile::remove() {
  constexpr unsigned noSuchFile = 2;
  if (platform::deleteFile(nativeName)) return true;
  return !platform::examine(nativeName) && platform::lastError() == noSuchFile;
}

bool GFile::rename(const std::string& newPath) {
  std::string newNative = GDirectory::unix2nativePath(newPath);
  if (!platform::rename(nativeName, newNative)) return false;
  name = newPath;
  nativeName = std::move(newNative);
  return true;
}

std::string GFile::getRealPath() const {
  std::string full;
  if (!platform::fullPath(nativeName, &full)) {
    logRealPathFailure(nativeName, true);
    return name;
  }
  std::string root, rest;
  if (!platform::splitRoot(full, &root, &rest)) {
    logRealPathFailure(nativeName, false);
    return GDirectory::native2unixPath(full);
  }
  GiString upperRoot(root);
  upperRoot.toUpper(0, static_cast<unsigned>(upperRoot.size()));
  // `probe` keeps the spelling of the caller, and `answer` gathers that of the disk.
  std::string probe = upperRoot;
  std::string answer = upperRoot;
  for (std::size_t begin = rest.find_first_not_of('\\'); begin != std::string::npos;) {
    const std::size_t end = std::min(rest.find('\\', begin), rest.size());
    probe += '\\';
    probe.append(rest, begin, end - begin);
    platform::FileSearch search;
    if (!search.first(probe)) {
      logRealPathFailure(nativeName, true);
      return GDirectory::native2unixPath(full);
    }
    answer += '\\' + search.name();
    begin = rest.find_first_not_of('\\', end);
  }
  if (answer.empty()) answer = '\\';  // the root of a system without drives
  return GDirectory::native2unixPath(answer);
}

std::string GFile::getURL() const {
  if (name.empty()) return {};
  const std::string path = GDirectory::native2unixPath(name);
  std::string url = "file:";
  if (GDirectory::isAbsolute(path)) url += path.front() == '/' ? "//" : "///";
  return url + gEscapeURIComponent(path, "!$&'()*+,;=:@/");
}

std::string GFile::pathFromURL(const std::string& url) {
  if (!isFileScheme(url)) return {};
  if (url.compare(5, 3, "///") != 0) return gUnescapePartOfURI(url.substr(5));
  std::string path = url.substr(7);
  if (path.size() >= 3 && loomkit::isAsciiAlpha(path[1]) && path[2] == ':') {
    path.erase(0, 1);  // "/C:/x"
  } else {
    // More than two slashes collapse to the two of a server's name.
    const std::size_t slashes = std::min(path.find_first_not_of('/'), path.size());
    if (slashes > 2) path.erase(0, slashes - 2);
  }
  return gUnescapePartOfURI(path);
}
