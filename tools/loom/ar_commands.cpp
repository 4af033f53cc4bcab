// SPDX-License-Identifier: MIT
// loom ar: the members of ar archives.
#include <algorithm>
#include <climits>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console.h"
#include "families.h"
#include "file_content.h"
#include "json_writer.h"
#include "loomkit/archive/ar_extractor.h"
#include "loomkit/archive/ar_member_reader.h"
#include "visible_text.h"

namespace loom {

namespace {

using Members = std::vector<const GArMember*>;

// Throws Failure when there is no such file; false when it is no archive, which has been
// said.
bool open(const Invocation& call, GArMemberReader* reader) {
  requireFile(call.operand("ARCHIVE"));
  return reader->open(call.operand("ARCHIVE"));
}

// What a command returns that has read the archive: damage has been told of.
ExitCode judge(const GArMemberReader& reader, ExitCode otherwise) {
  return reader.isWhole() ? otherwise : ExitCode::damaged;
}

// The members that are named. --number counts among those that share a name. `code` tells
// of names that nothing has.
Members select(const Invocation& call, const GArMemberReader& reader, ExitCode* code) {
  const int number = call.number("--number", 1, 1, INT_MAX);
  Members selected;
  for (const std::string& name : call.operands("MEMBER")) {
    const GArMember* member = reader.find(name, static_cast<std::uint32_t>(number));
    if (member != nullptr) {
      selected.push_back(member);
      if (!call.has("--number") && reader.find(name, 2) != nullptr) {
        complain("warning: " + reader.getPath() + ": " + name +
                 " is there more than once; the first one is taken (--number takes another)");
      }
      continue;
    }
    const bool isThere = reader.find(name) != nullptr;
    complain(reader.getPath() + ": there is no member " + name +
             (isThere ? " of number " + std::to_string(number) : ""));
    *code = ExitCode::no;
  }
  return selected;
}

ExitCode list(const Invocation& call) {
  GArMemberReader reader;
  if (!open(call, &reader)) return ExitCode::damaged;
  Members members;
  for (const GArMember& member : reader.getMembers()) members.push_back(&member);
  std::stable_sort(members.begin(), members.end(),
                   [](const GArMember* a, const GArMember* b) { return a->name < b->name; });
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const GArMember* member : members) {
    if (json) {
      json->beginObject().key("name").value(std::string(member->name));
      json->key("number").value(member->number).key("size").value(member->size);
      json->key("offset").value(member->offset).endObject();
    } else {
      const std::string size = std::to_string(member->size);
      printLine(std::string(size.size() < 10 ? 10 - size.size() : 0, ' ') + size + "  " +
                visible(member->name));
    }
  }
  if (json) json->endArray();
  return judge(reader, ExitCode::done);
}

ExitCode cat(const Invocation& call) {
  GArMemberReader reader;
  if (!open(call, &reader)) return ExitCode::damaged;
  ExitCode code = ExitCode::done;
  for (const GArMember* member : select(call, reader, &code)) {
    const bool whole = reader.read(*member, [](const char* data, std::size_t size) {
      print({data, size});
      return true;
    });
    if (whole) continue;
    complain(reader.getPath() + ": " + reader.getErrMsg());
    return ExitCode::damaged;
  }
  return judge(reader, code);
}

ExitCode codeOf(GArExtractor::Result result) {
  switch (result) {
    case GArExtractor::Done:
      return ExitCode::done;
    case GArExtractor::Exists:
    case GArExtractor::CannotWrite:
      return ExitCode::cannotWrite;
    default:
      return ExitCode::damaged;
  }
}

ExitCode extract(const Invocation& call) {
  GArMemberReader reader;
  if (!open(call, &reader)) return ExitCode::damaged;
  GArExtractor extractor(&reader, call.value("--directory", "."));
  extractor.setOverwrite(call.has("--force"));
  extractor.setSync(call.has("--sync"));
  ExitCode missing = ExitCode::done;
  const bool all = call.operands("MEMBER").empty();
  if (all && call.has("--number")) {
    throw Failure(ExitCode::usage, "--number needs the name of a member");
  }
  const auto result =
      all ? extractor.extractAll() : extractor.extract(select(call, reader, &missing));
  if (result == GArExtractor::Exists) complain("--force replaces files that are there");
  return judge(reader, result == GArExtractor::Done ? missing : codeOf(result));
}

constexpr Operand archiveOperand = {
    .name = "ARCHIVE", .help = "An ar archive.", .completes = Completes::files};
constexpr Operand listOperands[] = {archiveOperand};
constexpr Operand catOperands[] = {
    archiveOperand, {.name = "MEMBER", .help = "The name of a member.", .most = many}};
constexpr Operand extractOperands[] = {
    archiveOperand,
    {.name = "MEMBER", .help = "The name of a member; all without one.", .least = 0, .most = many}};
constexpr Option numberOption = {
    .names = "-N,--number", .value = "N", .help = "Of members that share a name, take the N-th."};
constexpr Option catOptions[] = {numberOption};
constexpr Option extractOptions[] = {directoryOption, forceOption, numberOption, syncOption};
constexpr ExitCodeMeaning archiveExits[] = {{ExitCode::cannotOpen, "there is no such archive"},
                                            {ExitCode::damaged, "the archive is damaged"}};
constexpr ExitCodeMeaning memberExits[] = {{ExitCode::no, "there is no such member"},
                                           {ExitCode::cannotOpen, "there is no such archive"},
                                           {ExitCode::damaged, "the archive is damaged"}};

constexpr Command commands[] = {
    {.name = "ls",
     .summary = "list the members of an archive",
     .description = "Prints size and name of each member, in the order of the names. Members that "
                    "share a name are all listed. The tables of symbols and names that some "
                    "archives have are left out.",
     .operands = listOperands,
     .example = "$ printf abc > a; ar qc x.ar a; loom ar ls x.ar\n         3  a\n",
     .exits = archiveExits,
     .run = list},
    {.name = "cat",
     .summary = "print members of an archive",
     .description = "Prints the data of each member as they are. Of members that share a name the "
                    "first is taken, and that is said.",
     .options = catOptions,
     .operands = catOperands,
     .example = "$ printf 'abc\\n' > a; ar qc x.ar a; loom ar cat x.ar a\nabc\n",
     .exits = memberExits,
     .run = cat,
     .printsContent = true},
    {.name = "x",
     .summary = "extract the members of an archive",
     .description = "Writes each member, or those that are named, to a file of its name, with its "
                    "time and its rights, less the umask. A file appears whole or not at all; a "
                    "name that leads elsewhere is refused, and so is a link in a file's place. Of "
                    "members that share a name the last is written, or the first where the name "
                    "is given, as ar does, and that is said.",
     .options = extractOptions,
     .operands = extractOperands,
     .example = "$ printf 'abc\\n' > a; ar qc x.ar a; loom ar x x.ar -d d; cat d/a\nabc\n",
     .exits = memberExits,
     .run = extract},
};

}  // namespace

const Family arFamily = {.name = "ar", .summary = "members of ar archives", .commands = commands};

}  // namespace loom
