// SPDX-License-Identifier: MIT
#include "loomkit/archive/zip/zip_extractor.h"

#include <zlib.h>

#include <algorithm>

#include "loomkit/archive/zip/zip_name.h"
#include "loomkit/platform/files.h"
#include "loomkit/streams/atomic_file.h"
#include "loomkit/text/output.h"

using namespace loomkit;

/// Passes the bytes of one member on, counts them, and sums them up.
class GZipExtractor::Target : public GZipReader::Output {
 public:
  Target(GZipExtractor& zipExtractor, const GZipEntry& zipEntry, std::ostream* stream)
      : Output(false), extractor(zipExtractor), entry(zipEntry), out(stream) {}

  bool write(const char* data, unsigned int size) override {
    bytes += size;
    extractor.byteCount += size;
    if (isTooMuch()) return stop(LimitExceeded);
    if (extractor.cancelled && extractor.cancelled()) return stop(Cancelled);
    crc = crc32(crc, reinterpret_cast<const unsigned char*>(data), size);
    if (out != nullptr && !out->write(data, static_cast<std::streamsize>(size)))
      return stop(CannotWrite);
    extractor.showProgress();
    return true;
  }
  bool flush() override { return true; }

  /// Why write() has refused; Done if it has not.
  [[nodiscard]] Result getStopped() const { return stopped; }
  [[nodiscard]] bool isRight() const {
    return crc == entry.getCRC32() && bytes == entry.getUncomprSize();
  }

 private:
  // A small file may be packed as tightly as it likes: it can do no harm.
  [[nodiscard]] bool isTooMuch() const {
    constexpr std::uint64_t harmless = 1 << 20;
    return extractor.byteCount > extractor.limits.totalBytes ||
           (extractor.limits.ratio != 0 && bytes > harmless &&
            bytes / extractor.limits.ratio > std::max(entry.getComprSize(), 1U));
  }

  bool stop(Result why) {
    stopped = why;
    return false;
  }

  GZipExtractor& extractor;
  const GZipEntry& entry;
  std::ostream* out;
  std::uint64_t bytes = 0;
  uLong crc = 0;
  Result stopped = Done;
};

GZipExtractor::GZipExtractor(GZipReader* zipReader, const std::string& targetDirectory)
    : reader(zipReader), directory(targetDirectory.empty() ? "." : targetDirectory) {
  for (auto i = reader->entriesBegin(); i != reader->entriesEnd(); ++i) {
    expectedBytes += i->second->getUncomprSize();
  }
}

GZipExtractor::Result GZipExtractor::extractAll() {
  if (reader->getEntryCount() > limits.entries) {
    return fail(LimitExceeded, "more than " + std::to_string(limits.entries) + " entries");
  }
  Result worst = Done;
  for (auto i = reader->entriesBegin(); i != reader->entriesEnd(); ++i) {
    worst = std::max(worst, extract(i->second));
    if (worst >= LimitExceeded) break;
  }
  return worst;
}

GZipExtractor::Result GZipExtractor::extract(const GZipEntry* entry) {
  if (cancelled && cancelled()) return fail(Cancelled, "cancelled");
  std::string relative;
  if (!zip::memberPath(entry->getFName(), &relative)) {
    return fail(Refused, "not a name for a file: " + entry->getFName());
  }
  const std::string path = directory + "/" + relative;
  if (!isBelowDirectory(relative)) return fail(Refused, path + " leads through a link");
  // Many programs do not set the attribute of directories and mark them by a slash
  // at the end of the name alone.
  const bool namesDirectory = entry->getFName().back() == '/' && entry->getUncomprSize() == 0;
  if (entry->isDirectory() || namesDirectory) return makeDirectories(path);
  const Result made = makeDirectories(path.substr(0, path.rfind('/')));
  return made == Done ? extractFile(entry, path) : made;
}

GZipExtractor::Result GZipExtractor::test(const GZipEntry* entry) { return read(entry, nullptr); }

bool GZipExtractor::isBelowDirectory(const std::string& path) {
  for (std::size_t end = path.find('/');; end = path.find('/', end + 1)) {
    if (platform::isLink(directory + "/" + path.substr(0, end))) return false;
    if (end == std::string::npos) return true;
  }
}

GZipExtractor::Result GZipExtractor::makeDirectories(const std::string& path) {
  if (platform::isDirectory(path)) return Done;
  const std::size_t slash = path.find_last_of("/\\");
  if (slash != std::string::npos && slash > 0) {
    const Result made = makeDirectories(path.substr(0, slash));
    if (made != Done) return made;
  }
  if (platform::makeDirectory(path) || platform::isDirectory(path)) return Done;
  return fail(CannotWrite, "can't make directory " + path);
}

GZipExtractor::Result GZipExtractor::extractFile(const GZipEntry* entry, const std::string& path) {
  if (!overwrite && platform::examine(path)) return fail(Exists, path + " is there already");
  GAtomicFile file(path);
  if (!file.isOpen()) return fail(CannotWrite, file.getErrMsg());
  const Result result = read(entry, &file.out());
  if (result != Done && result != CannotWrite) return result;
  if (!file.commit()) return fail(CannotWrite, file.getErrMsg());
  platform::setModificationTime(path, entry->getModTime());
  ++fileCount;
  return Done;
}

GZipExtractor::Result GZipExtractor::read(const GZipEntry* entry, std::ostream* out) {
  Target target(*this, *entry, out);
  const bool complete = reader->readEntry(entry, &target);
  switch (target.getStopped()) {
    case LimitExceeded:
      return fail(LimitExceeded, entry->getFName() + " is larger than is allowed");
    case Cancelled:
      return fail(Cancelled, "cancelled");
    case CannotWrite:
      return CannotWrite;
    default:
      break;
  }
  if (!complete) return fail(Damaged, entry->getFName() + " can't be read");
  if (target.isRight()) return Done;
  return fail(Damaged,
              entry->getFName() +
                  (entry->isEncrypted() ? " is damaged, or the password is wrong" : " is damaged"));
}

GZipExtractor::Result GZipExtractor::fail(Result result, const std::string& text) {
  gOutput->error(gDataSysName, (reader->getPath() + ": " + text).c_str());
  return result;
}

void GZipExtractor::showProgress() {
  if (expectedBytes == 0) return;
  const int percent =
      static_cast<int>(std::min<std::uint64_t>(100, byteCount * 100 / expectedBytes));
  if (percent == shownPercent) return;
  shownPercent = percent;
  gProgress(percent);
}
