// SPDX-License-Identifier: MIT
// loom zip: zip archives.
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <optional>
#include <system_error>

#include "console.h"
#include "extractor_options.h"
#include "families.h"
#include "file_content.h"
#include "file_facts.h"
#include "json_writer.h"
#include "loomkit/archive/zip/zip64_reader.h"
#include "loomkit/archive/zip/zip_extractor.h"
#include "loomkit/text/pattern.h"
#include "progress_bar.h"
#include "result_stream.h"
#include "visible_text.h"
#include "zip_create.h"

namespace loom {

namespace {

// Throws Failure, with the reason, unless it can be opened as a file.
void requireArchive(const std::string& path) {
  FileFacts facts;
  std::string reason;
  if (factsOf(path, true, &facts, &reason)) {
    if (facts.kind == FileKind::directory) {
      reason = std::generic_category().message(EISDIR);
    } else if (std::FILE* file = std::fopen(path.c_str(), "rb"); file != nullptr) {
      std::fclose(file);
      return;
    } else {
      reason = std::generic_category().message(errno);
    }
  }
  throw Failure(ExitCode::cannotOpen, "cannot open " + path + ": " + reason);
}

// True for the member of this name, for what lies below a directory of this name, and
// for what the pattern matches, where a '*' stands for any text, slashes too.
bool isMeant(const GZipMember& member, const std::string& operand) {
  if (member.name == operand) return true;
  std::string directory = operand;
  while (!directory.empty() && directory.back() == '/') directory.pop_back();
  directory += '/';
  if (directory.size() > 1 && member.name.compare(0, directory.size(), directory) == 0) return true;
  return operand.find_first_of("*?[") != std::string::npos &&
         gPatternMatch(operand.c_str(), member.name.c_str(), false, false, false);
}

// The archive that a command reads.
class Archive {
 public:
  using Members = std::vector<const GZipMember*>;

  // Throws Failure when there is no file; false when it is no archive, which
  // has been said.
  bool open(const std::string& path) {
    requireArchive(path);
    return reader.open(path);
  }

  // What the operands mean, in their order and each member once; all without one.
  // `code` tells of operands that mean nothing.
  Members select(const std::vector<std::string>& operands, ExitCode* code) {
    const std::vector<GZipMember>& members = reader.getMembers();
    Members selected;
    if (operands.empty()) {
      for (const GZipMember& member : members) selected.push_back(&member);
    }
    std::vector<bool> taken(members.size());
    for (const std::string& operand : operands) {
      bool found = false;
      for (std::size_t i = 0; i < members.size(); ++i) {
        if (!isMeant(members[i], operand)) continue;
        found = true;
        if (!taken[i]) selected.push_back(&members[i]);
        taken[i] = true;
      }
      if (found) continue;
      complain("there is no member " + operand);
      *code = ExitCode::no;
    }
    return selected;
  }

  // Asks for the password if one of them needs it.
  void unlock(const Invocation& call, const Members& members) {
    const bool needed = std::any_of(members.begin(), members.end(),
                                    [](const GZipMember* member) { return member->encrypted; });
    if (needed) reader.setPassword(zipPasswordOf(call, false));
  }

  GZip64Reader reader;
};

std::string timeText(std::int64_t seconds) {
  const auto time = static_cast<std::time_t>(seconds);
  const bool fits = time == seconds;  // not after 2038 on 32-bit Windows
  std::tm parts{};
  char text[32] = "-";
  if (fits && localtime_r(&time, &parts) != nullptr) {
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts);
  }
  return text;
}

void listAsJson(JsonWriter& json, const GZipMember& member) {
  json.beginObject().key("name").value(member.name);
  json.key("size").value(member.size).key("packed").value(member.packedSize);
  json.key("modified").value(timeText(member.modTime));
  json.key("directory").value(member.directory);
  json.key("deflated").value(member.isDeflated());
  json.key("encrypted").value(member.encrypted).endObject();
}

std::string padded(std::uint64_t number, std::size_t width) {
  const std::string text = std::to_string(number);
  return std::string(text.size() < width ? width - text.size() : 0, ' ') + text;
}

ExitCode list(const Invocation& call) {
  Archive archive;
  if (!archive.open(call.operand("ARCHIVE"))) return ExitCode::damaged;
  ExitCode code = ExitCode::done;
  auto members = archive.select({}, &code);
  std::stable_sort(members.begin(), members.end(),
                   [](const GZipMember* a, const GZipMember* b) { return a->name < b->name; });
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const GZipMember* member : members) {
    if (json) {
      listAsJson(*json, *member);
      continue;
    }
    printLine(padded(member->size, 10) + " " + padded(member->packedSize, 10) + " " +
              timeText(member->modTime) + (member->encrypted ? " * " : "   ") +
              visible(member->name));
  }
  if (json) json->endArray();
  return code;
}

// Hands text on with LF for each CR LF. A CR at the end of a block waits for what the
// next one begins with.
class LineEnds {
 public:
  explicit LineEnds(std::ostream& stream) : out(stream) {}
  void write(const char* data, std::size_t size) {
    for (const char* end = data + size; data != end; ++data) {
      if (pending && *data != '\n') out.put('\r');
      pending = *data == '\r';
      if (!pending) out.put(*data);
    }
  }
  void finish() {
    if (pending) out.put('\r');
    pending = false;
  }

 private:
  std::ostream& out;
  bool pending = false;
};

// Says why a member cannot be read.
void complainOf(const Archive& archive, const GZipMember& member) {
  complain(archive.reader.getPath() + ": " + member.name + " is damaged" +
           (member.encrypted ? ", or the password is wrong" : "") + " (" +
           archive.reader.getErrMsg() + ")");
}

ExitCode cat(const Invocation& call) {
  Archive archive;
  if (!archive.open(call.operand("ARCHIVE"))) return ExitCode::damaged;
  ExitCode code = ExitCode::done;
  const auto members = archive.select(call.operands("MEMBER"), &code);
  archive.unlock(call, members);
  ResultStream out;
  for (const GZipMember* member : members) {
    if (member->directory || member->volumeLabel) continue;
    LineEnds text(out);
    const bool whole = archive.reader.read(*member, [&](const char* data, std::size_t size) {
      if (call.has("--text")) {
        text.write(data, size);
      } else {
        out.write(data, static_cast<std::streamsize>(size));
      }
      return true;
    });
    text.finish();
    if (whole) continue;
    complainOf(archive, *member);
    return ExitCode::damaged;
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

void tellOfLimits(GZipExtractor::Result result) {
  if (result == GZipExtractor::LimitExceeded) complain("--no-limits reads it all the same");
}

// What a command that has read the archive returns: a directory that is not what it
// claims has been warned of, and is damage.
ExitCode judge(const Archive& archive, GZipExtractor::Result worst, ExitCode otherwise) {
  tellOfLimits(worst);
  if (worst != GZipExtractor::Done) return codeOf(worst);
  return archive.reader.isDirectoryExact() ? otherwise : ExitCode::damaged;
}

ExitCode extract(const Invocation& call) {
  Archive archive;
  if (!archive.open(call.operand("ARCHIVE"))) return ExitCode::damaged;
  ExitCode missing = ExitCode::done;
  const auto members = archive.select(call.operands("MEMBER"), &missing);
  archive.unlock(call, members);
  GZipExtractor extractor(&archive.reader, call.value("--directory", "."));
  extractor.setOverwrite(call.has("--force"));
  extractor.setMakeLinks(call.has("--links"));
  extractor.setKeepSpecialModes(call.has("--keep-special"));
  extractor.setSync(call.has("--sync"));
  if (call.has("--no-limits")) extractor.setLimits(noLimits());
  const LibraryProgress progress(call.operand("ARCHIVE"));
  return judge(archive, extractor.extract(members), missing);
}

ExitCode test(const Invocation& call) {
  Archive archive;
  if (!archive.open(call.operand("ARCHIVE"))) return ExitCode::damaged;
  ExitCode code = ExitCode::done;
  const auto members = archive.select({}, &code);
  archive.unlock(call, members);
  GZipExtractor extractor(&archive.reader, ".");
  if (call.has("--no-limits")) extractor.setLimits(noLimits());
  const LibraryProgress progress(call.operand("ARCHIVE"));
  if (!archive.reader.checkLayout()) {
    complain(archive.reader.getPath() + ": " + archive.reader.getErrMsg());
    return ExitCode::damaged;
  }
  unsigned good = 0;
  unsigned bad = 0;
  auto worst = GZipExtractor::Done;
  for (const GZipMember* member : members) {
    const auto result = extractor.test(member);
    worst = std::max(worst, result);
    const bool hasData = !member->volumeLabel && (!member->directory || member->size != 0);
    if (result != GZipExtractor::Done) ++bad;
    if (result == GZipExtractor::Done && hasData) ++good;
    if (result >= GZipExtractor::LimitExceeded) break;
  }
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("good").value(good).key("damaged").value(bad).endObject();
  } else {
    printLine(std::to_string(good) + " good, " + std::to_string(bad) + " damaged");
  }
  return judge(archive, worst, code);
}

constexpr Operand archiveOperand = {
    .name = "ARCHIVE", .help = "A zip archive.", .completes = Completes::files};
constexpr Operand oneArchive[] = {archiveOperand};
constexpr Operand catOperands[] = {
    archiveOperand,
    {.name = "MEMBER",
     .help = "The name of a member, a directory with all that is in it, or a pattern of *, ? and "
             "[...].",
     .most = many}};
constexpr Operand extractOperands[] = {
    archiveOperand,
    {.name = "MEMBER",
     .help = "The name of a member, a directory with all that is in it, or a pattern of *, ? and "
             "[...]; all without one.",
     .least = 0,
     .most = many}};
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
constexpr Option limitsOption = {
    .names = "--no-limits",
    .help =
        "Read it whatever its size. Otherwise what lies beyond 64 MiB may be 1,000 times as "
        "large as its data in the archive, and all of it 64 GiB."};
constexpr Option testOptions[] = {limitsOption, passwordOption};
constexpr Option catOptions[] = {passwordOption, {.names = "--text", .help = "Print CR LF as LF."}};
constexpr Option extractOptions[] = {
    directoryOption,
    forceOption,
    {.names = "--links",
     .help = "Make links of members that are links, if they lead to a place below the directory. "
             "Otherwise their targets are written as text."},
    {.names = "-K,--keep-special",
     .help = "Keep the set-user, set-group and sticky bits of files."},
    limitsOption,
    passwordOption,
    syncOption};
constexpr Option createOptions[] = {
    {.names = "-0,--store", .help = "Store the files without compression."},
    {.names = "-e,--encrypt", .help = "Encrypt the files; asks for a password."},
    {.names = "--links", .help = "Store links as links. Otherwise they are left out."},
    passwordOption,
    {.names = "--strict", .help = "Return 1 when anything was left out."},
    {.names = "--reproducible",
     .help = "The same files give the same archive, whenever and wherever."},
    forceOption};
constexpr ExitCodeMeaning readExits[] = {{ExitCode::cannotOpen, "there is no such archive"},
                                         {ExitCode::damaged, "the archive is damaged"}};
constexpr ExitCodeMeaning memberExits[] = {{ExitCode::no, "there is no such member"},
                                           {ExitCode::cannotOpen, "there is no such archive"},
                                           {ExitCode::damaged, "the archive is damaged"}};
constexpr ExitCodeMeaning createExits[] = {{ExitCode::no, "something was left out (--strict)"},
                                           {ExitCode::cannotOpen, "a file cannot be opened"}};

constexpr Command commands[] = {
    {.name = "ls",
     .summary = "list the members of an archive",
     .description = "Prints size, packed size, time and name of each member, in the order of the "
                    "names. A * marks what is encrypted. Members that share a name are all listed.",
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
     .run = cat,
     .printsContent = true},
    {.name = "x",
     .summary = "extract an archive",
     .description =
         "Extracts all members, or those that are named, below a directory and never beside it. A "
         "file appears whole or not at all, with its time and its rights, less the umask. Of "
         "members that share a name the last is taken, and that is said.",
     .options = extractOptions,
     .operands = extractOperands,
     .example = "$ echo abc > a; loom zip new x.zip a; loom zip x x.zip -d d; cat d/a\nabc\n",
     .exits = memberExits,
     .run = extract},
    {.name = "new",
     .summary = "make an archive",
     .description =
         "Makes an archive of the files, under the paths that are given, with their times "
         "and rights. What is left out is said on standard error: sockets, FIFOs, "
         "devices, links without --links, and what cannot be read. An archive of that "
         "name is replaced only with --force, and when the new one is complete.",
     .options = createOptions,
     .operands = createOperands,
     .example = "$ echo abc > a; loom zip new --store x.zip a; loom zip test x.zip\n"
                "1 good, 0 damaged\n",
     .exits = createExits,
     .run = createZip},
    {.name = "test",
     .summary = "check an archive",
     .description = "Reads every member as x does and compares it with its checksum. An archive is "
                    "damaged, too, that has another number of members than it states, or members "
                    "that share their data.",
     .options = testOptions,
     .operands = oneArchive,
     .example = "$ echo abc > a; loom zip new x.zip a; loom zip test x.zip\n1 good, 0 damaged\n",
     .exits = readExits,
     .run = test},
};

}  // namespace

const Family zipFamily = {.name = "zip", .summary = "zip archives", .commands = commands};

}  // namespace loom
