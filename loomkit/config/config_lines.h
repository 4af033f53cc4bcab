// SPDX-License-Identifier: MIT
// ConfigLines: the lines of a configuration file in their order, which are found
// by section and key. Private to the folder.
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

/// Every change costs the same, however many lines there are. A line is named by
/// its index, which stays until the line is removed. Sections are named in lower
/// case; "" is what stands before the first header.
class ConfigLines {
 public:
  using Index = LineTable::Index;
  static constexpr Index none = LineTable::none;

  /// Takes the text apart. False, with "line N: REASON", when a line is wrong;
  /// requires that nothing is here yet.
  bool parse(std::string_view text, std::string* problem);

  /// All lines as they are.
  [[nodiscard]] std::string text() const;

  /// The lines in the order of the file, up to `none`.
  [[nodiscard]] Index first() const { return file.first; }
  [[nodiscard]] Index next(Index line) const { return lines[line].inFile.next; }
  /// Counted from 1. Takes a walk.
  [[nodiscard]] std::size_t numberOf(Index line) const;

  [[nodiscard]] ConfigLine::Kind kindOf(Index line) const { return lines[line].kind; }
  [[nodiscard]] const std::string& sectionOf(Index line) const {
    return sections[lines[line].section].name;
  }
  /// Of an entry; both are good until the next change.
  [[nodiscard]] std::string_view keyOf(Index line) const;
  [[nodiscard]] std::string_view valueOf(Index line) const;

  /// The last entry of the key, which counts; `none` when there is none.
  [[nodiscard]] Index find(const std::string& section, std::string_view key) const;
  /// The entries of a section in their order: the first one, and the next.
  [[nodiscard]] Index firstEntry(const std::string& section) const;
  [[nodiscard]] Index nextEntry(Index line) const;

  /// Whether the section has a line of its own.
  [[nodiscard]] bool hasSection(const std::string& section) const;

  void setValue(Index line, const std::string& value);
  /// Adds "[NAME]" at the end, behind a blank line.
  void addSection(const std::string& name);
  /// Adds a line "key = value" behind the section's last; at the top, in front
  /// of the first header, when "" has none.
  void addEntry(const std::string& section, const std::string& key, const std::string& value);
  /// Removes this entry and all before it with its key.
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
    Links inSection;  // among its headers and entries
    Index older = none;
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
