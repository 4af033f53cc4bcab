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

/// Reads a file line by line and hands on what it finds. It asks newSection()
/// for an object at each new header and gives each key to the section that it
/// stands in, or to the file itself as long as there was no header. The values
/// are for the derived classes to keep; this class stores none.
///
/// The syntax: a line is blank, a comment that begins with `#`, a header
/// `[section]`, or `key = value`. White space around names, keys and values does
/// not count, nor does the case of section names. A value goes on to the end of
/// its line, whatever it contains. A header may come more than once; its section
/// goes on then. docs/configuration.md has examples.
///
/// Failure: an operation that fails returns false, and getErrMsg() says why in
/// the form "FILE: line N: REASON". Nothing goes to gOutput. What was taken
/// before the failure stays, and the object can be used again.
///
/// Ownership: the file deletes its sections when it ends. A copy shares the
/// sections with its original, so that only one of the two may be destroyed as
/// long as there are any.
///
/// An object belongs to one thread at a time.
template <typename File, typename Section>
class LOOMKIT_API ConfigFileBase {
 public:
  /// No name, no sections, no message.
  ConfigFileBase();
  /// Copies all members; the sections are shared.
  ConfigFileBase(const ConfigFileBase&);
  ConfigFileBase& operator=(const ConfigFileBase&);
  /// Deletes the sections.
  virtual ~ConfigFileBase();

  /// Loads the file `fileName`. A second load adds to what is there: keys at its
  /// top go to the section that was current at the end of the first. False when
  /// the file cannot be opened or read, or when a line is refused; the lines
  /// behind that one are not read.
  bool load(const std::string& fileName);
  /// Loads from `stream`, which stays the caller's. `fileName` only appears in
  /// messages.
  bool load(const std::string& fileName, std::istream* stream);
  /// Loads the file `fileName` from `directory1` or, when it cannot be opened
  /// there, from `directory2`.
  bool load(const std::string& directory1, const std::string& directory2,
            const std::string& fileName);

  /// The path that was loaded, saved or tried last.
  [[nodiscard]] const std::string& getName() const;
  /// The message of the last failure, or an empty text. Success does not clear
  /// it.
  [[nodiscard]] const std::string& getErrMsg() const;
  /// All sections in the order in which they were made. They belong to the file.
  [[nodiscard]] const std::vector<Section*>& getSections() const;
  /// The section of this name, or null. Requires: the name is in lower case.
  [[nodiscard]] Section* getSection(const std::string& sectionName) const;

 protected:
  /// Called at the end of each load that could open its file, with the result of
  /// that load. The file is closed by then and may be written. Does nothing,
  /// unless a host overrides it.
  virtual void finishedLoading(bool ok);

 public:
  /// Makes the object for a header that is new; `sectionName` is in lower case.
  /// The object is to be made with new and belongs to the file from then on. Null
  /// ends the loading with the message "unknown section name".
  virtual Section* newSection(const std::string& sectionName) = 0;
  /// Takes a key that stands before any header. False ends the loading; the
  /// override sets the reason with setErrMsg().
  virtual bool newKeyValue(const std::string& key, const std::string& value) = 0;

 protected:
  /// Adds a section that no header has made; it belongs to the file from then on.
  /// If a section of its name is there already, both are kept, and getSection()
  /// finds the older one.
  void addSection(Section* section);
  /// Composes the message of a failure from the name of the file, the number of
  /// the line that was read last, and the reason `msg`. That number is part of
  /// the message even when the line was read by an earlier load. Always false, so
  /// that a function can end with it.
  bool setErrMsg(const std::string& msg);
  /// The number of lines that the current or last load has read; 0 before any.
  [[nodiscard]] int getLineNumber() const;

  /// The section that keys go to; null as long as there was no header.
  [[nodiscard]] Section* getCurrentSection() const;
  /// Lets keys go to `section`, which has to belong to the file, or to the file
  /// itself when it is null.
  void setCurrentSection(Section* section);
  /// Replaces what getName() gives.
  void setName(const std::string& fileName);

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
