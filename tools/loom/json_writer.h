// SPDX-License-Identifier: MIT
// JsonWriter: prints one JSON document as it is made, without holding it.
#ifndef LOOM_JSON_WRITER_H
#define LOOM_JSON_WRITER_H

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace loom {

/// Prints a JSON document (RFC 8259) to standard output piece by piece. The
/// caller opens and closes objects and arrays; commas and line ends are the
/// writer's affair. Nothing recurses, so any depth can be written. Bytes that
/// are not UTF-8 are written as U+FFFD, one for each.
///
///   JsonWriter json;
///   json.beginArray().beginObject().key("name").value("a").endObject().endArray();
///
/// Each element of the outermost array stands on a line of its own.
class JsonWriter {
 public:
  /// Receives the text; by default loom's standard output.
  using Sink = void (*)(std::string_view);
  JsonWriter();
  explicit JsonWriter(Sink textSink) : sink(textSink) {}
  JsonWriter(const JsonWriter&) = delete;
  JsonWriter& operator=(const JsonWriter&) = delete;
  /// Closes what is still open, so that a command that fails midway leaves a document
  /// that its reader can parse; the exit code tells that it is not all.
  ~JsonWriter();

  JsonWriter& beginObject() { return begin('{'); }
  JsonWriter& endObject() { return end('}'); }
  JsonWriter& beginArray() { return begin('['); }
  JsonWriter& endArray() { return end(']'); }
  JsonWriter& key(std::string_view name);

  JsonWriter& value(std::string_view text);
  JsonWriter& value(const char* text) { return value(std::string_view(text)); }
  JsonWriter& value(const std::string& text) { return value(std::string_view(text)); }
  /// The shortest text that reads back as the same double. JSON has no
  /// infinities and no NaN: they become the strings "inf", "-inf" and "nan".
  JsonWriter& value(double number);
  JsonWriter& value(bool truth) { return raw(truth ? "true" : "false"); }
  template <std::integral Integer>
  JsonWriter& value(Integer number) {
    return raw(std::to_string(number));
  }
  JsonWriter& null() { return raw("null"); }

 private:
  JsonWriter& begin(char bracket);
  JsonWriter& end(char bracket);
  JsonWriter& raw(std::string_view text);
  void separate();
  void put(std::string_view text);

  Sink sink;
  std::vector<bool> used;  // one flag for each open bracket: has it an element?
  std::string closing;     // the brackets that close them, the innermost last
  bool afterKey = false;
  bool broken = false;  // the sink has failed
  bool outermostIsArray = false;
};

/// The text as a JSON string, with its quotes.
[[nodiscard]] std::string jsonString(std::string_view text);

}  // namespace loom

#endif  // LOOM_JSON_WRITER_H
