// SPDX-License-Identifier: MIT
// GConfigFile and GConfigSection: drivers for the reading of configuration
// files into a host's own classes.
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

/// A section of a GConfigFile; derive from it. See ConfigSectionBase for its
/// operations.
class LOOMKIT_API GConfigSection : public loomkit::ConfigSectionBase {
 public:
  GConfigSection(const std::string& name);
  GConfigSection(const GConfigSection&);
  GConfigSection& operator=(const GConfigSection&);
  ~GConfigSection() override;
};

/// A configuration file that is read; derive from it. Comments and blank lines
/// are skipped. See ConfigFileBase for its operations.
class LOOMKIT_API GConfigFile : public loomkit::ConfigFileBase<GConfigFile, GConfigSection> {
 public:
  GConfigFile();
  GConfigFile(const GConfigFile&);
  GConfigFile& operator=(const GConfigFile&);
  ~GConfigFile() override;

 private:
  friend class loomkit::ConfigFileBase<GConfigFile, GConfigSection>;
  void takeOtherLine(const std::string&) {}
};

#endif  // LOOMKIT_CONFIG_CONFIG_FILE_H
