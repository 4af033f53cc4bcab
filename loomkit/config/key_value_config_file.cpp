// SPDX-License-Identifier: MIT
#include "loomkit/config/key_value_config_file.h"

#include <algorithm>
#include <memory>
#include <unordered_set>

#include "loomkit/config/config_line.h"
#include "loomkit/config/config_section_base.h"
#include "loomkit/streams/atomic_file.h"
#include "loomkit/streams/file.h"
#include "loomkit/text/pattern.h"

using namespace loomkit;

namespace {

constexpr char utf8Mark[] = "\xef\xbb\xbf";

std::string indexKey(const std::string& section, const std::string& key) {
  return section + '\0' + key;
}

// Where the line's content ends and its line end begins.
std::size_t contentSize(const std::string& text) {
  std::size_t size = text.size();
  if (size > 0 && text[size - 1] == '\n') --size;
  if (size < text.size() && size > 0 && text[size - 1] == '\r') --size;
  return size;
}

bool matches(const std::string& pattern, const std::string& text) {
  return gPatternMatch(pattern.c_str(), text.c_str(), false, false, false);
}

// Null if the text is a value of the type, else what is wrong.
const char* checkType(GKeyValueConfigFile::Type type, const std::string& text) {
  bool truth = false;
  int number = 0;
  double real = 0;
  switch (type) {
    case GKeyValueConfigFile::Bool:
      return parseConfigValue(text, &truth);
    case GKeyValueConfigFile::Int:
      return parseConfigValue(text, &number);
    case GKeyValueConfigFile::Double:
      return parseConfigValue(text, &real);
    default:
      return nullptr;
  }
}

// True if "key=value" is read back as the two.
bool canBeWritten(const std::string& key, const std::string& value) {
  if ((key + value).find('\n') != std::string::npos) return false;
  const std::string text = key + "=" + value;
  const ConfigLine line = parseConfigLine(text);
  return line.kind == ConfigLine::Key && line.name == key && line.value == value;
}

bool canBeSection(const std::string& section) {
  if (section.empty()) return true;
  const std::string text = "[" + section + "]";
  const ConfigLine line = parseConfigLine(text);
  return section.find('\n') == std::string::npos && line.kind == ConfigLine::Section &&
         line.name == section;
}

}  // namespace

// --- Loading ---------------------------------------------------------------

bool GKeyValueConfigFile::load(const std::string& fileName) {
  const std::unique_ptr<std::istream> stream(GFile(fileName).getInStream(true));
  if (stream != nullptr) return load(fileName, stream.get());
  errMsg = fileName + ": can't open for reading";
  return false;
}

bool GKeyValueConfigFile::load(const std::string& fileName, std::istream* stream) {
  std::string text;
  char block[65536];
  while (stream->read(block, sizeof block) || stream->gcount() > 0) {
    text.append(block, static_cast<std::size_t>(stream->gcount()));
  }
  if (stream->bad()) {
    errMsg = fileName + ": read error";
    return false;
  }
  std::string mark;
  if (text.compare(0, 3, utf8Mark) == 0) {
    mark = utf8Mark;
    text.erase(0, 3);
  }
  Lines parsed;
  if (!parseText(text, &parsed)) {
    errMsg = fileName + ": " + errMsg;
    return false;
  }
  name = fileName;
  byteOrderMark = mark;
  lines = std::move(parsed);
  index();
  return true;
}

bool GKeyValueConfigFile::parseText(const std::string& text, Lines* parsed) {
  parsed->reserve(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1);
  std::string section;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t newLine = text.find('\n', begin);
    const std::size_t end = newLine == std::string::npos ? text.size() : newLine + 1;
    Line line;
    line.text.assign(text, begin, end - begin);
    const char* error = nullptr;
    if (!parseLine(line, &section, &error)) {
      return fail("line " + std::to_string(parsed->size() + 1) + ": " + error);
    }
    parsed->push_back(std::move(line));
    begin = end;
  }
  return true;
}

bool GKeyValueConfigFile::parseLine(Line& line, std::string* section, const char** error) {
  const std::string_view content(line.text.data(), contentSize(line.text));
  const ConfigLine parsed = parseConfigLine(content);
  *error = parsed.error;
  if (parsed.kind == ConfigLine::Section) {
    line.kind = Header;
    *section = sectionKey(parsed.name);
  } else if (parsed.kind == ConfigLine::Key) {
    line.kind = Entry;
    line.key = parsed.name;
    // An empty value begins where the next one would be written.
    line.valueBegin = parsed.value.empty()
                          ? content.size()
                          : static_cast<std::size_t>(parsed.value.data() - content.data());
    line.valueEnd = line.valueBegin + parsed.value.size();
  }
  line.section = *section;
  return parsed.kind != ConfigLine::Wrong;
}

void GKeyValueConfigFile::index() {
  lastLine.clear();
  lastLine.reserve(lines.size());
  sections.clear();
  for (std::size_t i = 0; i < lines.size(); ++i) indexLine(i);
}

// Requires: the lines before it are in the index, those behind it are not.
void GKeyValueConfigFile::indexLine(std::size_t at) {
  const Line& line = lines[at];
  if (line.kind == Other) return;
  Section& section = sections[line.section];
  section.end = at + 1;
  if (line.kind == Header) return;
  section.entries.push_back(at);
  lastLine[indexKey(line.section, line.key)] = at;
}

// --- Saving ----------------------------------------------------------------

std::string GKeyValueConfigFile::getText() const {
  std::string text = byteOrderMark;
  for (const Line& line : lines) text += line.text;
  return text;
}

bool GKeyValueConfigFile::save() { return save(name); }

bool GKeyValueConfigFile::save(const std::string& fileName) {
  GAtomicFile file(fileName);
  file.out() << getText();
  if (!file.commit()) return fail(file.getErrMsg());
  name = fileName;
  return true;
}

// --- Asking ----------------------------------------------------------------

std::vector<std::string> GKeyValueConfigFile::getSections() const {
  std::vector<std::string> found;
  std::unordered_set<std::string> seen;
  for (const Line& line : lines) {
    if (line.kind == Header && seen.insert(line.section).second) found.push_back(line.section);
  }
  return found;
}

std::vector<std::string> GKeyValueConfigFile::getKeys(const std::string& section) const {
  std::vector<std::string> found;
  const auto wanted = sections.find(sectionKey(section));
  if (wanted == sections.end()) return found;
  std::unordered_set<std::string> seen;
  for (const std::size_t at : wanted->second.entries) {
    if (seen.insert(lines[at].key).second) found.push_back(lines[at].key);
  }
  return found;
}

const GKeyValueConfigFile::Line* GKeyValueConfigFile::find(const std::string& section,
                                                           const std::string& key) const {
  const auto found = lastLine.find(indexKey(sectionKey(section), key));
  return found == lastLine.end() ? nullptr : &lines[found->second];
}

bool GKeyValueConfigFile::has(const std::string& section, const std::string& key) const {
  return find(section, key) != nullptr;
}

bool GKeyValueConfigFile::get(const std::string& section, const std::string& key,
                              std::string* value) {
  const Line* line = find(section, key);
  if (line == nullptr) return fail(name + ": there is no key " + key);
  *value = line->text.substr(line->valueBegin, line->valueEnd - line->valueBegin);
  return true;
}

template <typename Value>
bool GKeyValueConfigFile::getValue(const std::string& section, const std::string& key,
                                   Value* value) {
  std::string text;
  if (!get(section, key, &text)) return false;
  const char* error = parseConfigValue(text, value);
  return error == nullptr || fail(messageAt(*find(section, key), key + ": " + error));
}

bool GKeyValueConfigFile::get(const std::string& section, const std::string& key, bool* value) {
  return getValue(section, key, value);
}
bool GKeyValueConfigFile::get(const std::string& section, const std::string& key, int* value) {
  return getValue(section, key, value);
}
bool GKeyValueConfigFile::get(const std::string& section, const std::string& key, double* value) {
  return getValue(section, key, value);
}

std::vector<std::string> GKeyValueConfigFile::check(const std::vector<Rule>& rules) const {
  std::vector<std::string> problems;
  for (const Line& line : lines) {
    if (line.kind != Entry) continue;
    const auto rule = std::find_if(rules.begin(), rules.end(), [&line](const Rule& r) {
      return matches(sectionKey(r.section), line.section) && matches(r.key, line.key);
    });
    if (rule == rules.end()) {
      problems.push_back(messageAt(line, "unknown key: " + line.key));
      continue;
    }
    const char* error =
        checkType(rule->type, line.text.substr(line.valueBegin, line.valueEnd - line.valueBegin));
    if (error != nullptr) problems.push_back(messageAt(line, line.key + ": " + error));
  }
  return problems;
}

std::string GKeyValueConfigFile::messageAt(const Line& line, const std::string& text) const {
  return name + ": line " + std::to_string(&line - lines.data() + 1) + ": " + text;
}

bool GKeyValueConfigFile::fail(const std::string& text) {
  errMsg = text;
  return false;
}

// --- Changing --------------------------------------------------------------

bool GKeyValueConfigFile::set(const std::string& section, const std::string& key,
                              const std::string& value) {
  if (!canBeSection(section)) return fail(name + ": not a name for a section: " + section);
  if (!canBeWritten(key, value)) {
    return fail(name + ": not a key and a value of one line: " + key + "=" + value);
  }
  const auto found = lastLine.find(indexKey(sectionKey(section), key));
  if (found != lastLine.end()) {
    Line& line = lines[found->second];
    line.text.replace(line.valueBegin, line.valueEnd - line.valueBegin, value);
    line.valueEnd = line.valueBegin + value.size();
    return true;
  }
  const std::string wanted = sectionKey(section);
  if (!wanted.empty() && sections.count(wanted) == 0) addSection(section);
  insertLine(endOfSection(wanted), key + " = " + value);
  return true;
}

bool GKeyValueConfigFile::unset(const std::string& section, const std::string& key) {
  if (!has(section, key)) return fail(name + ": there is no key " + key);
  const std::string wanted = sectionKey(section);
  lines.erase(std::remove_if(lines.begin(), lines.end(),
                             [&](const Line& line) {
                               return line.kind == Entry && line.section == wanted &&
                                      line.key == key;
                             }),
              lines.end());
  index();
  return true;
}

// Behind the last key of the section, or its header; at the top, in front of
// the first header when there are no keys.
std::size_t GKeyValueConfigFile::endOfSection(const std::string& section) const {
  const auto found = sections.find(section);
  if (found != sections.end()) return found->second.end;
  const auto header = std::find_if(lines.begin(), lines.end(),
                                   [](const Line& line) { return line.kind == Header; });
  return static_cast<std::size_t>(header - lines.begin());
}

// The first line end of the file counts for new lines.
std::string GKeyValueConfigFile::lineEnd() const {
  if (lines.empty()) return "\n";
  const std::string& first = lines.front().text;
  const std::string end = first.substr(contentSize(first));
  return end.empty() ? "\n" : end;
}

// A last line without an end gets one, and hands its lack of one on.
void GKeyValueConfigFile::insertLine(std::size_t at, const std::string& text) {
  const std::string end = lineEnd();
  Line line;
  line.text = text + end;
  if (at > 0 && contentSize(lines[at - 1].text) == lines[at - 1].text.size()) {
    lines[at - 1].text += end;
    line.text = text;
  }
  std::string section = at == 0 ? std::string() : lines[at - 1].section;
  const char* error = nullptr;
  parseLine(line, &section, &error);
  lines.insert(lines.begin() + static_cast<Lines::difference_type>(at), std::move(line));
  // At the end nothing else moves.
  if (at + 1 == lines.size()) {
    indexLine(at);
  } else {
    index();
  }
}

void GKeyValueConfigFile::addSection(const std::string& section) {
  if (!lines.empty() && contentSize(lines.back().text) > 0) insertLine(lines.size(), "");
  insertLine(lines.size(), "[" + section + "]");
}
