// SPDX-License-Identifier: MIT
// loom file: what the library says of paths on the disk.
#include <ctime>
#include <optional>

#include "console.h"
#include "families.h"
#include "json_writer.h"
#include "loomkit/streams/file.h"

namespace loom {

namespace {

// Prints one answer for each operand; what has none is complained about.
template <typename Answer>
ExitCode answerEach(const Invocation& call, const char* operand, ExitCode without, Answer answer) {
  ExitCode code = ExitCode::done;
  std::optional<JsonWriter> json;
  if (call.json()) json.emplace().beginArray();
  for (const std::string& text : call.operands(operand)) {
    const std::optional<std::string> result = answer(text);
    if (!result) {
      code = without;
    } else if (json) {
      json->beginObject().key("file").value(text).key("result").value(*result).endObject();
    } else {
      printLine(shown(*result));
    }
  }
  if (json) json->endArray();
  return code;
}

ExitCode real(const Invocation& call) {
  return answerEach(call, "PATH", ExitCode::cannotOpen,
                    [](const std::string& path) -> std::optional<std::string> {
                      GFile file(path);
                      if (!file.exists()) {
                        complain("there is no " + path);
                        return std::nullopt;
                      }
                      return file.getRealPath();
                    });
}

ExitCode url(const Invocation& call) {
  return answerEach(call, "PATH", ExitCode::done, [](const std::string& path) {
    return std::optional<std::string>(GFile(path).getURL());
  });
}

ExitCode path(const Invocation& call) {
  return answerEach(call, "URL", ExitCode::no,
                    [](const std::string& text) -> std::optional<std::string> {
                      const std::string result = GFile::pathFromURL(text);
                      if (!result.empty()) return result;
                      complain("not the URL of a file: " + text);
                      return std::nullopt;
                    });
}

ExitCode time(const Invocation& call) {
  return answerEach(call, "PATH", ExitCode::cannotOpen,
                    [](const std::string& name) -> std::optional<std::string> {
                      GFile file(name);
                      const std::time_t changed = file.getModTime();
                      std::tm parts{};
                      if (!file.exists() || gmtime_r(&changed, &parts) == nullptr) {
                        complain("there is no " + name);
                        return std::nullopt;
                      }
                      char text[40];
                      std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
                      return text;
                    });
}

constexpr Operand pathOperands[] = {
    {.name = "PATH", .help = "A path.", .most = many, .completes = Completes::files}};
constexpr Operand urlOperands[] = {{.name = "URL", .help = "A file: URL.", .most = many}};
constexpr ExitCodeMeaning missingExits[] = {{ExitCode::cannotOpen, "there is no such file"}};
constexpr ExitCodeMeaning urlExits[] = {{ExitCode::no, "a text is not the URL of a file"}};

constexpr Command commands[] = {
    {.name = "real",
     .summary = "print the absolute paths of files",
     .description = "Prints the absolute path of each file, without . and .. components.",
     .operands = pathOperands,
     .example = "$ loom file real /usr/../etc/./passwd\n/etc/passwd\n",
     .exits = missingExits,
     .run = real},
    {.name = "url",
     .summary = "print the file: URLs of paths",
     .description = "Prints the URL of each path. The files need not exist.",
     .operands = pathOperands,
     .example = "$ loom file url '/tmp/two words'\nfile:///tmp/two%20words\n",
     .run = url},
    {.name = "path",
     .summary = "print the paths of file: URLs",
     .description = "Prints the path that each URL stands for.",
     .operands = urlOperands,
     .example = "$ loom file path file:///tmp/two%20words\n/tmp/two words\n",
     .exits = urlExits,
     .run = path},
    {.name = "time",
     .summary = "print when files were last changed",
     .description = "Prints the time of the last change of each file, in UTC (ISO 8601).",
     .operands = pathOperands,
     .example = "$ touch -d '2026-01-02 03:04:05 UTC' a; loom file time a\n2026-01-02T03:04:05Z\n",
     .exits = missingExits,
     .run = time},
};

}  // namespace

const Family fileFamily = {
    .name = "file", .summary = "real paths, URLs and times of files", .commands = commands};

}  // namespace loom
