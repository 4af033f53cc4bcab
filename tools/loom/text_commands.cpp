// SPDX-License-Identifier: MIT
// loom text: the library's text helpers.
#include <climits>
#include <optional>

#include "console.h"
#include "families.h"
#include "json_writer.h"
#include "line_source.h"
#include "loomkit/text/edit_distance.h"
#include "loomkit/text/gi_string.h"
#include "loomkit/text/literal.h"
#include "loomkit/text/path_name.h"
#include "loomkit/text/pattern.h"
#include "loomkit/text/uri.h"

namespace loom {

namespace {

ExitCode match(const Invocation& call) {
  const std::string pattern = call.operand("PATTERN");
  const bool invert = call.has("--invert");
  const bool quiet = call.has("--quiet");
  bool any = false;
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  forEachText(call.operands("TEXT"), [&](const std::string& text) {
    const bool hit = gPatternMatch(pattern.c_str(), text.c_str(), call.has("--no-escape"),
                                   call.has("--path"), call.has("--period")) != invert;
    any = any || hit;
    if (json) {
      json->beginObject().key("text").value(text).key("matches").value(hit).endObject();
    } else if (hit && !quiet) {
      printLine(text);
    }
  });
  if (json) json->endArray();
  return any ? ExitCode::done : ExitCode::no;
}

ExitCode distance(const Invocation& call) {
  const std::string a = call.operand("A");
  const std::string b = call.operand("B");
  // The rows of the computation are kept on the machine stack.
  constexpr std::size_t longest = 100000;
  if (a.size() > longest || b.size() > longest) {
    throw Failure(ExitCode::usage, "text distance: a text is longer than 100000 bytes");
  }
  const int result = gEditDistance(a.c_str(), b.c_str(), call.has("--anywhere"));
  if (call.json()) {
    JsonWriter json;
    json.beginObject().key("a").value(a).key("b").value(b);
    json.key("distance").value(result).endObject();
  } else {
    printLine(std::to_string(result));
  }
  return ExitCode::done;
}

// The commands that make one text of another.
template <typename Change>
ExitCode changeEach(const Invocation& call, std::string_view operand, Change change) {
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  forEachText(call.operands(operand), [&](const std::string& text) {
    const std::string result = change(text);
    if (json) {
      json->beginObject().key("text").value(text).key("result").value(result).endObject();
    } else {
      printLine(result);
    }
  });
  if (json) json->endArray();
  return ExitCode::done;
}

ExitCode escape(const Invocation& call) {
  const std::string allowed = call.value("--allow");
  const char* const set = call.has("--allow") ? allowed.c_str() : nullptr;
  return changeEach(call, "TEXT",
                    [&](const std::string& text) { return gEscapeURIComponent(text, set); });
}

ExitCode unescape(const Invocation& call) {
  return changeEach(call, "TEXT", [](const std::string& text) { return gUnescapePartOfURI(text); });
}

ExitCode normalize(const Invocation& call) {
  return changeEach(call, "URI", [](const std::string& text) { return gNormalizeURI(text); });
}

ExitCode basename(const Invocation& call) {
  const std::string suffix = call.value("--suffix");
  const char* const cut = call.has("--suffix") ? suffix.c_str() : nullptr;
  return changeEach(call, "PATH", [&](const std::string& path) { return gBasename(path, cut); });
}

ExitCode dirname(const Invocation& call) {
  return changeEach(call, "PATH", [](const std::string& path) { return gDirname(path); });
}

ExitCode quote(const Invocation& call) {
  return changeEach(call, "TEXT", [](const std::string& text) -> std::string {
    return GiString(text).convertToCString(0, UINT_MAX);
  });
}

ExitCode unquote(const Invocation& call) {
  // A text that is no literal ends the command before a half document is out.
  std::vector<std::string> texts;
  forEachText(call.operands("TEXT"), [&](const std::string& text) {
    unsigned length = 0;
    static_cast<void>(gParseCString(text, 0, &length, false));
    if (length == 0) throw Failure(ExitCode::damaged, "not a complete quoted text: " + text);
    if (text.find_first_not_of(" \t", length) != std::string::npos) {
      throw Failure(ExitCode::damaged, "there is more behind the closing quote: " + text);
    }
    texts.push_back(text);
  });
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const std::string& text : texts) {
    const std::string result = gParseCString(text, 0, nullptr, false);
    if (json) {
      json->beginObject().key("text").value(text).key("result").value(result).endObject();
    } else {
      printLine(result);
    }
  }
  if (json) json->endArray();
  return ExitCode::done;
}

constexpr std::string_view stdinHelp = "A text; - stands for the lines of standard input.";

constexpr Option matchOptions[] = {
    {.names = "-p,--path", .help = "The text is a path: * and ? don't match a slash."},
    {.names = "--period", .help = "A leading period is matched by a period only."},
    {.names = "--no-escape", .help = "A backslash in the pattern is an ordinary character."},
    {.names = "-v,--invert", .help = "Print the texts that do not match."},
    {.names = "-q,--quiet", .help = "Print nothing; the exit code tells."},
};
constexpr Operand matchOperands[] = {
    {.name = "PATTERN", .help = "A pattern of characters, *, ?, [set], [!set] and \\character."},
    {.name = "TEXT", .help = stdinHelp, .most = many}};
constexpr ExitCodeMeaning matchExits[] = {{ExitCode::done, "at least one text is printed"},
                                          {ExitCode::no, "no text matches"},
                                          {ExitCode::cannotOpen, "standard input cannot be read"}};

constexpr Option distanceOptions[] = {
    {.names = "--anywhere", .help = "Compare A with the most similar part of B."}};
constexpr Operand distanceOperands[] = {{.name = "A", .help = "A text."},
                                        {.name = "B", .help = "A text."}};

constexpr Option escapeOptions[] = {
    {.names = "--allow",
     .value = "CHARACTERS",
     .help = "The reserved characters (of :/?#[]@!$&'()*+,;=) that stay as they are, instead of "
             "!$&'()*+,;= alone; may be empty."}};
constexpr Option suffixOptions[] = {
    {.names = "-s,--suffix", .value = "SUFFIX", .help = "Cut this off the end of the names."}};

constexpr Operand textOperands[] = {{.name = "TEXT", .help = stdinHelp, .most = many}};
constexpr Operand uriOperands[] = {
    {.name = "URI", .help = "A URI; - stands for the lines of standard input.", .most = many}};
constexpr Operand pathOperands[] = {{.name = "PATH",
                                     .help = "A path; - stands for the lines of standard input.",
                                     .most = many,
                                     .completes = Completes::files}};
constexpr ExitCodeMeaning readExits[] = {{ExitCode::cannotOpen, "standard input cannot be read"}};
constexpr ExitCodeMeaning unquoteExits[] = {
    {ExitCode::cannotOpen, "standard input cannot be read"},
    {ExitCode::damaged, "a text is not a complete quoted text; nothing is printed"}};

constexpr Command commands[] = {
    {.name = "match",
     .summary = "print the texts that match a shell pattern",
     .description = "Prints the texts that the pattern matches as a whole. * matches any "
                    "characters, ? one, [a-z] one of a set, [!a-z] one that is not in it, and "
                    "\\ takes the meaning from the character behind it.",
     .options = matchOptions,
     .operands = matchOperands,
     .example = "$ loom text match '*.[ch]pp' main.cpp main.o main.hpp\nmain.cpp\nmain.hpp\n",
     .exits = matchExits,
     .run = match},
    {.name = "distance",
     .summary = "count the edits between two texts",
     .description = "Prints the number of characters to insert, delete, replace or exchange with "
                    "their neighbour that makes one text of the other. Characters are bytes.",
     .options = distanceOptions,
     .operands = distanceOperands,
     .example = "$ loom text distance kitten sitting\n3\n$ loom text distance --anywhere cat "
                "'concatenate'\n0\n",
     .run = distance},
    {.name = "escape",
     .summary = "write texts as parts of a URI",
     .description = "Writes every byte that may not stand in a part of a URI as % and two "
                    "hexadecimal digits.",
     .options = escapeOptions,
     .operands = textOperands,
     .example = "$ loom text escape 'a b/c'\na%20b%2Fc\n$ loom text escape --allow / 'a b/c'\n"
                "a%20b/c\n",
     .exits = readExits,
     .run = escape},
    {.name = "unescape",
     .summary = "read percent escapes",
     .description = "Makes a byte of each % with two hexadecimal digits behind it; any other % "
                    "stays.",
     .operands = textOperands,
     .example = "$ loom text unescape a%2Fb%20100%\na/b 100%\n",
     .exits = readExits,
     .run = unescape},
    {.name = "normalize",
     .summary = "bring the escapes of URIs into one form",
     .description = "Writes URIs so that those with the same meaning look alike: needless escapes "
                    "are resolved, the others have capital digits, and what must be escaped is. "
                    "Reserved characters stay as they are.",
     .operands = uriOperands,
     .example = "$ loom text normalize 'http://host/%7euser/a b%2fc'\n"
                "http://host/~user/a%20b%2Fc\n",
     .exits = readExits,
     .run = normalize},
    {.name = "basename",
     .summary = "print the last component of paths",
     .description = "Prints what stands behind the last slash. A drive (C:) or a share "
                    "(//host/share) at the start is not part of any name.",
     .options = suffixOptions,
     .operands = pathOperands,
     .example = "$ loom text basename --suffix .txt /home/me/notes.txt C:/a/b\nnotes\nb\n",
     .exits = readExits,
     .run = basename},
    {.name = "dirname",
     .summary = "print all but the last component of paths",
     .description = "Prints what stands before the last component, and . where there is nothing.",
     .operands = pathOperands,
     .example = "$ loom text dirname /home/me/notes.txt notes.txt\n/home/me\n.\n",
     .exits = readExits,
     .run = dirname},
    {.name = "quote",
     .summary = "write texts as quoted literals",
     .description = "Writes texts in double quotes, with backslash escapes for quotes, "
                    "backslashes and control characters.",
     .operands = textOperands,
     .example = "$ loom text quote 'say \"hi\"'\n\"say \\\"hi\\\"\"\n",
     .exits = readExits,
     .run = quote},
    {.name = "unquote",
     .summary = "read quoted literals",
     .description = "Prints the text that a literal in double quotes stands for. Nothing is "
                    "printed when one of the texts is not a complete literal.",
     .operands = textOperands,
     .example = "$ loom text unquote '\"a\\tb \\101\\x42\"' | tr '\\t' '>'\na>b AB\n",
     .exits = unquoteExits,
     .run = unquote},
};

}  // namespace

const Family textFamily = {.name = "text",
                           .summary = "patterns, distances, URIs, paths and literals",
                           .commands = commands};

}  // namespace loom
