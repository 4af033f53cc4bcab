// SPDX-License-Identifier: MIT
#include "loomkit/config/writeable_config_file.h"

#include <memory>

#include "loomkit/streams/file.h"

GWriteableConfigSection::GWriteableConfigSection(const std::string& name)
    : ConfigSectionBase(name) {}
GWriteableConfigSection::GWriteableConfigSection(const GWriteableConfigSection&) = default;
GWriteableConfigSection& GWriteableConfigSection::operator=(const GWriteableConfigSection&) =
    default;
GWriteableConfigSection::~GWriteableConfigSection() = default;
void GWriteableConfigSection::newCommentOrWhiteSpace(const std::string& /*line*/) {}

GWriteableConfigFile::GWriteableConfigFile() = default;
GWriteableConfigFile::GWriteableConfigFile(const GWriteableConfigFile&) = default;
GWriteableConfigFile& GWriteableConfigFile::operator=(const GWriteableConfigFile&) = default;
GWriteableConfigFile::~GWriteableConfigFile() = default;
void GWriteableConfigFile::newCommentOrWhiteSpace(const std::string& /*line*/) {}
bool GWriteableConfigFile::prepareSaving() { return true; }

void GWriteableConfigFile::takeOtherLine(const std::string& line) {
  if (getCurrentSection() != nullptr) {
    getCurrentSection()->newCommentOrWhiteSpace(line);
  } else {
    newCommentOrWhiteSpace(line);
  }
}

// The file is opened, and thereby emptied, before prepareSaving() is asked. Hosts
// that watch the file for changes have come to rely on that order.
bool GWriteableConfigFile::save() {
  const std::unique_ptr<std::ostream> stream(GFile(getName()).getOutStream(false));
  if (stream == nullptr) return setErrMsg("can't open for writing");
  return prepareSaving() && write(*stream);
}

bool GWriteableConfigFile::save(const std::string& fileName) {
  setName(fileName);
  return save();
}

bool GWriteableConfigFile::save(const std::string& fileName, std::ostream* stream) {
  setName(fileName);
  return prepareSaving() && write(*stream);
}

template <typename Source>
bool GWriteableConfigFile::writeLines(Source& source, std::ostream& stream) {
  for (;;) {
    bool raw = false;
    std::string key;
    std::string value;
    if (!source.nextEntry(&raw, &key, &value)) return true;
    stream << key;
    if (!raw) stream << "=" << value;
    stream << std::endl;
    if (stream.bad()) return setErrMsg("write error");
  }
}

// Sections that are added while the file is being saved are not written.
bool GWriteableConfigFile::write(std::ostream& stream) {
  const std::size_t count = getSections().size();
  setCurrentSection(nullptr);
  startSaving();
  if (!writeLines(*this, stream)) return false;
  for (std::size_t i = 0; i < count; ++i) {
    GWriteableConfigSection* section = getSections()[i];
    setCurrentSection(section);
    section->startSaving();
    stream << "[" << section->getSectionName() << "]" << std::endl;
    if (!writeLines(*section, stream)) return false;
  }
  return true;
}
