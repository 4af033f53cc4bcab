// SPDX-License-Identifier: MIT
// GWriteableConfigFile and GWriteableConfigSection: drivers for configuration
// files that are read and written back by a host's own classes. For files that
// are to keep their lines there is GKeyValueConfigFile, ready-made.
#ifndef LOOMKIT_CONFIG_WRITEABLE_CONFIG_FILE_H
#define LOOMKIT_CONFIG_WRITEABLE_CONFIG_FILE_H

#include <ostream>
#include <string>

#include "loomkit/config/config_file_base.h"
#include "loomkit/config/config_section_base.h"
#include "loomkit/platform/export.h"

/// A section of a GWriteableConfigFile; derive from it.
///
/// startSaving() and nextEntry() iterate over the lines to save: the first one
/// rewinds, the second one either returns false at the end, or describes a line
/// and returns true. With `*raw` set, `*key` is the whole line; otherwise the
/// line is KEY=VALUE. `*raw` has to be set each time.
class LOOMKIT_API GWriteableConfigSection : public loomkit::ConfigSectionBase {
 public:
  GWriteableConfigSection(const std::string& name);
  GWriteableConfigSection(const GWriteableConfigSection&);
  GWriteableConfigSection& operator=(const GWriteableConfigSection&);
  ~GWriteableConfigSection() override;

  /// Told of a comment or blank line behind the section's header, as it is. A
  /// comment above a header belongs to the section before it. Does nothing.
  virtual void newCommentOrWhiteSpace(const std::string& line);
  virtual void startSaving() = 0;
  virtual bool nextEntry(bool* raw, std::string* key, std::string* value) = 0;
};

/// A configuration file that is read and written; derive from it. It keeps no
/// line: what a derived class does not hand back is not saved. See
/// ConfigFileBase for loading.
class LOOMKIT_API GWriteableConfigFile
    : public loomkit::ConfigFileBase<GWriteableConfigFile, GWriteableConfigSection> {
 public:
  GWriteableConfigFile();
  GWriteableConfigFile(const GWriteableConfigFile&);
  GWriteableConfigFile& operator=(const GWriteableConfigFile&);
  ~GWriteableConfigFile() override;

  /// Writes the file's own entries and then each section, in place: the file of
  /// getName() is emptied before anything else, so that whatever fails then
  /// leaves a part of it. False with "can't open for writing", "write error",
  /// or what prepareSaving() has set; the number of the line that was read last
  /// is part of the message.
  bool save();
  /// The same under another name, which stays.
  bool save(const std::string& fileName);
  /// The same to a stream of the caller's; the name is for messages.
  bool save(const std::string& fileName, std::ostream* stream);

 protected:
  /// Told of a comment or blank line before the first section. Does nothing.
  virtual void newCommentOrWhiteSpace(const std::string& line);
  /// Asked before saving; false ends it. True.
  virtual bool prepareSaving();

 public:
  /// The lines before the first section; see GWriteableConfigSection.
  virtual void startSaving() = 0;
  virtual bool nextEntry(bool* raw, std::string* key, std::string* value) = 0;

 private:
  friend class loomkit::ConfigFileBase<GWriteableConfigFile, GWriteableConfigSection>;
  void takeOtherLine(const std::string& line);
  bool write(std::ostream& stream);
  template <typename Source>
  bool writeLines(Source& source, std::ostream& stream);
};

#endif  // LOOMKIT_CONFIG_WRITEABLE_CONFIG_FILE_H
