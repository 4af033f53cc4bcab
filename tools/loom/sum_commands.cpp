// SPDX-License-Identifier: MIT
// loom sum: checksums of files, printed and checked, by the conventions of
// md5sum(1).
#include <algorithm>
#include <optional>

#include "checksum.h"
#include "checksum_line.h"
#include "console.h"
#include "families.h"
#include "input_file.h"
#include "json_writer.h"
#include "line_source.h"

namespace loom {

namespace {

ExitCode printSums(const Invocation& call, const ChecksumKind& kind) {
  std::vector<std::string> paths = call.operands("FILE");
  if (paths.empty()) paths.emplace_back("-");
  ExitCode code = ExitCode::done;
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const std::string& path : paths) {
    InputFile in(path);
    const std::optional<std::string> sum = kind.sumOf(in);
    if (!sum) {
      complain(in.getErrMsg());
      code = ExitCode::cannotOpen;
    } else if (json) {
      json->beginObject().key("file").value(path).key(std::string(kind.name)).value(*sum);
      json->endObject();
    } else {
      printLine(shown(checksumLine(kind, *sum, path, call.has("--tag"))));
    }
  }
  if (json) json->endArray();
  return code;
}

// Reads lists and compares.
class Check {
 public:
  Check(const Invocation& invocation, const ChecksumKind* onlyKind)
      : call(invocation),
        only(onlyKind),
        quiet(call.has("--quiet") || call.has("--status")),
        silent(call.has("--status")) {
    if (call.json()) json.emplace().beginArray();
  }

  void readList(const std::string& list) {
    LineSource lines(list);
    unsigned number = 0;
    found = malformed = matched = 0;
    for (std::string line; lines.next(&line);) {
      ++number;
      if (!line.empty() && line[0] == '#') continue;
      const std::optional<ListedSum> listed = readChecksumLine(line);
      if (listed && (only == nullptr || only == listed->kind)) {
        ++found;
        compare(*listed);
      } else {
        ++malformed;
        if (call.has("--warn"))
          complain(list + ":" + std::to_string(number) + ": not a checksum and a file name");
      }
    }
    judge(list);
  }

  ExitCode finish() {
    if (json) json->endArray();
    warn(unreadable, "listed file cannot be read", "listed files cannot be read");
    warn(mismatched, "computed checksum does not match", "computed checksums do not match");
    return worst;
  }

 private:
  void compare(const ListedSum& listed) {
    InputFile in(listed.name);
    if (in.bad() && in.isMissing() && call.has("--ignore-missing")) return;
    const std::optional<std::string> sum = listed.kind->sumOf(in);
    if (!sum) {
      ++unreadable;
      complain(in.getErrMsg());
      say(listed.name, "FAILED open or read");
      worst = std::max(worst, ExitCode::cannotOpen);
    } else if (*sum != listed.sum) {
      ++mismatched;
      say(listed.name, "FAILED");
      worst = std::max(worst, ExitCode::no);
    } else {
      ++matched;
      if (!quiet || json) say(listed.name, "OK");
    }
  }

  void say(const std::string& name, const char* verdict) {
    if (json) {
      json->beginObject().key("file").value(name).key("result").value(verdict).endObject();
    } else if (!silent) {
      const EscapedName escaped = escapedName(name);
      // Only a line end needs an escape here, where nothing is read back.
      const bool plain = name.find('\n') == std::string::npos;
      printLine(shown((plain ? name : escaped.mark + escaped.name) + ": " + verdict));
    }
  }

  // What a list as a whole is worth.
  void judge(const std::string& list) {
    if (found == 0) {
      complain(list + ": no checksum in it");
      worst = std::max(worst, ExitCode::damaged);
      return;
    }
    warn(malformed, "line is not a checksum and a file name",
         "lines are not a checksum and a file name");
    if (malformed > 0 && call.has("--strict")) worst = std::max(worst, ExitCode::damaged);
    if (call.has("--ignore-missing") && matched == 0 && worst == ExitCode::done) {
      if (!silent) complain(list + ": no file was checked");
      worst = ExitCode::no;
    }
  }

  void warn(unsigned count, const char* one, const char* several) const {
    if (count > 0 && !silent) complain("warning: " + counted(count, one, several));
  }

  const Invocation& call;
  const ChecksumKind* only;
  bool quiet;
  bool silent;
  std::optional<JsonWriter> json;
  unsigned found = 0, malformed = 0, matched = 0;  // of one list
  unsigned unreadable = 0, mismatched = 0;
  ExitCode worst = ExitCode::done;
};

// The kind that the options choose; null: none.
const ChecksumKind* chosenKind(const Invocation& call) {
  const ChecksumKind* chosen = nullptr;
  for (const ChecksumKind& kind : checksumKinds()) {
    if (!call.has(kind.option)) continue;
    if (chosen != nullptr)
      throw Failure(ExitCode::usage, "sum: " + std::string(chosen->option) + " and " +
                                         std::string(kind.option) + " exclude each other");
    chosen = &kind;
  }
  return chosen;
}

ExitCode sum(const Invocation& call) {
  const ChecksumKind* const kind = chosenKind(call);
  if (!call.has("--check")) return printSums(call, kind == nullptr ? checksumKinds()[0] : *kind);
  Check check(call, kind);
  std::vector<std::string> lists = call.operands("FILE");
  if (lists.empty()) lists.emplace_back("-");
  for (const std::string& list : lists) check.readList(list);
  return check.finish();
}

constexpr Option sumOptions[] = {
    {.names = "--md5",
     .help = "MD5. This is what it does without an option. MD5 is old: it finds damage, but "
             "whoever wants to can make two files with one sum. Against people use SHA-256."},
    {.names = "--sha256", .help = "SHA-256."},
    {.names = "--sha512", .help = "SHA-512."},
    {.names = "--crc32", .help = "CRC-32, which finds only accidents."},
    {.names = "--tag", .help = "Print lines in the style of BSD, which name the kind."},
    {.names = "-c,--check",
     .help = "Read lists from the FILEs, compute the checksums of the files in them anew and "
             "compare. The line tells the kind; with an option for a kind only that one counts."},
    {.names = "--ignore-missing", .help = "Checking, pass over files that are not there."},
    {.names = "-q,--quiet", .help = "Checking, print no OK."},
    {.names = "--status", .help = "Checking, print nothing: the exit code tells."},
    {.names = "-w,--warn", .help = "Checking, name each line that cannot be understood."},
    {.names = "--strict", .help = "Checking, such a line is damage."},
};
constexpr Operand sumOperands[] = {{.name = "FILE",
                                    .help = "A file; - or none is standard input.",
                                    .least = 0,
                                    .most = many,
                                    .completes = Completes::files}};
constexpr ExitCodeMeaning sumExits[] = {
    {ExitCode::no, "a checksum of the list is another one today"},
    {ExitCode::cannotOpen, "a file cannot be read; the others are done all the same"},
    {ExitCode::damaged, "there is no checksum in a list, or with --strict a bad line"}};

constexpr Command commands[] = {
    {.name = "sum",
     .summary = "print or check the checksums of files",
     .description = "Prints the checksum and the name of each file, in the form that md5sum, "
                    "sha256sum and sha512sum write and read: in names with a line end or a "
                    "backslash these are escaped, and the line begins with a backslash.",
     .options = sumOptions,
     .operands = sumOperands,
     .example = "$ printf 123456789 | loom sum --crc32\ncbf43926  -\n$ printf abc >abc.txt; loom "
                "sum abc.txt >list; cat list; loom sum --check list\n"
                "900150983cd24fb0d6963f7d28e17f72  abc.txt\nabc.txt: OK\n",
     .exits = sumExits,
     .run = sum},
};

}  // namespace

const Family sumFamily = {.commands = commands};

}  // namespace loom
