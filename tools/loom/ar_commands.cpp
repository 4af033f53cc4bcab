// SPDX-License-Identifier: MIT
// loom ar: the members of ar archives.
#include <cstdint>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>

#include "console.h"
#include "families.h"
#include "file_content.h"
#include "json_writer.h"
#include "loomkit/archive/ar_reader.h"
#include "loomkit/streams/file.h"
#include "result_stream.h"
#include "visible_text.h"

namespace loom {

namespace {

// An archive with its members under the names that people know them by. The
// library leaves the System V dialect as it is in the file; here "name.o/"
// becomes "name.o", "/7" the name at byte 7 of the member "//", and the tables
// of symbols and names are no members.
class Archive {
 public:
  // Throws Failure when there is no file; false when it is no archive, which
  // has been said.
  bool open(const std::string& path) {
    requireFile(path);
    if (!reader.open(path)) return false;
    readLongNames();
    for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
      const std::optional<std::string> name = nameOf(i->first);
      if (name) members.emplace(*name, i->second);
    }
    return true;
  }

  // The member of that name, or null after a complaint.
  const GArEntry* find(const std::string& name) const {
    const auto found = members.find(name);
    if (found != members.end()) return found->second;
    complain("there is no member " + name);
    return nullptr;
  }

  // Whether each member lies within the archive. Those that do not are complained
  // about; the library lists them, and only reading them fails.
  [[nodiscard]] bool isWhole() const {
    const std::unique_ptr<std::istream> file(GFile(reader.getPath()).getInStream(true));
    if (file == nullptr || !file->seekg(0, std::ios::end)) return false;
    const auto size = static_cast<std::uint64_t>(file->tellg());
    bool whole = true;
    for (auto i = reader.entriesBegin(); i != reader.entriesEnd(); ++i) {
      const auto& [name, entry] = *i;
      if (std::uint64_t{entry->getOffs()} + entry->getSize() <= size) continue;
      complain(reader.getPath() + ": the archive ends within " + name);
      whole = false;
    }
    return whole;
  }

  GArReader reader;
  std::map<std::string, const GArEntry*> members;

 private:
  void readLongNames() {
    const GArEntry* table = reader.getEntry("//");
    if (table == nullptr) return;
    std::ostringstream text;
    if (reader.readEntry(table, &text)) longNames = text.str();
  }

  [[nodiscard]] std::optional<std::string> nameOf(const std::string& stored) const {
    if (stored == "/" || stored == "//" || stored == "/SYM64/") return std::nullopt;
    if (stored.size() > 1 && stored[0] == '/') {
      const std::size_t at = std::strtoul(stored.c_str() + 1, nullptr, 10);
      if (at < longNames.size()) return longNames.substr(at, longNames.find("/\n", at) - at);
    }
    // A BSD name may be filled up with zero bytes.
    std::string name = stored.substr(0, stored.find_last_not_of('\0') + 1);
    if (name.size() > 1 && name.back() == '/') name.pop_back();
    return name;
  }

  std::string longNames;
};

ExitCode list(const Invocation& call) {
  Archive archive;
  if (!archive.open(call.operand("ARCHIVE"))) return ExitCode::damaged;
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const auto& [name, entry] : archive.members) {
    if (json) {
      json->beginObject().key("name").value(name).key("size").value(entry->getSize());
      json->key("offset").value(entry->getOffs()).endObject();
    } else {
      const std::string size = std::to_string(entry->getSize());
      printLine(std::string(size.size() < 10 ? 10 - size.size() : 0, ' ') + size + "  " +
                visible(name));
    }
  }
  if (json) json->endArray();
  return archive.isWhole() ? ExitCode::done : ExitCode::damaged;
}

ExitCode cat(const Invocation& call) {
  Archive archive;
  if (!archive.open(call.operand("ARCHIVE"))) return ExitCode::damaged;
  ExitCode code = ExitCode::done;
  for (const std::string& name : call.operands("MEMBER")) {
    const GArEntry* entry = archive.find(name);
    if (entry == nullptr) {
      code = ExitCode::no;
      continue;
    }
    ResultStream out;
    if (!archive.reader.readEntry(entry, &out)) return ExitCode::damaged;
  }
  return code;
}

// Whether a name is that of one file in a directory, whatever the archive has in
// mind; if not, that is said.
bool isPlainName(const std::string& name) {
  const bool plain = !name.empty() && name != "." && name != ".." &&
                     name.find_first_of(std::string("/\\\0", 3)) == std::string::npos;
  if (!plain) complain("not a name for a file: " + name);
  return plain;
}

ExitCode extract(const Invocation& call) {
  Archive archive;
  if (!archive.open(call.operand("ARCHIVE"))) return ExitCode::damaged;
  const std::string directory = call.value("--directory").empty() ? "." : call.value("--directory");
  std::map<std::string, const GArEntry*> wanted = archive.members;
  ExitCode code = ExitCode::done;
  if (!call.operands("MEMBER").empty()) {
    wanted.clear();
    for (const std::string& name : call.operands("MEMBER")) {
      if (const GArEntry* entry = archive.find(name)) {
        wanted.emplace(name, entry);
      } else {
        code = ExitCode::no;
      }
    }
  }
  for (const auto& [name, entry] : wanted) {
    const auto fill = [&, member = entry](std::ostream& out) {
      return archive.reader.readEntry(member, &out);
    };
    const ExitCode one = isPlainName(name)
                             ? writeFile(directory + "/" + name, call.has("--force"), fill)
                             : ExitCode::damaged;
    if (one != ExitCode::done) code = one;
  }
  return code;
}

constexpr Operand archiveOperand = {
    .name = "ARCHIVE", .help = "An ar archive.", .completes = Completes::files};
constexpr Operand listOperands[] = {archiveOperand};
constexpr Operand catOperands[] = {
    archiveOperand, {.name = "MEMBER", .help = "The name of a member.", .most = many}};
constexpr Operand extractOperands[] = {
    archiveOperand,
    {.name = "MEMBER", .help = "The name of a member; all without one.", .least = 0, .most = many}};
constexpr Option extractOptions[] = {directoryOption, forceOption};
constexpr ExitCodeMeaning archiveExits[] = {{ExitCode::cannotOpen, "there is no such archive"},
                                            {ExitCode::damaged, "the archive is damaged"}};
constexpr ExitCodeMeaning memberExits[] = {{ExitCode::no, "there is no such member"},
                                           {ExitCode::cannotOpen, "there is no such archive"},
                                           {ExitCode::damaged, "the archive is damaged"}};

constexpr Command commands[] = {
    {.name = "ls",
     .summary = "list the members of an archive",
     .description = "Prints size and name of each member, in the order of the names. The tables "
                    "of symbols and names that some archives have are left out.",
     .operands = listOperands,
     .example = "$ printf abc > a; ar qc x.ar a; loom ar ls x.ar\n         3  a\n",
     .exits = archiveExits,
     .run = list},
    {.name = "cat",
     .summary = "print members of an archive",
     .description = "Prints the data of each member as they are.",
     .operands = catOperands,
     .example = "$ printf 'abc\\n' > a; ar qc x.ar a; loom ar cat x.ar a\nabc\n",
     .exits = memberExits,
     .run = cat},
    {.name = "x",
     .summary = "extract the members of an archive",
     .description = "Writes each member, or those that are named, to a file of its name. A file "
                    "appears whole or not at all; a name that leads elsewhere is refused.",
     .options = extractOptions,
     .operands = extractOperands,
     .example = "$ printf 'abc\\n' > a; ar qc x.ar a; mkdir d; loom ar x x.ar -d d; cat d/a\nabc\n",
     .exits = memberExits,
     .run = extract},
};

}  // namespace

const Family arFamily = {.name = "ar", .summary = "members of ar archives", .commands = commands};

}  // namespace loom
