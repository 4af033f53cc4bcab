// SPDX-License-Identifier: MIT
#include "zip_create.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <system_error>

#include "console.h"
#include "file_content.h"
#include "loomkit/archive/zip/zip64_writer.h"
#include "loomkit/streams/atomic_file.h"
#include "loomkit/streams/file.h"
#include "progress_bar.h"
#include "terminal.h"
#include "zip_sources.h"

namespace loom {

namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// Puts the members of one archive into it, one after the other.
class Creation {
 public:
  Creation(GZip64Writer& zipWriter, ProgressBar& progressBar, bool isReproducible)
      : writer(zipWriter), bar(progressBar), reproducible(isReproducible) {}

  // False when the archive cannot be written. What cannot be read is left out.
  bool write(const ZipSource& source) {
    switch (source.facts.kind) {
      case FileKind::directory:
        return writer.writeDirectory(source.name, attributesOf(source)) != GZip64Writer::Failed;
      case FileKind::link:
        return writeLink(source);
      default:
        return writeFile(source);
    }
  }

  std::vector<LeftOut> leftOut;

 private:
  GZip64Writer::Attributes attributesOf(const ZipSource& source) const {
    GZip64Writer::Attributes attributes;
    attributes.modTime = source.facts.modTime;
    attributes.mode = source.facts.mode;
    attributes.expectedSize = source.facts.size;
    // A umask is not to show in an archive that is to be the same everywhere.
    if (reproducible) {
      const unsigned type = attributes.mode & 0170000U;
      const bool runs = (attributes.mode & 0111U) != 0;
      attributes.mode = static_cast<std::uint16_t>(type | (runs ? 0755U : 0644U));
    }
    return attributes;
  }

  bool writeLink(const ZipSource& source) {
    std::string target;
    std::string reason;
    if (!targetOf(source.path, &target, &reason)) {
      leftOut.push_back({source.path, reason});
      return true;
    }
    return writer.writeLink(source.name, target, attributesOf(source)) != GZip64Writer::Failed;
  }

  bool writeFile(const ZipSource& source) {
    std::string reason;
    const std::unique_ptr<std::FILE, CloseFile> file(
        openRegular(source.path, source.named, &reason));
    auto result = GZip64Writer::SourceFailed;
    if (file != nullptr) {
      std::setvbuf(file.get(), nullptr, _IONBF, 0);  // the writer asks for large blocks
      result = writer.writeFile(
          source.name, attributesOf(source),
          [&](char* buffer, std::size_t size) { return readSomeOf(*file, buffer, size, &reason); });
    }
    if (result != GZip64Writer::SourceFailed) return result == GZip64Writer::Done;
    if (reason.empty()) reason = "it has grown beyond 4 GiB meanwhile";
    if (source.named) {
      throw Failure(ExitCode::cannotOpen, "cannot open " + source.path + ": " + reason);
    }
    leftOut.push_back({source.path, reason});
    return true;
  }

  std::int64_t readSomeOf(std::FILE& file, char* buffer, std::size_t size, std::string* reason) {
    const std::size_t count = std::fread(buffer, 1, size, &file);
    if (count == 0 && std::ferror(&file) != 0) {
      *reason = std::generic_category().message(errno);
      return -1;
    }
    done += count;
    bar.show(done);
    return static_cast<std::int64_t>(count);
  }

  GZip64Writer& writer;
  ProgressBar& bar;
  bool reproducible;
  std::uint64_t done = 0;
};

void sayLeftOut(const std::vector<LeftOut>& leftOut) {
  for (const LeftOut& one : leftOut) complain("left out: " + one.path + ": " + one.why);
}

// The library has said that the archive cannot be written, and the file knows why.
ExitCode sayWhyNot(GAtomicFile& file) {
  file.out().setstate(std::ios::badbit);
  static_cast<void>(file.commit());
  complain(file.getErrMsg());
  return ExitCode::cannotWrite;
}

}  // namespace

std::string zipPasswordOf(const Invocation& call, bool confirm) {
  std::string password;
  if (call.has("--password-file")) {
    password = contentOf(call.value("--password-file"));
    password.resize(std::min(password.find('\n'), password.size()));
    if (!password.empty() && password.back() == '\r') password.pop_back();
  } else {
    std::string again;
    if (!askSecretly("Password: ", &password) || (confirm && !askSecretly("Again: ", &again))) {
      throw Failure(ExitCode::usage, "there is no terminal to ask for the password at");
    }
    if (confirm && again != password) throw Failure(ExitCode::usage, "the two are not the same");
  }
  // The cipher knows a password up to its first NUL.
  if (password.empty() || password.front() == '\0') {
    throw Failure(ExitCode::usage, "the password is empty, which would mean no encryption");
  }
  return password;
}

ExitCode createZip(const Invocation& call) {
  const std::string path = call.operand("ARCHIVE");
  const ZipSources sources = zipSourcesOf(call.operands("FILE"), call.has("--links"), path);
  if (!call.has("--force") && GFile(path).exists()) {
    throw Failure(ExitCode::cannotWrite, path + " is there already (--force replaces it)");
  }
  std::string password;
  if (call.has("--encrypt") || call.has("--password-file")) password = zipPasswordOf(call, true);
  GAtomicFile file(path);
  if (!file.isOpen()) throw Failure(ExitCode::cannotWrite, file.getErrMsg());
  GZip64Writer writer(&file.out());
  writer.setPath(path);
  writer.setCompression(!call.has("--store"));
  writer.setPassword(password);
  writer.setReproducible(call.has("--reproducible"));
  std::uint64_t total = 0;
  for (const ZipSource& source : sources.members) total += source.facts.size;
  ProgressBar bar(path, total);
  Creation creation(writer, bar, call.has("--reproducible"));
  for (const ZipSource& source : sources.members) {
    if (!creation.write(source)) return sayWhyNot(file);
  }
  if (!writer.close()) return sayWhyNot(file);
  if (!file.commit()) throw Failure(ExitCode::cannotWrite, file.getErrMsg());
  sayLeftOut(sources.leftOut);
  sayLeftOut(creation.leftOut);
  const bool whole = sources.leftOut.empty() && creation.leftOut.empty();
  return whole || !call.has("--strict") ? ExitCode::done : ExitCode::no;
}

}  // namespace loom
