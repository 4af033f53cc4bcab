// SPDX-License-Identifier: MIT
// GWriteableConfigFile and GWriteableConfigSection: drivers for configuration
// files that are read and written back by a host's own classes. For files that
// are to keep their lines there is GKeyValueConfigFile, ready-made.
//
//   class Window : public GWriteableConfigSection {
//    public:
//     using GWriteableConfigSection::GWriteableConfigSection;
//     bool newKeyValue(const std::string& key, const std::string& value) override {
//       return key == "width" ? parse(value, &width) : invalidKey(key);
//     }
//     void startSaving() override { saved = false; }
//     bool nextEntry(bool* raw, std::string* key, std::string* value) override {
//       if (saved) return false;
//       *raw = false;
//       *key = "width";
//       *value = std::to_string(width);
//       return saved = true;
//     }
//     int width = 640;
//     bool saved = false;
//   };
#ifndef LOOMKIT_CONFIG_WRITEABLE_CONFIG_FILE_H
#define LOOMKIT_CONFIG_WRITEABLE_CONFIG_FILE_H

#include <ostream>
#include <string>

#include "loomkit/config/config_file_base.h"
#include "loomkit/config/config_section_base.h"
#include "loomkit/platform/export.h"

/// A section of a GWriteableConfigFile, from which a host derives a class for
/// each kind of section that it knows. loomkit::ConfigSectionBase has the
/// operations for reading, the rules of ownership and what failure looks like.
///
/// The section is asked for its lines when the file is saved: startSaving() once,
/// then nextEntry() until it returns false.
class LOOMKIT_API GWriteableConfigSection : public loomkit::ConfigSectionBase {
 public:
  /// A section of this name, without a message.
  GWriteableConfigSection(const std::string& name);
  GWriteableConfigSection(const GWriteableConfigSection&);
  GWriteableConfigSection& operator=(const GWriteableConfigSection&);
  ~GWriteableConfigSection() override;

  /// Takes a comment or a blank line of the section, exactly as it stands in the
  /// file. A comment above a header belongs to the section before that header.
  /// Does nothing, unless a host overrides it.
  virtual void newCommentOrWhiteSpace(const std::string& line);
  /// Goes back to the first line that is to be saved.
  virtual void startSaving() = 0;
  /// Describes the next line that is to be saved and returns true; false when
  /// there is none left. With `*raw` true, `*key` is the whole line as it is to be
  /// written; with `*raw` false the line becomes "KEY=VALUE". The texts are empty
  /// before the call, and each call has to set `*raw`.
  virtual bool nextEntry(bool* raw, std::string* key, std::string* value) = 0;
};

/// A configuration file that is read and written, from which a host derives its
/// own class. The file keeps no line: what the derived classes do not hand back
/// while it is saved is gone. loomkit::ConfigFileBase has the operations for
/// loading, the rules of ownership and what failure looks like.
class LOOMKIT_API GWriteableConfigFile
    : public loomkit::ConfigFileBase<GWriteableConfigFile, GWriteableConfigSection> {
 public:
  /// A file without a name, sections or a message.
  GWriteableConfigFile();
  GWriteableConfigFile(const GWriteableConfigFile&);
  GWriteableConfigFile& operator=(const GWriteableConfigFile&);
  ~GWriteableConfigFile() override;

  /// Writes the lines of the file itself and then each section with its header to
  /// the file of getName(). The file is written in place and is emptied before
  /// anything else happens, so that a failure leaves a part of it. False with the
  /// message "can't open for writing", "write error", or what prepareSaving() has
  /// set. The message also has the number of the line that was read last.
  bool save();
  /// The same under another name, which getName() gives from then on, even when
  /// the saving fails.
  bool save(const std::string& fileName);
  /// The same to `stream`, which stays the caller's. `fileName` is what getName()
  /// gives from then on, and appears in messages.
  bool save(const std::string& fileName, std::ostream* stream);

 protected:
  /// Takes a comment or a blank line before the first header. Does nothing, unless
  /// a host overrides it.
  virtual void newCommentOrWhiteSpace(const std::string& line);
  /// Called before the first line is written. False ends the saving; the override
  /// sets the reason with setErrMsg(). True, unless a host overrides it.
  virtual bool prepareSaving();

 public:
  /// Goes back to the first of the lines before the first header; see
  /// GWriteableConfigSection::startSaving().
  virtual void startSaving() = 0;
  /// Describes the next of those lines; see GWriteableConfigSection::nextEntry().
  virtual bool nextEntry(bool* raw, std::string* key, std::string* value) = 0;

 private:
  friend class loomkit::ConfigFileBase<GWriteableConfigFile, GWriteableConfigSection>;
  void takeOtherLine(const std::string& line);
  bool write(std::ostream& stream);
  template <typename Source>
  bool writeLines(Source& source, std::ostream& stream);
};

#endif  // LOOMKIT_CONFIG_WRITEABLE_CONFIG_FILE_H
