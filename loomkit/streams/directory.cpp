// SPDX-License-Identifier: MIT
#include "loomkit/streams/directory.h"

#include <cerrno>
#include <system_error>

#include "loomkit/platform/files.h"
#include "loomkit/platform/platform.h"
#include "loomkit/platform/system.h"
#include "loomkit/text/output.h"
#include "loomkit/text/string_util.h"

namespace platform = loomkit::platform;

namespace {

constexpr unsigned noMoreFiles = 18;

std::string errnoText() { return std::generic_category().message(errno); }

void report(const std::string& text) { gOutput->errorVar(text.c_str(), nullptr); }

}  // namespace

GDirectory::GDirectory() : name(platform::tempPath()) {
  char process[24];
  gsnprintf(process, sizeof process, "gdir%d", static_cast<int>(platform::processId()));
  name += process;
}

GDirectory::GDirectory(const std::string& path) : name(path) {}

GDirectory::GDirectory(const GDirectory& other) : name(other.name) {}

GDirectory& GDirectory::operator=(const GDirectory& other) {
  if (this != &other) {
    close(false);
    name = other.name;
  }
  return *this;
}

GDirectory::~GDirectory() { close(false); }

const std::string& GDirectory::getName() const { return name; }

bool GDirectory::exists() { return platform::isDirectory(name); }

// Reports "TEXT NAME (error N)" with the last error.
void GDirectory::reportCode(const char* text) const {
  char code[14];
  gsnprintf(code, sizeof code, "%u", platform::lastError());
  gOutput->errorVar(text, name.c_str(), " (error ", code, ")", nullptr);
}

const char* GDirectory::first(bool quiet) {
  if (!search) search = std::make_unique<platform::FileSearch>();
  listing = search->first(name + "/*");
  if (!listing) {
    if (!quiet) reportCode("cannot open directory ");
    return nullptr;
  }
  return skipDots(true, quiet);
}

const char* GDirectory::next(bool quiet) {
  return listing ? skipDots(search->next(), quiet) : nullptr;
}

// The name that was found, or the next one that is neither "." nor "..".
const char* GDirectory::skipDots(bool found, bool quiet) {
  for (; found; found = search->next())
    if (search->name() != "." && search->name() != "..") return search->name().c_str();
  if (platform::lastError() != noMoreFiles && !quiet) reportCode("cannot read directory ");
  return nullptr;
}

bool GDirectory::close(bool quiet) {
  if (!listing) {
    search.reset();
    return true;
  }
  if (!search->close()) {
    if (!quiet) reportCode("cannot close directory ");
    return false;
  }
  search.reset();
  listing = false;
  return true;
}

bool GDirectory::create(bool quiet) {
  if (platform::makeDirectory(name)) return true;
  // Some systems say EACCES of a directory that is there already.
  if (errno == EACCES || errno == EEXIST) {
    if (!remove(true, false)) return false;
    if (platform::makeDirectory(name)) return true;
  }
  if (!quiet) report("cannot create directory " + name + " (" + errnoText() + ")");
  return false;
}

bool GDirectory::ensure(bool quiet) {
  if (platform::makeDirectory(name)) return true;
  const std::string reason = errnoText();  // before exists() asks the system
  if (exists()) return true;
  if (!quiet) report("cannot create directory " + name + " (" + reason + ")");
  return false;
}

bool GDirectory::removeListedFiles(bool quiet) {
  bool removed = true;
  for (const char* entry = first(false); entry != nullptr; entry = next(false)) {
    if (entry[0] == '.') continue;  // hidden files stay, whatever follows the dot
    if (platform::unlinkEntry(name, entry)) continue;
    removed = false;
    if (!quiet) report("cannot remove file " + name + "/" + entry + " (" + errnoText() + ")");
  }
  close(false);
  return removed;
}

bool GDirectory::remove(bool removeFiles, bool quiet) {
  const bool removed = !removeFiles || removeListedFiles(quiet);
  if (platform::removeDirectory(name)) return removed;
  if (!quiet) report("cannot remove directory " + name + " (" + errnoText() + ")");
  return false;
}

std::string GDirectory::getTempDir() {
  const char* set = platform::environment("TMPDIR");
  if (set != nullptr && *set != '\0') return set;
  std::string path = platform::tempPath();
  if (!path.empty() && path.back() == '\\') path.pop_back();
  return native2unixPath(path);
}

std::string GDirectory::createTempDir(const std::string& directory, const std::string& prefix) {
  static unsigned counter = 0;
  if (counter == 0) counter = platform::processId() << 16;
  std::string base = directory.empty() ? getTempDir() : directory;
  if (!base.empty() && base.back() != '/') base += '/';
  base += prefix.empty() ? "tmp" : prefix;
  for (;;) {
    char path[1024];
    const int length =
        gsnprintf(path, sizeof path, "%s%08lx", base.c_str(), static_cast<unsigned long>(counter));
    ++counter;
    // A path that is cut off has no digits: it would be the same each time, and be tried
    // forever.
    if (length < 0 || length >= static_cast<int>(sizeof path)) return {};
    if (platform::makeDirectory(path)) return path;
    const unsigned error = platform::lastError();
    if (error != 80 && error != 183) return {};
  }
}

std::string GDirectory::getcwd() {
  constexpr std::size_t limit = 260;
  std::string path;
  if (platform::workingDirectory(&path, limit)) return native2unixPath(path);
  report("cannot get working directory: " + errnoText());
  return {};
}

bool GDirectory::chdir(const std::string& path, bool quiet) {
  if (platform::changeDirectory(path)) return true;
  if (!quiet) report("cannot set working directory: " + errnoText());
  return false;
}
