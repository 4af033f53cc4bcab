// SPDX-License-Identifier: MIT
// loom sum: checksums of files, printed and checked.
#include <cstdio>
#include <iostream>
#include <istream>
#include <memory>
#include <optional>
#include <vector>

#include "console.h"
#include "families.h"
#include "json_writer.h"
#include "line_source.h"
#include "loomkit/streams/file.h"
#include "loomkit/system/crc32_stream.h"
#include "loomkit/system/md5.h"

namespace loom {

namespace {

enum class Kind { md5, crc32 };

constexpr std::size_t md5Digits = 32;
constexpr std::size_t crcDigits = 8;

std::string nameOf(Kind kind) { return kind == Kind::md5 ? "md5" : "crc32"; }

// The checksum of everything that `in` gives; nothing if it cannot be read to
// its end.
std::optional<std::string> sumOf(std::istream& in, Kind kind) {
  GMD5Checker md5;
  GCRC32Stream crc;
  std::vector<char> block(std::size_t{256} * 1024);
  while (in.good()) {
    in.read(block.data(), static_cast<std::streamsize>(block.size()));
    const auto size = static_cast<std::size_t>(in.gcount());
    if (kind == Kind::md5)
      md5.update(reinterpret_cast<const unsigned char*>(block.data()), static_cast<unsigned>(size));
    else
      crc.update(block.data(), size);
  }
  if (in.bad() || !in.eof()) return std::nullopt;
  if (kind == Kind::md5) {
    md5.final();
    return md5.asString();
  }
  char hex[crcDigits + 1];
  std::snprintf(hex, sizeof hex, "%08x", static_cast<unsigned>(crc.get()));
  return hex;
}

std::optional<std::string> sumOfFile(const std::string& path, Kind kind) {
  if (path == "-") return sumOf(std::cin, kind);
  GFile file(path);
  const std::unique_ptr<std::istream> in(file.getInStream(true));
  if (in == nullptr) return std::nullopt;
  return sumOf(*in, kind);
}

ExitCode printSums(const Invocation& call, Kind kind) {
  std::vector<std::string> paths = call.operands("FILE");
  if (paths.empty()) paths.emplace_back("-");
  ExitCode code = ExitCode::done;
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const std::string& path : paths) {
    const std::optional<std::string> sum = sumOfFile(path, kind);
    if (!sum) {
      complain("cannot read " + path);
      code = ExitCode::cannotOpen;
    } else if (json) {
      json->beginObject().key("file").value(path).key(nameOf(kind)).value(*sum).endObject();
    } else {
      printLine(*sum + "  " + shown(path));
    }
  }
  if (json) json->endArray();
  return code;
}

struct ListedSum {
  std::string sum;
  std::string path;
  Kind kind;
};

// A line "<sum>  <path>" as md5sum writes it; the second blank can be a '*'.
std::optional<ListedSum> readLine(const std::string& line) {
  const std::size_t digits = line.find_first_not_of("0123456789abcdefABCDEF");
  if (digits != md5Digits && digits != crcDigits) return std::nullopt;
  if (line.size() < digits + 3 || line[digits] != ' ') return std::nullopt;
  if (line[digits + 1] != ' ' && line[digits + 1] != '*') return std::nullopt;
  ListedSum listed{line.substr(0, digits), line.substr(digits + 2),
                   digits == md5Digits ? Kind::md5 : Kind::crc32};
  for (char& c : listed.sum)
    if (c >= 'A' && c <= 'F') c = static_cast<char>(c - 'A' + 'a');
  return listed;
}

ExitCode checkList(const Invocation& call) {
  const std::string list = call.value("--check");
  LineSource lines(list);
  ExitCode code = ExitCode::done;
  bool any = false;
  int number = 0;
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (std::string line; lines.next(&line);) {
    ++number;
    const std::optional<ListedSum> listed = readLine(line);
    if (!listed) {
      complain(list + ":" + std::to_string(number) + ": not a checksum and a file name");
      code = ExitCode::damaged;
      continue;
    }
    any = true;
    const std::optional<std::string> sum = sumOfFile(listed->path, listed->kind);
    const char* const verdict = !sum ? "cannot be read" : *sum == listed->sum ? "OK" : "FAILED";
    if (sum != listed->sum && code != ExitCode::damaged)
      code = sum || code == ExitCode::no ? ExitCode::no : ExitCode::cannotOpen;
    if (json)
      json->beginObject().key("file").value(listed->path).key("result").value(verdict).endObject();
    else
      printLine(shown(listed->path) + ": " + verdict);
  }
  if (json) json->endArray();
  if (!any && code == ExitCode::done)
    throw Failure(ExitCode::damaged, list + ": no checksum in it");
  return code;
}

ExitCode sum(const Invocation& call) {
  if (call.has("--md5") && call.has("--crc32"))
    throw Failure(ExitCode::usage, "sum: --md5 and --crc32 exclude each other");
  if (!call.has("--check")) return printSums(call, call.has("--crc32") ? Kind::crc32 : Kind::md5);
  if (!call.operands("FILE").empty() || call.has("--md5") || call.has("--crc32"))
    throw Failure(ExitCode::usage, "sum: --check takes its files and their kind from the list");
  return checkList(call);
}

constexpr Option sumOptions[] = {
    {.names = "--md5", .help = "Print MD5 checksums. This is what it does without an option."},
    {.names = "--crc32", .help = "Print CRC-32 checksums."},
    {.names = "-c,--check",
     .value = "LIST",
     .help = "Compute the checksums of the files named in LIST anew and compare; - is standard "
             "input. The number of digits tells MD5 from CRC-32.",
     .completes = Completes::files},
};
constexpr Operand sumOperands[] = {{.name = "FILE",
                                    .help = "A file; - or none is standard input.",
                                    .least = 0,
                                    .most = many,
                                    .completes = Completes::files}};
constexpr ExitCodeMeaning sumExits[] = {
    {ExitCode::no, "a checksum of the list is another one today"},
    {ExitCode::cannotOpen, "a file cannot be read; the others are printed all the same"},
    {ExitCode::damaged, "a line of the list is no checksum with a file name"}};

constexpr Command commands[] = {
    {.name = "sum",
     .summary = "print or check the checksums of files",
     .description = "Prints the checksum and the name of each file, in the form that md5sum "
                    "writes and reads.",
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
