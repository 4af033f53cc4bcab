// SPDX-License-Identifier: MIT
#include "loomkit/config/config_lines.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "loomkit/config/config_line.h"

namespace loomkit {
namespace {

// The size of a line without its line end.
std::size_t contentSize(const std::string& text) {
  std::size_t size = text.size();
  if (size > 0 && text[size - 1] == '\n') --size;
  if (size < text.size() && size > 0 && text[size - 1] == '\r') --size;
  return size;
}

std::uint32_t hashOf(ConfigLines::Index section, std::string_view key) {
  constexpr std::uint32_t spread = 0x9e3779b9;  // sections count up from 0
  return static_cast<std::uint32_t>(std::hash<std::string_view>()(key)) ^ section * spread;
}

}  // namespace

// --- Keys ----------------------------------------------------------------------

// Whether a line has the key.
auto ConfigLines::isKey(Index section, std::string_view key) const {
  return [this, section, key](Index line) {
    return lines[line].section == section && keyOf(line) == key;
  };
}

// --- Reading -----------------------------------------------------------------

bool ConfigLines::parse(std::string_view text, std::string* problem) {
  const auto count = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  lines.reserve(count);
  keys.reserve(count);
  Index section = sectionIndex("");
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t newLine = text.find('\n', begin);
    const std::size_t end = newLine == std::string_view::npos ? text.size() : newLine + 1;
    const Index line = makeLine(std::string(text.substr(begin, end - begin)), section);
    if (const char* error = parseLine(lines[line]); error != nullptr) {
      *problem = "line " + std::to_string(line + 1) + ": " + error;
      return false;
    }
    section = lines[line].section;
    link(file, &Line::inFile, file.last, line);
    enter(line);
    begin = end;
  }
  return true;
}

ConfigLines::Index ConfigLines::makeLine(std::string&& text, Index section) {
  Index line = static_cast<Index>(lines.size());
  if (removed.empty()) {
    lines.emplace_back();
  } else {
    line = removed.back();
    removed.pop_back();
    lines[line] = Line();
  }
  lines[line].text = std::move(text);
  lines[line].section = section;
  return line;
}

const char* ConfigLines::parseLine(Line& line) {
  const std::string_view content(line.text.data(), contentSize(line.text));
  const ConfigLine parsed = parseConfigLine(content);
  line.kind = parsed.kind;
  if (parsed.kind == ConfigLine::Header) {
    line.section = sectionIndex(sectionKey(parsed.name));
  } else if (parsed.kind == ConfigLine::Entry) {
    line.keyBegin = static_cast<std::size_t>(parsed.name.data() - content.data());
    line.keyEnd = line.keyBegin + parsed.name.size();
    // An empty value begins where the next one would be written.
    line.valueBegin = parsed.value.empty()
                          ? content.size()
                          : static_cast<std::size_t>(parsed.value.data() - content.data());
    line.valueEnd = line.valueBegin + parsed.value.size();
  }
  return parsed.error;
}

// Adds a line to its section and its key to the table. Requires: no other line of
// the section is behind it.
void ConfigLines::enter(Index at) {
  Line& line = lines[at];
  if (line.kind == ConfigLine::Other) return;
  List& section = sections[line.section].lines;
  link(section, &Line::inSection, section.last, at);
  if (line.kind == ConfigLine::Header) return;
  const std::string_view key = keyOf(at);
  line.older = keys.set(hashOf(line.section, key), at, isKey(line.section, key));
}

std::string ConfigLines::text() const {
  std::string all;
  for (Index line = file.first; line != none; line = next(line)) all += lines[line].text;
  return all;
}

std::size_t ConfigLines::numberOf(Index line) const {
  std::size_t number = 0;
  for (; line != none; line = lines[line].inFile.previous) ++number;
  return number;
}

std::string_view ConfigLines::keyOf(Index at) const {
  const Line& line = lines[at];
  return std::string_view(line.text).substr(line.keyBegin, line.keyEnd - line.keyBegin);
}

std::string_view ConfigLines::valueOf(Index at) const {
  const Line& line = lines[at];
  return std::string_view(line.text).substr(line.valueBegin, line.valueEnd - line.valueBegin);
}

// --- Sections ------------------------------------------------------------------

ConfigLines::Index ConfigLines::sectionIndex(const std::string& name) {
  const auto [found, isNew] = sectionsByName.try_emplace(name, static_cast<Index>(sections.size()));
  if (isNew) sections.push_back({name, {}});
  return found->second;
}

ConfigLines::Index ConfigLines::knownSection(const std::string& name) const {
  const auto found = sectionsByName.find(name);
  return found == sectionsByName.end() ? none : found->second;
}

bool ConfigLines::hasSection(const std::string& name) const {
  const Index section = knownSection(name);
  return section != none && sections[section].lines.first != none;
}

ConfigLines::Index ConfigLines::entryFrom(Index line) const {
  while (line != none && lines[line].kind != ConfigLine::Entry) line = lines[line].inSection.next;
  return line;
}

ConfigLines::Index ConfigLines::firstEntry(const std::string& name) const {
  const Index section = knownSection(name);
  return section == none ? none : entryFrom(sections[section].lines.first);
}

ConfigLines::Index ConfigLines::nextEntry(Index line) const {
  return entryFrom(lines[line].inSection.next);
}

ConfigLines::Index ConfigLines::find(const std::string& name, std::string_view key) const {
  const Index section = knownSection(name);
  if (section == none) return none;
  return keys.find(hashOf(section, key), isKey(section, key));
}

// --- Changing ------------------------------------------------------------------

void ConfigLines::link(List& list, Links Line::*links, Index before, Index line) {
  Links& own = lines[line].*links;
  own.previous = before;
  Index& from = before == none ? list.first : (lines[before].*links).next;
  own.next = from;
  from = line;
  Index& back = own.next == none ? list.last : (lines[own.next].*links).previous;
  back = line;
}

void ConfigLines::unlink(List& list, Links Line::*links, Index line) {
  const Links own = lines[line].*links;
  (own.previous == none ? list.first : (lines[own.previous].*links).next) = own.next;
  (own.next == none ? list.last : (lines[own.next].*links).previous) = own.previous;
}

void ConfigLines::setValue(Index at, const std::string& value) {
  Line& line = lines[at];
  line.text.replace(line.valueBegin, line.valueEnd - line.valueBegin, value);
  line.valueEnd = line.valueBegin + value.size();
}

// The line end of the first line, which new lines get as well.
std::string ConfigLines::lineEnd() const {
  if (file.first == none) return "\n";
  const std::string& first = lines[file.first].text;
  const std::string end = first.substr(contentSize(first));
  return end.empty() ? "\n" : end;
}

// Adds a line behind another one. When the last line of the file has no line end, it
// gets one, and the new line has none, so that the file ends as before.
void ConfigLines::insertBehind(Index before, const std::string& text) {
  const std::string end = lineEnd();
  std::string whole = text + end;
  Index section = sectionIndex("");
  if (before != none) {
    Line& last = lines[before];
    section = last.section;
    if (contentSize(last.text) == last.text.size()) {
      last.text += end;
      whole = text;
    }
  }
  const Index line = makeLine(std::move(whole), section);
  parseLine(lines[line]);
  link(file, &Line::inFile, before, line);
  enter(line);
}

ConfigLines::Index ConfigLines::endOfSection(const std::string& name) const {
  if (hasSection(name)) return sections[knownSection(name)].lines.last;
  Index line = file.first;
  while (line != none && lines[line].kind != ConfigLine::Header) line = next(line);
  return line == none ? file.last : lines[line].inFile.previous;
}

void ConfigLines::addSection(const std::string& name) {
  if (file.last != none && contentSize(lines[file.last].text) > 0) insertBehind(file.last, "");
  insertBehind(file.last, "[" + name + "]");
}

void ConfigLines::addEntry(const std::string& section, const std::string& key,
                           const std::string& value) {
  insertBehind(endOfSection(section), key + " = " + value);
}

void ConfigLines::removeKey(Index line) {
  const Index section = lines[line].section;
  const std::string_view key = keyOf(line);
  keys.erase(hashOf(section, key), isKey(section, key));
  while (line != none) {
    const Index older = lines[line].older;
    unlink(file, &Line::inFile, line);
    unlink(sections[section].lines, &Line::inSection, line);
    lines[line] = Line();
    removed.push_back(line);
    line = older;
  }
}

}  // namespace loomkit
