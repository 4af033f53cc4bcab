// SPDX-License-Identifier: MIT
// loom zip: zip archives.
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>

#include "console.h"
#include "extractor_options.h"
#include "families.h"
#include "file_content.h"
#include "json_writer.h"
#include "loomkit/archive/zip/zip_extractor.h"
#include "loomkit/archive/zip/zip_reader.h"
#include "loomkit/archive/zip/zip_writer.h"
#include "loomkit/streams/atomic_file.h"
#include "loomkit/streams/file.h"
#include "progress_bar.h"
#include "result_stream.h"
#include "visible_text.h"

namespace loom {

namespace {

namespace fs = std::filesystem;

// The first line of the file that --password-file names, or what a person at
// the terminal answers. Never an argument: the process list shows those.
std::string passwordOf(const Invocation& call, bool confirm) {
  std::string password;
  if (call.has("--password-file")) {
    const std::string path = call.value("--password-file");
    password = contentOf(path);
    password.resize(std::min(password.find('\n'), password.size()));
    if (!password.empty() && password.back() == '\r') password.pop_back();
    return password;
  }
  std::string again;
  if (!askSecretly("Password: ", &password) || (confirm && !askSecretly("Again: ", &again))) {
    throw Failure(ExitCode::usage, "there is no terminal to ask for the password at");
  }
  if (confirm && again != password) throw Failure(ExitCode::usage, "the two are not the same");
  return password;
}

// The archive that a command reads.
class Archive {
 public:
  // Throws Failure when there is no file; false when it is no archive, which
  // has been said.
  bool open(const std::string& path) {
    requireFile(path);
    return reader.open(path);
  }

  // The members of these names, all without one; `code` tells of missing ones.
  std::vector<const GZipEntry*> select(const std::vector<std::string>& names, ExitCode* code) {
    std::vector<const GZipEntry*> selected;
    for (const std::string& name : names) {
      const GZipEntry* entry = reader.getEntry(name);
      if (entry != nullptr) {
        selected.push_back(entry);
      } else {
        complain("there is no member " + name);
        *code = ExitCode::no;
      }
    }
    if (!names.empty()) return selected;
    for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i)
      selected.push_back(i->second);
    return selected;
  }

  // Asks for the password if one of them needs it.
  void unlock(const Invocation& call, const std::vector<const GZipEntry*>& entries) {
    const bool needed = std::any_of(entries.begin(), entries.end(),
                                    [](const GZipEntry* entry) { return entry->isEncrypted(); });
    if (needed) reader.setPassword(passwordOf(call, false));
  }

  GZipReader reader;
};

std::string timeText(long seconds) {
  const std::time_t time = seconds;
  std::tm parts{};
  char text[32] = "-";
  if (localtime_r(&time, &parts) != nullptr) {
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts);
  }
  return text;
}

void listAsJson(JsonWriter& json, const GZipEntry& entry) {
  json.beginObject().key("name").value(entry.getFName());
  json.key("size").value(entry.getUncomprSize()).key("packed").value(entry.getComprSize());
  json.key("modified").value(timeText(entry.getModTime()));
  json.key("directory").value(entry.isDirectory());
  json.key("deflated").value(entry.isCompressed());
  json.key("encrypted").value(entry.isEncrypted()).endObject();
}

std::string padded(std::uint64_t number, std::size_t width) {
  const std::string text = std::to_string(number);
  return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
}

ExitCode list(const Invocation& call) {
  Archive archive;
  if (!archive.open(call.operand("ARCHIVE"))) return ExitCode::damaged;
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (auto i = archive.reader.entriesBegin(); i != archive.reader.entriesEnd(); ++i) {
    const GZipEntry& entry = *i->second;
    if (json) {
      listAsJson(*json, entry);
      continue;
    }
    printLine(padded(entry.getUncomprSize(), 10) + " " + padded(entry.getComprSize(), 10) + " " +
              timeText(entry.getModTime()) + (entry.isEncrypted() ? " * " : "   ") +
              visible(i->first));
  }
  if (json) json->endArray();
  return ExitCode::done;
}

ExitCode cat(const Invocation& call) {
  Archive archive;
  if (!archive.open(call.operand("ARCHIVE"))) return ExitCode::damaged;
  ExitCode code = ExitCode::done;
  const auto entries = archive.select(call.operands("MEMBER"), &code);
  archive.unlock(call, entries);
  for (const GZipEntry* entry : entries) {
    ResultStream out;
    if (!archive.reader.readEntry(entry, &out, call.has("--text"))) return ExitCode::damaged;
  }
  return code;
}

// Lets the library's progress drive a bar for as long as it lives.
class LibraryProgress {
 public:
  explicit LibraryProgress(const std::string& label) : bar(label, 100), before(gProgressCB) {
    current = &bar;
    gProgressCB = [](int percent) { current->show(static_cast<std::uint64_t>(percent)); };
  }
  LibraryProgress(const LibraryProgress&) = delete;
  LibraryProgress& operator=(const LibraryProgress&) = delete;
  ~LibraryProgress() { gProgressCB = before; }

 private:
  static inline ProgressBar* current = nullptr;
  ProgressBar bar;
  void (*before)(int);
};

ExitCode extract(const Invocation& call) {
  Archive archive;
  if (!archive.open(call.operand("ARCHIVE"))) return ExitCode::damaged;
  ExitCode missing = ExitCode::done;
  const auto entries = archive.select(call.operands("MEMBER"), &missing);
  archive.unlock(call, entries);
  GZipExtractor extractor(&archive.reader, call.value("--directory", "."));
  extractor.setOverwrite(call.has("--force"));
  if (call.has("--no-limits")) extractor.setLimits(noLimits());
  const LibraryProgress progress(call.operand("ARCHIVE"));
  auto worst = GZipExtractor::Done;
  if (call.operands("MEMBER").empty()) {
    worst = extractor.extractAll();
  } else {
    for (const GZipEntry* entry : entries) worst = std::max(worst, extractor.extract(entry));
  }
  return worst == GZipExtractor::Done ? missing : codeOf(worst);
}

ExitCode test(const Invocation& call) {
  Archive archive;
  if (!archive.open(call.operand("ARCHIVE"))) return ExitCode::damaged;
  ExitCode code = ExitCode::done;
  const auto entries = archive.select({}, &code);
  archive.unlock(call, entries);
  GZipExtractor extractor(&archive.reader, ".");
  // Nothing is kept, so that no size does harm; much of the same is no damage.
  extractor.setLimits(noLimits());
  const LibraryProgress progress(call.operand("ARCHIVE"));
  unsigned good = 0;
  unsigned bad = 0;
  for (const GZipEntry* entry : entries) {
    if (!entry->isFile() && !entry->extractNotSupported()) continue;
    ++(extractor.test(entry) == GZipExtractor::Done ? good : bad);
  }
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("good").value(good).key("damaged").value(bad).endObject();
  } else {
    printLine(std::to_string(good) + " good, " + std::to_string(bad) + " damaged");
  }
  // The library has warned of a directory that is not what it claims.
  const bool whole = bad == 0 && archive.reader.isDirectoryExact();
  return whole ? ExitCode::done : ExitCode::damaged;
}

// Every file that the operands name or contain, with its size.
struct Source {
  std::string path;
  std::uint64_t size;
};

std::vector<Source> sourcesOf(const std::vector<std::string>& operands) {
  std::vector<Source> sources;
  for (const std::string& operand : operands) {
    std::error_code error;
    const auto kind = fs::status(operand, error).type();
    if (kind == fs::file_type::regular) {
      sources.push_back({operand, fs::file_size(operand, error)});
    } else if (kind == fs::file_type::directory) {
      for (fs::recursive_directory_iterator i(operand, error), end; i != end; i.increment(error)) {
        if (error) break;
        if (i->is_regular_file()) sources.push_back({i->path().string(), i->file_size()});
      }
    } else {
      if (!fs::exists(fs::status(operand, error))) requireFile(operand);  // says why
      throw Failure(ExitCode::cannotOpen, operand + ": neither a file nor a directory");
    }
    if (error) throw Failure(ExitCode::cannotOpen, operand + ": " + error.message());
  }
  std::sort(sources.begin(), sources.end(),
            [](const Source& a, const Source& b) { return a.path < b.path; });
  const auto samePath = [](const Source& a, const Source& b) { return a.path == b.path; };
  sources.erase(std::unique(sources.begin(), sources.end(), samePath), sources.end());
  return sources;
}

// Zip without its later extension ends at 4 GiB and 65,535 members.
std::uint64_t checkedTotal(const std::vector<Source>& sources) {
  constexpr std::uint64_t largest = 0xffffffffU - (std::uint64_t{64} << 20);
  std::uint64_t total = 0;
  for (const Source& source : sources) total += source.size;
  if (total > largest)
    throw Failure(ExitCode::cannotWrite, "more than 4 GiB do not fit a zip file");
  if (sources.size() > 60000) {
    throw Failure(ExitCode::cannotWrite, "more than 60000 files do not fit a zip file");
  }
  return total;
}

// A file's bytes, counted for the bar.
class FileInput : public GZipWriter::Input {
 public:
  FileInput(const std::string& path, ProgressBar& progressBar, std::uint64_t& bytesDone)
      : name(path), in(path, std::ios::binary), bar(progressBar), done(bytesDone) {
    if (!in) throw Failure(ExitCode::cannotOpen, cannotOpen(path, errno));
  }
  unsigned int read(char* buffer, unsigned int size) override {
    in.read(buffer, size);
    if (in.bad())
      throw Failure(ExitCode::cannotOpen, "cannot read " + name + ": " + std::strerror(errno));
    done += static_cast<std::uint64_t>(in.gcount());
    bar.show(done);
    return static_cast<unsigned int>(in.gcount());
  }

 private:
  const std::string& name;
  std::ifstream in;
  ProgressBar& bar;
  std::uint64_t& done;
};

ExitCode create(const Invocation& call) {
  const std::string path = call.operand("ARCHIVE");
  const std::vector<Source> sources = sourcesOf(call.operands("FILE"));
  const std::uint64_t total = checkedTotal(sources);
  if (!call.has("--force") && GFile(path).exists()) {
    throw Failure(ExitCode::cannotWrite, path + " is there already (--force replaces it)");
  }
  std::string password;
  if (call.has("--encrypt") || call.has("--password-file")) password = passwordOf(call, true);
  GAtomicFile file(path);
  if (!file.isOpen()) throw Failure(ExitCode::cannotWrite, file.getErrMsg());
  GZipWriter writer(&file.out(), false);
  writer.setPath(path);
  writer.setCompression(!call.has("--store"));
  writer.setPassword(password);
  if (call.has("--reproducible")) writer.setReproducible(true);
  ProgressBar bar(path, total);
  std::uint64_t done = 0;
  for (const Source& source : sources) {
    FileInput input(source.path, bar, done);
    writer.writeEntry(source.path, &input);
  }
  if (!writer.close()) return ExitCode::cannotWrite;
  if (!file.commit()) throw Failure(ExitCode::cannotWrite, file.getErrMsg());
  return ExitCode::done;
}

constexpr Operand archiveOperand = {
    .name = "ARCHIVE", .help = "A zip archive.", .completes = Completes::files};
constexpr Operand oneArchive[] = {archiveOperand};
constexpr Operand catOperands[] = {
    archiveOperand, {.name = "MEMBER", .help = "The name of a member.", .most = many}};
constexpr Operand extractOperands[] = {
    archiveOperand,
    {.name = "MEMBER", .help = "The name of a member; all without one.", .least = 0, .most = many}};
constexpr Operand createOperands[] = {archiveOperand,
                                      {.name = "FILE",
                                       .help = "A file, or a directory with all that is in it.",
                                       .most = many,
                                       .completes = Completes::files}};
constexpr Option passwordOption = {
    .names = "--password-file",
    .value = "FILE",
    .help = "Take the password from the file's first line instead of asking for it.",
    .completes = Completes::files};
constexpr Option passwordOptions[] = {passwordOption};
constexpr Option catOptions[] = {passwordOption, {.names = "--text", .help = "Print CR LF as LF."}};
constexpr Option extractOptions[] = {
    directoryOption,
    {.names = "--no-limits",
     .help = "Extract whatever its size. Otherwise a file may be 1,000 times as large as its data "
             "in the archive, and all of them 64 GiB."},
    forceOption,
    passwordOption};
constexpr Option createOptions[] = {
    {.names = "-0,--store", .help = "Store the files without compression."},
    {.names = "-e,--encrypt", .help = "Encrypt the files; asks for a password."},
    passwordOption,
    {.names = "--reproducible",
     .help = "The same files give the same archive, whenever and wherever."},
    forceOption};
constexpr ExitCodeMeaning readExits[] = {{ExitCode::cannotOpen, "there is no such archive"},
                                         {ExitCode::damaged, "the archive is damaged"}};
constexpr ExitCodeMeaning memberExits[] = {{ExitCode::no, "there is no such member"},
                                           {ExitCode::cannotOpen, "there is no such archive"},
                                           {ExitCode::damaged, "the archive is damaged"}};
constexpr ExitCodeMeaning createExits[] = {{ExitCode::cannotOpen, "a file cannot be opened"}};

constexpr Command commands[] = {
    {.name = "ls",
     .summary = "list the members of an archive",
     .description = "Prints size, packed size, time and name of each member, in the order of the "
                    "names. A * marks what is encrypted.",
     .operands = oneArchive,
     .example = "$ printf abc > a; touch -d '2026-01-02 03:04' a\n"
                "$ loom zip new x.zip a; loom zip ls x.zip --json | grep -o '\"size\":3'\n"
                "\"size\":3\n",
     .exits = readExits,
     .run = list},
    {.name = "cat",
     .summary = "print members of an archive",
     .description = "Prints the data of each member.",
     .options = catOptions,
     .operands = catOperands,
     .example = "$ echo abc > a; loom zip new x.zip a; loom zip cat x.zip a\nabc\n",
     .exits = memberExits,
     .run = cat},
    {.name = "x",
     .summary = "extract an archive",
     .description = "Extracts all members, or those that are named, below a directory and never "
                    "beside it. A file appears whole or not at all.",
     .options = extractOptions,
     .operands = extractOperands,
     .example = "$ echo abc > a; loom zip new x.zip a; loom zip x x.zip -d d; cat d/a\nabc\n",
     .exits = memberExits,
     .run = extract},
    {.name = "new",
     .summary = "make an archive",
     .description = "Makes an archive of the files, under the paths that are given. An archive of "
                    "that name is replaced only with --force, and when the new one is complete.",
     .options = createOptions,
     .operands = createOperands,
     .example = "$ echo abc > a; loom zip new --store x.zip a; loom zip test x.zip\n"
                "1 good, 0 damaged\n",
     .exits = createExits,
     .run = create},
    {.name = "test",
     .summary = "check an archive",
     .description = "Reads every member and compares it with its checksum. An archive that has "
                    "another number of members than it states is damaged, too.",
     .options = passwordOptions,
     .operands = oneArchive,
     .example = "$ echo abc > a; loom zip new x.zip a; loom zip test x.zip\n1 good, 0 damaged\n",
     .exits = readExits,
     .run = test},
};

}  // namespace

const Family zipFamily = {.name = "zip", .summary = "zip archives", .commands = commands};

}  // namespace loom
