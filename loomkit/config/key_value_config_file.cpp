// SPDX-License-Identifier: MIT
#include "loomkit/config/key_value_config_file.h"

#include <algorithm>
#include <memory>
#include <unordered_set>

#include "loomkit/config/config_line.h"
#include "loomkit/config/config_lines.h"
#include "loomkit/config/config_section_base.h"
#include "loomkit/streams/atomic_file.h"
#include "loomkit/streams/file.h"
#include "loomkit/text/pattern.h"

using namespace loomkit;

namespace {

constexpr char utf8Mark[] = "\xef\xbb\xbf";

bool matches(const std::string& pattern, const std::string& text) {
  return gPatternMatch(pattern.c_str(), text.c_str(), false, false, false);
}

// Null if the text is a value of the type; otherwise a text that says what is wrong.
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

// Whether a line "key=value" would be read back as this key and this value.
bool canBeWritten(const std::string& key, const std::string& value) {
  if ((key + value).find('\n') != std::string::npos) return false;
  const std::string text = key + "=" + value;
  const ConfigLine line = parseConfigLine(text);
  return line.kind == ConfigLine::Entry && line.name == key && line.value == value;
}

// Whether a header of this name would be read back as the same name.
bool canBeSection(const std::string& section) {
  if (section.empty()) return true;
  const std::string text = "[" + section + "]";
  const ConfigLine line = parseConfigLine(text);
  return section.find('\n') == std::string::npos && line.kind == ConfigLine::Header &&
         line.name == section;
}

}  // namespace

GKeyValueConfigFile::GKeyValueConfigFile() : lines(std::make_unique<ConfigLines>()) {}

GKeyValueConfigFile::GKeyValueConfigFile(const GKeyValueConfigFile& other)
    : name(other.name),
      errMsg(other.errMsg),
      byteOrderMark(other.byteOrderMark),
      lines(std::make_unique<ConfigLines>(*other.lines)) {}

GKeyValueConfigFile& GKeyValueConfigFile::operator=(const GKeyValueConfigFile& other) {
  if (this == &other) return *this;
  auto copy = std::make_unique<ConfigLines>(*other.lines);
  name = other.name;
  errMsg = other.errMsg;
  byteOrderMark = other.byteOrderMark;
  lines = std::move(copy);
  return *this;
}

GKeyValueConfigFile::~GKeyValueConfigFile() = default;

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
  const bool marked = text.compare(0, 3, utf8Mark) == 0;
  auto parsed = std::make_unique<ConfigLines>();
  std::string problem;
  if (!parsed->parse(std::string_view(text).substr(marked ? 3 : 0), &problem)) {
    errMsg = fileName + ": " + problem;
    return false;
  }
  name = fileName;
  byteOrderMark = marked ? utf8Mark : "";
  lines = std::move(parsed);
  return true;
}

// --- Saving ----------------------------------------------------------------

std::string GKeyValueConfigFile::getText() const { return byteOrderMark + lines->text(); }

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
  for (auto line = lines->first(); line != ConfigLines::none; line = lines->next(line)) {
    if (lines->kindOf(line) != ConfigLine::Header) continue;
    const std::string& section = lines->sectionOf(line);
    if (seen.insert(section).second) found.push_back(section);
  }
  return found;
}

std::vector<std::string> GKeyValueConfigFile::getKeys(const std::string& section) const {
  std::vector<std::string> found;
  std::unordered_set<std::string_view> seen;
  for (auto line = lines->firstEntry(sectionKey(section)); line != ConfigLines::none;
       line = lines->nextEntry(line)) {
    if (seen.insert(lines->keyOf(line)).second) found.emplace_back(lines->keyOf(line));
  }
  return found;
}

bool GKeyValueConfigFile::has(const std::string& section, const std::string& key) const {
  return lines->find(sectionKey(section), key) != ConfigLines::none;
}

bool GKeyValueConfigFile::get(const std::string& section, const std::string& key,
                              std::string* value) {
  const auto line = lines->find(sectionKey(section), key);
  if (line == ConfigLines::none) return fail(name + ": there is no key " + key);
  *value = lines->valueOf(line);
  return true;
}

template <typename Value>
bool GKeyValueConfigFile::getValue(const std::string& section, const std::string& key,
                                   Value* value) {
  std::string text;
  if (!get(section, key, &text)) return false;
  const char* error = parseConfigValue(text, value);
  if (error == nullptr) return true;
  const std::size_t number = lines->numberOf(lines->find(sectionKey(section), key));
  return fail(messageAt(number, key + ": " + error));
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
  std::size_t number = 0;
  for (auto line = lines->first(); line != ConfigLines::none; line = lines->next(line)) {
    ++number;
    if (lines->kindOf(line) != ConfigLine::Entry) continue;
    const std::string key(lines->keyOf(line));
    const auto rule = std::find_if(rules.begin(), rules.end(), [&](const Rule& r) {
      return matches(sectionKey(r.section), lines->sectionOf(line)) && matches(r.key, key);
    });
    if (rule == rules.end()) {
      problems.push_back(messageAt(number, "unknown key: " + key));
      continue;
    }
    const char* error = checkType(rule->type, std::string(lines->valueOf(line)));
    if (error != nullptr) problems.push_back(messageAt(number, key + ": " + error));
  }
  return problems;
}

std::string GKeyValueConfigFile::messageAt(std::size_t lineNumber, const std::string& text) const {
  return name + ": line " + std::to_string(lineNumber) + ": " + text;
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
  const std::string wanted = sectionKey(section);
  const auto line = lines->find(wanted, key);
  if (line != ConfigLines::none) {
    lines->setValue(line, value);
    return true;
  }
  if (!wanted.empty() && !lines->hasSection(wanted)) lines->addSection(section);
  lines->addEntry(wanted, key, value);
  return true;
}

bool GKeyValueConfigFile::unset(const std::string& section, const std::string& key) {
  const auto line = lines->find(sectionKey(section), key);
  if (line == ConfigLines::none) return fail(name + ": there is no key " + key);
  lines->removeKey(line);
  return true;
}
