// SPDX-License-Identifier: MIT
// GConfigFile and GConfigSection: drivers that read configuration files into a
// host's own classes. GKeyValueConfigFile is ready to use without any class.
//
//   class Window : public GConfigSection {
//    public:
//     using GConfigSection::GConfigSection;
//     bool newKeyValue(const std::string& key, const std::string& value) override {
//       return key == "width" ? parse(value, &width) : invalidKey(key);
//     }
//     int width = 640;
//   };
//   class Settings : public GConfigFile {
//     GConfigSection* newSection(const std::string& name) override {
//       return name == "window" ? new Window(name) : nullptr;
//     }
//     bool newKeyValue(const std::string&, const std::string&) override {
//       return setErrMsg("no section");
//     }
//   };
//   Settings settings;
//   if (!settings.load("app.cfg")) gOutput->error(settings.getErrMsg().c_str());
#ifndef LOOMKIT_CONFIG_CONFIG_FILE_H
#define LOOMKIT_CONFIG_CONFIG_FILE_H

#include <string>

#include "loomkit/config/config_file_base.h"
#include "loomkit/config/config_section_base.h"
#include "loomkit/platform/export.h"

/// A section of a GConfigFile, from which a host derives a class for each kind of
/// section that it knows. loomkit::ConfigSectionBase has the operations, the
/// rules of ownership and what failure looks like.
class LOOMKIT_API GConfigSection : public loomkit::ConfigSectionBase {
 public:
  /// A section of this name, without a message.
  GConfigSection(const std::string& name);
  GConfigSection(const GConfigSection&);
  GConfigSection& operator=(const GConfigSection&);
  ~GConfigSection() override;
};

/// A configuration file that is read and not written, from which a host derives
/// its own class; the example above shows one. Comments and blank lines are
/// skipped. loomkit::ConfigFileBase has the operations, the syntax, the rules of
/// ownership and what failure looks like.
class LOOMKIT_API GConfigFile : public loomkit::ConfigFileBase<GConfigFile, GConfigSection> {
 public:
  /// A file without a name, sections or a message.
  GConfigFile();
  GConfigFile(const GConfigFile&);
  GConfigFile& operator=(const GConfigFile&);
  ~GConfigFile() override;

 private:
  friend class loomkit::ConfigFileBase<GConfigFile, GConfigSection>;
  void takeOtherLine(const std::string&) {}
};

#endif  // LOOMKIT_CONFIG_CONFIG_FILE_H
