// SPDX-License-Identifier: MIT
// ConfigLines: the lines of a configuration file, in their order and by section and
// key. Private to the folder.
#ifndef LOOMKIT_CONFIG_CONFIG_LINES_H
#define LOOMKIT_CONFIG_CONFIG_LINES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "loomkit/config/config_line.h"
#include "loomkit/config/line_table.h"

namespace loomkit {

/// A line editor. Finding, adding, changing and removing a line takes the same time
/// however many lines there are. A line is named by its index, which is valid until
/// the line is removed. Sections are named in lower case; "" names what stands
/// before the first header.
class ConfigLines {
 public:
  using Index = LineTable::Index;
  static constexpr Index none = LineTable::none;

  /// Takes the text apart into lines. When one of them is wrong, stores "line N:
  /// REASON" in `*problem` and returns false. Requires: there is no line yet.
  bool parse(std::string_view text, std::string* problem);

  /// All lines, joined.
  [[nodiscard]] std::string text() const;

  /// The first line of the file, or `none`.
  [[nodiscard]] Index first() const { return file.first; }
  /// The line behind this one, or `none`.
  [[nodiscard]] Index next(Index line) const { return lines[line].inFile.next; }
  /// The number of the line in the file, counted from 1. It takes a walk through
  /// all lines before it.
  [[nodiscard]] std::size_t numberOf(Index line) const;

  [[nodiscard]] ConfigLine::Kind kindOf(Index line) const { return lines[line].kind; }
  [[nodiscard]] const std::string& sectionOf(Index line) const {
    return sections[lines[line].section].name;
  }
  /// The key and the value of an entry; both are valid until the next change.
  [[nodiscard]] std::string_view keyOf(Index line) const;
  [[nodiscard]] std::string_view valueOf(Index line) const;

  /// The last entry of a key, which is the one that counts, or `none`.
  [[nodiscard]] Index find(const std::string& section, std::string_view key) const;
  /// The first entry of a section, and the next one in the same section, or `none`.
  [[nodiscard]] Index firstEntry(const std::string& section) const;
  [[nodiscard]] Index nextEntry(Index line) const;

  /// Whether the section has a line of its own.
  [[nodiscard]] bool hasSection(const std::string& section) const;

  void setValue(Index line, const std::string& value);
  /// Adds the header "[NAME]" at the end of the file, behind a blank line.
  void addSection(const std::string& name);
  /// Adds the line "key = value" behind the last line of its section, or in front
  /// of the first header for the section "".
  void addEntry(const std::string& section, const std::string& key, const std::string& value);
  /// Removes all entries of a key. Requires: `line` is the one that find() gives.
  void removeKey(Index line);

 private:
  // A place in a list of lines.
  struct Links {
    Index previous = none;
    Index next = none;
  };
  struct List {
    Index first = none;
    Index last = none;
  };
  struct Line {
    std::string text;  // with its line end
    std::size_t keyBegin = 0;
    std::size_t keyEnd = 0;
    std::size_t valueBegin = 0;
    std::size_t valueEnd = 0;
    Links inFile;
    Links inSection;     // among the headers and entries of its section
    Index older = none;  // the entry before this one that has the same key
    Index section = 0;
    ConfigLine::Kind kind = ConfigLine::Other;
  };
  struct Section {
    std::string name;
    List lines;
  };

  // Gives the reason when the line is wrong.
  const char* parseLine(Line& line);
  Index makeLine(std::string&& text, Index section);
  void insertBehind(Index before, const std::string& text);
  void enter(Index line);
  void link(List& list, Links Line::*links, Index before, Index line);
  void unlink(List& list, Links Line::*links, Index line);

  Index sectionIndex(const std::string& name);
  [[nodiscard]] Index knownSection(const std::string& name) const;
  [[nodiscard]] Index endOfSection(const std::string& section) const;
  [[nodiscard]] Index entryFrom(Index line) const;
  [[nodiscard]] std::string lineEnd() const;

  [[nodiscard]] auto isKey(Index section, std::string_view key) const;

  std::vector<Line> lines;
  std::vector<Index> removed;  // of `lines`, to be used again
  List file;
  std::vector<Section> sections;
  std::unordered_map<std::string, Index> sectionsByName;
  LineTable keys;  // the last line of each key
};

}  // namespace loomkit

#endif  // LOOMKIT_CONFIG_CONFIG_LINES_H
