// SPDX-License-Identifier: MIT
// loom gzip and loom gunzip: compressed files, by the conventions of gzip(1).
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <optional>

#include "console.h"
#include "families.h"
#include "file_content.h"
#include "gzip_job.h"
#include "json_writer.h"
#include "visible_text.h"

namespace loom {

namespace {

using Work = GzipSettings::Work;

constexpr std::string_view levels[] = {"--fast",   "--level2", "--level3", "--level4", "--level5",
                                       "--level6", "--level7", "--level8", "--best"};

// Of several levels the best is taken.
int levelOf(const Invocation& call) {
  for (int level = 9; level >= 1; --level) {
    if (call.has(levels[level - 1])) return level;
  }
  return 6;
}

Work workOf(const Invocation& call, bool decompress) {
  if (call.has("--list")) return Work::list;
  if (call.has("--test")) return Work::test;
  return decompress || call.has("--decompress") ? Work::decompress : Work::compress;
}

GzipSettings settingsOf(const Invocation& call, bool decompress) {
  GzipSettings settings;
  settings.work = workOf(call, decompress);
  settings.level = levelOf(call);
  settings.suffix = call.value("--suffix", ".gz");
  if (settings.suffix.empty() || settings.suffix.find('/') != std::string::npos)
    throw Failure(ExitCode::usage, "--suffix: '" + settings.suffix + "' is no suffix");
  settings.toStandardOutput = call.has("--stdout");
  settings.keep = call.has("--keep");
  settings.force = call.has("--force");
  settings.verbose = call.has("--verbose") && !call.has("--quiet");
  settings.quiet = call.has("--quiet");
  settings.strict = call.has("--strict");
  settings.json = call.json();
  settings.storeName = !call.has("--no-name");
  settings.restoreName = call.has("--name") && !call.has("--no-name");
  return settings;
}

std::string inColumns(std::uint64_t compressed, std::uint64_t uncompressed, std::uint64_t frame,
                      const std::string& name) {
  char numbers[64];
  std::snprintf(numbers, sizeof numbers, "%19llu %19llu",
                static_cast<unsigned long long>(compressed),
                static_cast<unsigned long long>(uncompressed));
  return std::string(numbers) + " " + savedPercent(compressed, uncompressed, frame) + " " + name;
}

// "defla 8dc4565d Jan  2 03:04 ", in front of a line of gzip -lv.
std::string details(const GzipListing& listing) {
  const auto time = static_cast<std::time_t>(listing.time);
  std::tm parts{};
  char month[16] = "";
  char date[32] = "";
  if (localtime_r(&time, &parts) != nullptr) {
    std::strftime(month, sizeof month, "%b", &parts);
    std::snprintf(date, sizeof date, "%.15s %2d %02d:%02d", month, parts.tm_mday, parts.tm_hour,
                  parts.tm_min);
  }
  char text[64];
  std::snprintf(text, sizeof text, "defla %08x %s ", listing.crc, date);
  return text;
}

// The list of gzip -l, which begins with the first file that can be listed.
class List {
 public:
  explicit List(const GzipSettings& gzipSettings) : settings(gzipSettings) {
    if (settings.json) json.emplace().beginArray();
  }

  void add(const GzipListing& row) {
    if (json) {
      json->beginObject().key("name").value(row.name).key("compressed").value(row.compressed);
      json->key("uncompressed").value(row.uncompressed).key("crc32").value(row.crc);
      json->key("time").value(row.time).endObject();
      return;
    }
    if (totals.files++ == 0) {
      if (settings.verbose) print("method  crc     date  time  ");
      printLine("         compressed        uncompressed  ratio uncompressed_name");
    }
    if (settings.verbose) print(details(row));
    printLine(inColumns(row.compressed, row.uncompressed, row.frame, shown(row.name)));
    totals.compressed += row.compressed;
    totals.uncompressed += row.uncompressed;
    totals.lastFrame = row.frame;
  }

  void finish() {
    if (json) json->endArray();
    if (totals.files < 2) return;
    if (settings.verbose) print(std::string(28, ' '));
    printLine(inColumns(totals.compressed, totals.uncompressed, totals.lastFrame, "(totals)"));
  }

 private:
  const GzipSettings& settings;
  std::optional<JsonWriter> json;
  GzipTotals totals;
};

ExitCode examineAll(const GzipSettings& settings, const std::vector<std::string>& paths) {
  ExitCode worst = ExitCode::done;
  std::optional<List> list;
  if (settings.work == Work::list) list.emplace(settings);
  for (const std::string& path : paths) {
    GzipListing listing;
    const ExitCode code = examineFile(settings, path, &listing);
    worst = std::max(worst, code);
    if (code != ExitCode::done) continue;
    if (list) list->add(listing);
    if (!list && settings.verbose) complainPlainly(visible(path) + ":\t OK");
  }
  if (list) list->finish();
  return worst;
}

void refuseTerminal(const GzipSettings& settings, const std::vector<std::string>& paths) {
  if (settings.force) return;
  const bool filters = std::find(paths.begin(), paths.end(), "-") != paths.end();
  const bool prints = filters || settings.toStandardOutput;
  if (prints && settings.work == Work::compress && isTerminal(StandardStream::output))
    throw Failure(ExitCode::usage, "compressed data are not for a terminal (--force)");
  if (filters && settings.work != Work::compress && isTerminal(StandardStream::input))
    throw Failure(ExitCode::usage, "compressed data are not read from a terminal (--force)");
}

ExitCode runOn(const Invocation& call, bool decompress) {
  const GzipSettings settings = settingsOf(call, decompress);
  std::vector<std::string> paths = call.operands("FILE");
  if (paths.empty()) paths.emplace_back("-");
  refuseTerminal(settings, paths);
  if (settings.work == Work::list || settings.work == Work::test)
    return examineAll(settings, paths);
  if (settings.json &&
      (settings.toStandardOutput || std::count(paths.begin(), paths.end(), "-") > 0))
    throw Failure(ExitCode::usage, "what goes to standard output is no JSON");
  ExitCode worst = ExitCode::done;
  for (const std::string& path : paths) worst = std::max(worst, convertFile(settings, path));
  return worst;
}

ExitCode gzip(const Invocation& call) { return runOn(call, false); }
ExitCode gunzip(const Invocation& call) { return runOn(call, true); }

constexpr Operand fileOperands[] = {{.name = "FILE",
                                     .help = "A file; - or none is standard input, which goes to "
                                             "standard output.",
                                     .least = 0,
                                     .most = many,
                                     .completes = Completes::files}};
constexpr Option options[] = {
    {.names = "-c,--stdout", .help = "Write to standard output. The files stay."},
    {.names = "-d,--decompress", .help = "Decompress, which gunzip does without it."},
    {.names = "-k,--keep", .help = "Keep the files that others are made from."},
    {.names = "-f,--force",
     .help = "Replace files that are there already, follow a link, compress what is compressed "
             "or has other links, write to a terminal."},
    {.names = "-l,--list", .help = "List sizes, ratio and name; with -v checksum and time, too."},
    {.names = "-t,--test", .help = "Read and compare with the checksums, and write nothing."},
    {.names = "-n,--no-name", .help = "Store no name and time; restore none."},
    {.names = "-N,--name",
     .help = "Decompressing, take name and time from the header. Only the last part of a stored "
             "path is used."},
    {.names = "-S,--suffix", .value = "SUFFIX", .help = "Use this in place of .gz."},
    {.names = "-v,--verbose", .help = "Tell of each file, on standard error."},
    {.names = "-q,--quiet", .help = "Don't warn."},
    {.names = "--strict", .help = "Other data behind the compressed data are damage."},
    {.names = "-1,--fast", .help = "Compress at level 1, which is fastest."},
    {.names = "-2,--level2", .help = "Level 2; so on to -8."},
    {.names = "-3,--level3", .help = "Level 3."},
    {.names = "-4,--level4", .help = "Level 4."},
    {.names = "-5,--level5", .help = "Level 5."},
    {.names = "-6,--level6", .help = "Level 6, which is what it does without an option."},
    {.names = "-7,--level7", .help = "Level 7."},
    {.names = "-8,--level8", .help = "Level 8."},
    {.names = "-9,--best", .help = "Compress at level 9, which makes the smallest files."}};
constexpr ExitCodeMeaning exits[] = {
    {ExitCode::usage, "the command line is wrong, or a file was passed over"},
    {ExitCode::cannotOpen, "a file cannot be opened or read"},
    {ExitCode::damaged, "a file is damaged"}};

constexpr Command commands[] = {
    {.name = "gzip",
     .summary = "compress files",
     .description =
         "Replaces each FILE by FILE.gz, as gzip does. The new file has the owner, the access "
         "rights and the times of the old one and is never more open than it; it appears when it "
         "is complete, and only then the old one goes. Name and time are kept in its header.\n\n"
         "What is not a plain file, has several links, or is compressed already is passed over "
         "with a warning. Other data behind the compressed data are told in a warning, and the "
         "file that has them stays.",
     .options = options,
     .operands = fileOperands,
     .example =
         "$ echo abc > a; loom gzip -k a; gzip -dc a.gz\nabc\n$ loom gzip < a | loom gunzip\n"
         "abc\n",
     .exits = exits,
     .run = gzip},
    {.name = "gunzip",
     .summary = "decompress files",
     .description =
         "Replaces each FILE.gz by FILE, and FILE.tgz by FILE.tar, and compares it with its "
         "checksums. A damaged file stays, and nothing is made of it. Other data behind the "
         "compressed data are told in a warning, and the file that has them stays.",
     .options = options,
     .operands = fileOperands,
     .example = "$ echo abc | gzip > a.gz; loom gunzip -c a.gz\nabc\n",
     .exits = exits,
     .run = gunzip},
};

}  // namespace

const Family gzipFamily = {.commands = commands};

}  // namespace loom
