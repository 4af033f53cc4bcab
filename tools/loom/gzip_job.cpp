// SPDX-License-Identifier: MIT
#include "gzip_job.h"

#include <cstdio>
#include <filesystem>
#include <optional>

#include "console.h"
#include "file_content.h"
#include "file_times.h"
#include "gzip_names.h"
#include "input_file.h"
#include "loomkit/streams/atomic_file.h"
#include "loomkit/streams/gzip_file.h"
#include "path_of.h"
#include "result_stream.h"
#include "visible_text.h"

namespace loom {

namespace {

namespace fs = std::filesystem;
using loomkit::GzipHeader;
using loomkit::GzipReader;
using Work = GzipSettings::Work;

ExitCode fail(ExitCode code, const std::string& text) {
  complain(text);
  return code;
}

ExitCode passOver(const GzipSettings& settings, const std::string& text) {
  if (!settings.quiet) complain("passed over: " + text);
  return ExitCode::usage;
}

// Why a file should be left as it is although it is there; null: no reason. The
// new file takes the place of the old one only where the old one is nothing but
// a file with one name.
const char* reasonToLeave(const GzipSettings& settings, const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(pathOf(path), error);
  if (fs::is_directory(fs::status(pathOf(path), error))) return "is a directory";
  if (settings.toStandardOutput || settings.work == Work::test || settings.work == Work::list)
    return nullptr;
  if (!fs::is_regular_file(fs::status(pathOf(path), error)) && fs::exists(status))
    return fs::is_symlink(status) ? nullptr : "is no regular file";
  if (settings.force) return nullptr;
  if (fs::is_symlink(status)) return "is a symbolic link (--force follows it)";
  if (settings.keep || !fs::exists(status)) return nullptr;
  if (fs::hard_link_count(pathOf(path), error) > 1) return "has other links (--force or --keep)";
  using fs::perms;
  if ((status.permissions() & (perms::set_uid | perms::set_gid)) != perms::none)
    return "is set-user-ID or set-group-ID (--force or --keep)";
  return nullptr;
}

// "notes" stands for "notes.gz" when only that is there, but not for compressing.
std::string existingName(const GzipSettings& settings, const std::string& path) {
  std::error_code error;
  const std::string longer = path + settings.suffix;
  const bool only = settings.work != Work::compress && path != "-" &&
                    !fs::exists(fs::symlink_status(pathOf(path), error)) &&
                    fs::exists(pathOf(longer), error);
  return only ? longer : path;
}

ExitCode codeOf(GzipReader::Result result, bool strict) {
  switch (result) {
    case GzipReader::complete:
      return ExitCode::done;
    case GzipReader::trailingGarbage:
      return strict ? ExitCode::damaged : ExitCode::done;
    case GzipReader::cannotRead:
      return ExitCode::cannotOpen;
    case GzipReader::cannotWrite:
      return ExitCode::cannotWrite;
    default:
      return ExitCode::damaged;
  }
}

// Says what was found, unless the target reports it.
ExitCode report(const GzipSettings& settings, const std::string& path, const InputFile& in,
                const GzipReader& reader, GzipReader::Result result) {
  if (result == GzipReader::trailingGarbage) {
    if (!settings.quiet)
      complain((settings.strict ? "" : "warning: ") + path + ": " + reader.getErrMsg());
  } else if (result == GzipReader::cannotRead) {
    complain(in.getErrMsg());
  } else if (result != GzipReader::complete && result != GzipReader::cannotWrite) {
    complain(path + ": " + reader.getErrMsg());
  }
  return codeOf(result, settings.strict);
}

std::uint64_t sizeOf(const std::string& path) {
  std::error_code error;
  const std::uint64_t size = fs::file_size(path, error);
  return error ? 0 : size;
}

// How a file became another, on standard error as gzip -v says it.
void tell(const GzipSettings& settings, const std::string& path, const std::string& percent,
          const std::string& target) {
  if (!settings.verbose) return;
  std::string line = visible(path) + ":\t" + percent;
  if (!target.empty())
    line += (settings.keep ? " -- created " : " -- replaced with ") + visible(target);
  complainPlainly(line);
}

// The file that is made of another, or standard output.
class Target {
 public:
  Target(const GzipSettings& gzipSettings, std::string sourcePath)
      : settings(gzipSettings), source(std::move(sourcePath)) {}

  // False when a file is there, which is said.
  bool open(const std::string& targetPath) {
    path = targetPath;
    std::error_code error;
    if (!settings.force && fs::exists(fs::symlink_status(pathOf(path), error))) {
      complain(path + " is there already (--force replaces it)");
      return false;
    }
    GAtomicFile::Options options;
    options.likeFile = source;
    options.followLinks = false;
    file.emplace(path, options);
    return true;
  }
  std::ostream& out() {
    if (file) return file->out();
    return results;
  }
  // The file is complete: it appears, and its source goes unless it is kept.
  ExitCode finish(std::uint32_t time, bool sourceIsUsed) {
    if (!file) return ExitCode::done;
    if (!file->commit()) return fail(ExitCode::cannotWrite, file->getErrMsg());
    if (time != 0) setModificationTime(path, time);
    if (settings.keep || !sourceIsUsed) return ExitCode::done;
    std::error_code error;
    if (!fs::remove(pathOf(source), error) && error)
      return fail(ExitCode::cannotWrite, "cannot remove " + source + ": " + error.message());
    return ExitCode::done;
  }
  [[nodiscard]] const std::string& name() const { return path; }

 private:
  const GzipSettings& settings;
  std::string source;
  std::string path;
  ResultStream results;
  std::optional<GAtomicFile> file;
};

GzipHeader headerFor(const GzipSettings& settings, const std::string& path) {
  if (!settings.storeName || path == "-") return {};
  return {lastPart(path), modificationTime(path)};
}

ExitCode compressFile(const GzipSettings& settings, const std::string& path) {
  if (!settings.force && path != "-" && isCompressedName(path, settings.suffix))
    return passOver(settings, path + " has the suffix of a compressed file (--force)");
  InputFile in(path);
  if (in.bad()) return fail(ExitCode::cannotOpen, in.getErrMsg());
  Target target(settings, path);
  if (!settings.toStandardOutput && !target.open(path + settings.suffix))
    return ExitCode::cannotWrite;
  const GzipHeader header = headerFor(settings, path);
  if (!writeGzip(in, target.out(), settings.level, header) && in.bad())
    return fail(ExitCode::cannotOpen, in.getErrMsg());
  in.close();
  const ExitCode code = target.finish(0, true);
  if (code == ExitCode::done && settings.verbose && !target.name().empty()) {
    const std::uint64_t frame = 18 + (header.name.empty() ? 0 : header.name.size() + 1);
    tell(settings, path, savedPercent(sizeOf(target.name()), in.getSize(), frame), target.name());
  }
  return code;
}

ExitCode decompressFile(const GzipSettings& settings, const std::string& path) {
  const std::optional<std::string> name =
      settings.toStandardOutput ? path : decompressedName(path, settings.suffix);
  if (!name) return passOver(settings, path + " has no suffix of a compressed file");
  InputFile in(path);
  if (in.bad()) return fail(ExitCode::cannotOpen, in.getErrMsg());
  GzipReader reader(in);
  GzipReader::Result result = reader.readHeader();
  if (result != GzipReader::complete) return report(settings, path, in, reader, result);
  Target target(settings, path);
  const GzipHeader& header = reader.getHeader();
  if (!settings.toStandardOutput) {
    std::optional<std::string> stored;
    if (settings.restoreName) stored = besideWithName(path, header.name);
    if (!target.open(stored.value_or(*name))) return ExitCode::cannotWrite;
  }
  result = reader.extract(&target.out());
  const ExitCode code = report(settings, path, in, reader, result);
  const bool whole = result == GzipReader::complete || result == GzipReader::trailingGarbage;
  if (!whole && result != GzipReader::cannotWrite) return code;
  in.close();
  // What follows the data may be of use to somebody: that file stays.
  const ExitCode finished =
      target.finish(settings.restoreName ? header.time : 0, result == GzipReader::complete);
  if (finished == ExitCode::done && !target.name().empty())
    tell(settings, path, savedPercent(in.getSize(), reader.getSize(), reader.getFrameSize()),
         target.name());
  return std::max(code, finished);
}

}  // namespace

std::string savedPercent(std::uint64_t compressed, std::uint64_t uncompressed,
                         std::uint64_t frame) {
  const double before = static_cast<double>(uncompressed);
  const double after = static_cast<double>(compressed) - static_cast<double>(frame);
  char text[32];
  std::snprintf(text, sizeof text, "%5.1f%%",
                uncompressed == 0 ? 0.0 : (before - after) * 100 / before);
  return text;
}

ExitCode convertFile(const GzipSettings& settings, const std::string& name) {
  const std::string path = existingName(settings, name);
  if (path == "-") {
    GzipSettings filter = settings;
    filter.toStandardOutput = true;
    return settings.work == Work::compress ? compressFile(filter, path)
                                           : decompressFile(filter, path);
  }
  const char* const reason = reasonToLeave(settings, path);
  if (reason != nullptr) return passOver(settings, path + " " + reason);
  return settings.work == Work::compress ? compressFile(settings, path)
                                         : decompressFile(settings, path);
}

ExitCode examineFile(const GzipSettings& settings, const std::string& name, GzipListing* listing) {
  const std::string path = existingName(settings, name);
  const char* const reason = path == "-" ? nullptr : reasonToLeave(settings, path);
  if (reason != nullptr) return passOver(settings, path + " " + reason);
  InputFile in(path);
  if (in.bad()) return fail(ExitCode::cannotOpen, in.getErrMsg());
  GzipReader reader(in);
  const GzipReader::Result result = reader.extract(nullptr);
  const ExitCode code = report(settings, path, in, reader, result);
  const GzipHeader& header = reader.getHeader();
  listing->name = path == "-" ? "stdout" : decompressedName(path, settings.suffix).value_or(path);
  if (settings.restoreName && !header.name.empty())
    listing->name = besideWithName(path, header.name).value_or(listing->name);
  listing->compressed = in.getSize();
  listing->uncompressed = reader.getSize();
  listing->crc = reader.getCRC();
  listing->time = header.time != 0 || path == "-" ? header.time : modificationTime(path);
  listing->frame = reader.getFrameSize();
  return code;
}

}  // namespace loom
