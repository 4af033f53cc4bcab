// SPDX-License-Identifier: MIT
// ConfigFileBase: what the files of both configuration families share. Derive
// from GConfigFile or GWriteableConfigFile.
#ifndef LOOMKIT_CONFIG_CONFIG_FILE_BASE_H
#define LOOMKIT_CONFIG_CONFIG_FILE_BASE_H

#include <istream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/platform/export.h"

// Exported from their first mention on: a template of hidden classes would have
// a hidden typeinfo, which hosts that derive from the files need.
class LOOMKIT_API GConfigFile;
class LOOMKIT_API GConfigSection;
class LOOMKIT_API GWriteableConfigFile;
class LOOMKIT_API GWriteableConfigSection;

namespace loomkit {

/// Drives the loading of a file: sections are made by newSection(), keys go to
/// the current section, or to the file as long as there is none. It stores no
/// values.
///
/// The syntax: a line is blank, a comment behind `#`, a header `[section]`, or
/// `key = value`. White space round names, keys and values does not count, and
/// the case of section names neither. A value goes on to the end of its line,
/// whatever it contains. docs/configuration.md has examples.
///
/// Nothing is reported to gOutput: a function is false, and getErrMsg() says
/// why as "FILE: line N: REASON". What was taken before a failure stays. The
/// file owns its sections; copies share them, so that only one of two copies
/// may be destroyed with sections in it. One thread at a time.
template <typename File, typename Section>
class LOOMKIT_API ConfigFileBase {
 public:
  ConfigFileBase();
  ConfigFileBase(const ConfigFileBase&);
  ConfigFileBase& operator=(const ConfigFileBase&);
  /// Deletes the sections.
  virtual ~ConfigFileBase();

  /// Loads a file. A load adds to what is there, and keys at its top go to the
  /// section that was the last one.
  bool load(const std::string& fileName);
  /// Loads from a stream of the caller's; the name is for messages.
  bool load(const std::string& fileName, std::istream* stream);
  /// Loads the file from the first of two directories that has it.
  bool load(const std::string& directory1, const std::string& directory2,
            const std::string& fileName);

  /// The path that was loaded or tried last.
  [[nodiscard]] const std::string& getName() const { return loadedName; }
  /// The last failure. Success does not clear it.
  [[nodiscard]] const std::string& getErrMsg() const { return errMsg; }
  /// All sections in the order in which they were made.
  [[nodiscard]] const std::vector<Section*>& getSections() const { return sections; }
  /// The section of this name, which has to be in lower case, or null.
  [[nodiscard]] Section* getSection(const std::string& sectionName) const;

 protected:
  /// Called after a load in which a file could be opened, when that file is
  /// closed again. Does nothing.
  virtual void finishedLoading(bool ok);

 public:
  /// Makes the section for a header; the name is in lower case. Null ends the
  /// loading with "unknown section name".
  virtual Section* newSection(const std::string& sectionName) = 0;
  /// Takes a key that stands before any section. False ends the loading; the
  /// reason is to be set by setErrMsg().
  virtual bool newKeyValue(const std::string& key, const std::string& value) = 0;

 protected:
  /// Takes a section over. One of a name that is there already is kept, but not
  /// found by its name.
  void addSection(Section* section);
  /// Makes the message of a failure from the file's name, the number of the
  /// line that was read last, even by an earlier load, and the reason. Always
  /// false.
  bool setErrMsg(const std::string& msg);
  /// Lines read by the current or last load; 0 before any.
  [[nodiscard]] int getLineNumber() const { return lineNumber; }

  [[nodiscard]] Section* getCurrentSection() const { return currentSection; }
  void setCurrentSection(Section* section) { currentSection = section; }
  void setName(const std::string& fileName) { loadedName = fileName; }

 private:
  bool loadOpened(std::unique_ptr<std::istream> stream);
  bool loadLines(std::istream& stream);
  bool takeLine(const std::string& line);
  bool enterSection(const std::string& sectionName);

  std::string loadedName;
  std::string errMsg;
  int lineNumber = 0;
  std::vector<Section*> sections;
  std::map<std::string, Section*> sectionsByName;
  Section* currentSection = nullptr;
};

extern template class ConfigFileBase<GConfigFile, GConfigSection>;
extern template class ConfigFileBase<GWriteableConfigFile, GWriteableConfigSection>;

}  // namespace loomkit

#endif  // LOOMKIT_CONFIG_CONFIG_FILE_BASE_H
