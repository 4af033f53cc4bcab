// SPDX-License-Identifier: MIT
// ConfigSectionBase: what the sections of both configuration families share.
#ifndef LOOMKIT_CONFIG_CONFIG_SECTION_BASE_H
#define LOOMKIT_CONFIG_CONFIG_SECTION_BASE_H

#include <string>

#include "loomkit/platform/export.h"

namespace loomkit {

/// Converts a value as the parse() functions below do. Null on success; else
/// what is wrong, and `*result` stays as it was. One thread's business alone.
LOOMKIT_API const char* parseConfigValue(const std::string& text, bool* result);
LOOMKIT_API const char* parseConfigValue(const std::string& text, int* result);
LOOMKIT_API const char* parseConfigValue(const std::string& text, double* result);

/// A section knows its own keys and keeps their values as it likes. Derive from
/// GConfigSection or GWriteableConfigSection.
class LOOMKIT_API ConfigSectionBase {
 public:
  ConfigSectionBase(const std::string& name);
  ConfigSectionBase(const ConfigSectionBase&);
  ConfigSectionBase& operator=(const ConfigSectionBase&);
  virtual ~ConfigSectionBase();

  /// Takes a key and its value, both without white space at their ends. False
  /// ends the loading, and getErrMsg() has to say why: what setErrMsg(),
  /// invalidKey() and parse() return will do.
  virtual bool newKeyValue(const std::string& key, const std::string& value) = 0;

  [[nodiscard]] const std::string& getSectionName() const { return sectionName; }
  /// The reason for the last failure, without file and line.
  [[nodiscard]] const std::string& getErrMsg() const { return errMsg; }

 protected:
  /// Keeps the reason. Always false.
  bool setErrMsg(const std::string& msg);
  /// The reason "invalid key: KEY". Always false.
  bool invalidKey(const std::string& key);

  /// Converts a value; false with a reason, and `*result` as it was, for what
  /// it is not:
  /// - bool: yes, on, true, 1, no, off, false, 0, in either case; "boolean
  ///   value expected".
  /// - int: decimal, 0x hexadecimal or 0 octal, within 32 bits; "integer value
  ///   expected", "integer value out of range".
  /// - double: as gParseCDouble() reads it; "floating point value expected".
  bool parse(const std::string& text, bool* result);
  bool parse(const std::string& text, int* result);
  bool parse(const std::string& text, double* result);

 private:
  std::string sectionName;
  std::string errMsg;
};

}  // namespace loomkit

#endif  // LOOMKIT_CONFIG_CONFIG_SECTION_BASE_H
