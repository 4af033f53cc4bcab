// SPDX-License-Identifier: MIT
#include "loomkit/config/config_file_base.h"

#include <memory>
#include <utility>

#include "loomkit/config/config_file.h"
#include "loomkit/config/config_line.h"
#include "loomkit/config/writeable_config_file.h"
#include "loomkit/streams/file.h"

namespace loomkit {

template <typename File, typename Section>
ConfigFileBase<File, Section>::ConfigFileBase() = default;
template <typename File, typename Section>
ConfigFileBase<File, Section>::ConfigFileBase(const ConfigFileBase&) = default;
template <typename File, typename Section>
ConfigFileBase<File, Section>& ConfigFileBase<File, Section>::operator=(const ConfigFileBase&) =
    default;

template <typename File, typename Section>
ConfigFileBase<File, Section>::~ConfigFileBase() {
  for (const Section* section : sections) delete section;
}

// Short as these are, they are not in the header: a DLL would not hand out what is, and a
// host that is compiled without optimisation asks for it.
template <typename File, typename Section>
const std::string& ConfigFileBase<File, Section>::getName() const {
  return loadedName;
}
template <typename File, typename Section>
const std::string& ConfigFileBase<File, Section>::getErrMsg() const {
  return errMsg;
}
template <typename File, typename Section>
const std::vector<Section*>& ConfigFileBase<File, Section>::getSections() const {
  return sections;
}
template <typename File, typename Section>
int ConfigFileBase<File, Section>::getLineNumber() const {
  return lineNumber;
}
template <typename File, typename Section>
Section* ConfigFileBase<File, Section>::getCurrentSection() const {
  return currentSection;
}
template <typename File, typename Section>
void ConfigFileBase<File, Section>::setCurrentSection(Section* section) {
  currentSection = section;
}
template <typename File, typename Section>
void ConfigFileBase<File, Section>::setName(const std::string& fileName) {
  loadedName = fileName;
}

template <typename File, typename Section>
bool ConfigFileBase<File, Section>::load(const std::string& fileName) {
  loadedName = fileName;
  std::unique_ptr<std::istream> stream(GFile(loadedName).getInStream(false));
  if (stream == nullptr) return setErrMsg("can't open for reading");
  return loadOpened(std::move(stream));
}

template <typename File, typename Section>
bool ConfigFileBase<File, Section>::load(const std::string& fileName, std::istream* stream) {
  loadedName = fileName;
  const bool ok = loadLines(*stream);
  finishedLoading(ok);
  return ok;
}

template <typename File, typename Section>
bool ConfigFileBase<File, Section>::load(const std::string& directory1,
                                         const std::string& directory2,
                                         const std::string& fileName) {
  // All arguments are read first, as each of them may be the name that is replaced.
  std::string paths[] = {directory1, directory2};
  for (std::string& path : paths) path.append("/").append(fileName);
  for (const std::string& path : paths) {
    loadedName = path;
    std::unique_ptr<std::istream> stream(GFile(loadedName).getInStream(false));
    if (stream != nullptr) return loadOpened(std::move(stream));
  }
  return setErrMsg("can't open for reading");
}

template <typename File, typename Section>
Section* ConfigFileBase<File, Section>::getSection(const std::string& sectionName) const {
  const auto found = sectionsByName.find(sectionName);
  return found == sectionsByName.end() ? nullptr : found->second;
}

template <typename File, typename Section>
void ConfigFileBase<File, Section>::finishedLoading(bool /*ok*/) {}

template <typename File, typename Section>
void ConfigFileBase<File, Section>::addSection(Section* section) {
  std::unique_ptr<Section> owner(section);
  sections.push_back(section);
  static_cast<void>(owner.release());
  sectionsByName.emplace(sectionKey(section->getSectionName()), section);
}

// The number of the line is that of the last load, even in the message of a failure
// that concerns no line, such as one to open or to save a file. Tools that read
// these messages know it.
template <typename File, typename Section>
bool ConfigFileBase<File, Section>::setErrMsg(const std::string& msg) {
  std::string text;  // `msg` may be the old message
  if (!loadedName.empty()) text += loadedName + ": ";
  if (lineNumber != 0) text += "line " + std::to_string(lineNumber) + ": ";
  errMsg = text + msg;
  return false;
}

// The file is closed before finishedLoading() is called, which may write or move it.
template <typename File, typename Section>
bool ConfigFileBase<File, Section>::loadOpened(std::unique_ptr<std::istream> stream) {
  const bool ok = loadLines(*stream);
  stream.reset();
  finishedLoading(ok);
  return ok;
}

template <typename File, typename Section>
bool ConfigFileBase<File, Section>::loadLines(std::istream& stream) {
  lineNumber = 0;
  std::string line;
  while (std::getline(stream, line)) {
    ++lineNumber;
    if (!takeLine(line)) return false;
  }
  return !stream.bad() || setErrMsg("read error");
}

template <typename File, typename Section>
bool ConfigFileBase<File, Section>::takeLine(const std::string& line) {
  const ConfigLine parsed = parseConfigLine(line);
  switch (parsed.kind) {
    case ConfigLine::Other:
      static_cast<File*>(this)->takeOtherLine(line);
      return true;
    case ConfigLine::Header:
      return enterSection(sectionKey(parsed.name));
    case ConfigLine::Entry:
      break;
    default:
      return setErrMsg(parsed.error);
  }
  const std::string key(parsed.name);
  const std::string value(parsed.value);
  if (currentSection == nullptr) return newKeyValue(key, value);
  return currentSection->newKeyValue(key, value) || setErrMsg(currentSection->getErrMsg());
}

template <typename File, typename Section>
bool ConfigFileBase<File, Section>::enterSection(const std::string& sectionName) {
  currentSection = getSection(sectionName);
  if (currentSection != nullptr) return true;
  std::unique_ptr<Section> made(newSection(sectionName));
  if (made == nullptr) return setErrMsg("unknown section name");
  sections.push_back(made.get());
  currentSection = made.release();
  // The section is found under the name in its header, whatever it calls itself.
  sectionsByName[sectionName] = currentSection;
  return true;
}

template class ConfigFileBase<GConfigFile, GConfigSection>;
template class ConfigFileBase<GWriteableConfigFile, GWriteableConfigSection>;

}  // namespace loomkit
