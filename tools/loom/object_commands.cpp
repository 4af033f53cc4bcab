// SPDX-License-Identifier: MIT
// loom object: the notation of dynamic objects.
#include <cstdlib>

#include "console.h"
#include "families.h"
#include "file_content.h"
#include "loomkit/object/sequence_objects.h"
#include "object_json.h"

namespace loom {

namespace {

// Line and column, both counted from 1 and in bytes.
struct Place {
  std::size_t line = 1;
  std::size_t column = 1;
};

Place placeOf(const std::string& text, std::size_t offset) {
  Place place;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
    if (text[i] != '\n') continue;
    ++place.line;
    begin = i + 1;
  }
  place.column = offset - begin + 1;
  return place;
}

GRef2<GObject> parse(const Invocation& call, const std::string& text, GObjectError* error) {
  if (call.value("--from") == "json") {
    return objectOfJson(text, call.json() ? largestInJson : largestInNotation, error);
  }
  return gParseObject(text, error);
}

GRef2<GObject> readObject(const Invocation& call) {
  const std::string path = call.operand("FILE");
  const std::string text = contentOf(path);
  GObjectError error;
  GRef2<GObject> object = parse(call, text, &error);
  if (error.reason.empty()) return object;
  const Place place = placeOf(text, error.offset);
  throw Failure(ExitCode::damaged, path + ":" + std::to_string(place.line) + ":" +
                                       std::to_string(place.column) + ": " + error.reason);
}

// Breaks a sequence that does not fit a line into one line for each element. What
// is nested too deep would be mostly blanks, and stays on its line.
void format(GObject* object, std::size_t indent, std::string* text) {
  constexpr std::size_t width = 78;
  constexpr std::size_t deepest = 60;
  const std::string whole = GObject::formatCb(object);
  const auto* sequence = dynamic_cast<const GSequenceObj*>(object);
  if (sequence == nullptr || sequence->empty() || indent > deepest ||
      indent + whole.size() <= width) {
    *text += whole;
    return;
  }
  const bool list = whole.front() == '@';
  *text += list ? "@(" : "[";
  for (int i = 0; i < sequence->size(); ++i) {
    *text += (i == 0 ? "\n" : ",\n") + std::string(indent + 2, ' ');
    format(sequence->get(i), indent + 2, text);
  }
  *text += "\n" + std::string(indent, ' ') + (list ? ")" : "]");
}

void printObject(const Invocation& call, GObject* object) {
  if (call.json()) {
    JsonWriter json;
    writeJson(json, object);
    return;
  }
  std::string text;
  if (call.has("--compact")) {
    text = GObject::formatCb(object);
  } else {
    format(object, 0, &text);
  }
  printLine(text);
}

ExitCode reformat(const Invocation& call) {
  printObject(call, readObject(call));
  return ExitCode::done;
}

// With --json, what is wrong is the result: null, or the place and the reason.
ExitCode check(const Invocation& call) {
  if (!call.json()) {
    readObject(call);
    return ExitCode::done;
  }
  const std::string text = contentOf(call.operand("FILE"));
  GObjectError error;
  parse(call, text, &error);
  JsonWriter json;
  if (error.reason.empty()) {
    json.null();
    return ExitCode::done;
  }
  const Place place = placeOf(text, error.offset);
  json.beginObject().key("line").value(place.line).key("column").value(place.column);
  json.key("reason").value(error.reason).endObject();
  return ExitCode::damaged;
}

// The element at "2.0.1": of the third element, the first, the second.
ExitCode get(const Invocation& call) {
  const GRef2<GObject> root = readObject(call);
  GObject* object = root;
  const std::string path = call.operand("INDEX");
  for (const char* next = path.c_str();;) {
    char* end = nullptr;
    const long index = std::strtol(next, &end, 10);
    if (end == next || (*end != '.' && *end != '\0')) {
      throw Failure(ExitCode::usage, "not an index: " + path);
    }
    const auto* sequence = dynamic_cast<const GSequenceObj*>(object);
    if (sequence == nullptr || index < 0 || index >= sequence->size()) {
      complain("there is no element " + path);
      return ExitCode::no;
    }
    object = sequence->get(static_cast<int>(index));
    if (*end == '\0') break;
    next = end + 1;
  }
  printObject(call, object);
  return ExitCode::done;
}

constexpr Operand fileOperand = {.name = "FILE",
                                 .help = "A file with one object, or - for standard input.",
                                 .completes = Completes::files};
constexpr Operand fileOperands[] = {fileOperand};
constexpr Operand getOperands[] = {
    fileOperand, {.name = "INDEX", .help = "The place of an element, like 2 or 2.0.1."}};
constexpr Option fromOption = {.names = "--from",
                               .value = "FORMAT",
                               .help = "What the file holds; by default the notation.",
                               .choices = "notation|json"};
constexpr Option compactOption = {.names = "-c,--compact", .help = "Print one line."};
constexpr Option formatOptions[] = {compactOption, fromOption};
constexpr Option checkOptions[] = {fromOption};
constexpr ExitCodeMeaning readExits[] = {{ExitCode::cannotOpen, "there is no such file"},
                                         {ExitCode::damaged, "the file holds no object"}};
constexpr ExitCodeMeaning getExits[] = {{ExitCode::no, "there is no such element"},
                                        {ExitCode::cannotOpen, "there is no such file"},
                                        {ExitCode::damaged, "the file holds no object"}};

constexpr Command commands[] = {
    {.name = "fmt",
     .summary = "print an object, well set",
     .description = "Prints the object with a line for each element of what is too long for one "
                    "line. With --json it is printed as JSON, and --from json reads that back.",
     .options = formatOptions,
     .operands = fileOperands,
     .example = "$ echo '[1,@(2,\"x\") , NULL]' | loom object fmt -\n[1, @(2, \"x\"), NULL]\n"
                "$ echo '@([\"a\", 1], [\"b\", [true, NULL]])' | loom object fmt --json -\n"
                "{\"a\":1,\"b\":[true,null]}\n",
     .exits = readExits,
     .run = reformat},
    {.name = "check",
     .summary = "look for the first mistake",
     .description = "Says where the text stops being an object: file, line and column.",
     .options = checkOptions,
     .operands = fileOperands,
     .example = "$ printf '[1,\\n 2 3]' > a; loom object check a\n"
                "loom: a:2:4: ',' or ']' expected\n[exit 4]\n",
     .exits = readExits,
     .run = check},
    {.name = "get",
     .summary = "print an element",
     .description = "Prints the element at an index, or below it at further ones behind dots. "
                    "They count from 0.",
     .options = formatOptions,
     .operands = getOperands,
     .example = "$ echo '[1, [2, @x]]' | loom object get - 1.1\n@x\n",
     .exits = getExits,
     .run = get},
};

}  // namespace

const Family objectFamily = {
    .name = "object", .summary = "the notation of objects", .commands = commands};

}  // namespace loom
