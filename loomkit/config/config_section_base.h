// SPDX-License-Identifier: MIT
// ConfigSectionBase: what the sections of both configuration families share.
#ifndef LOOMKIT_CONFIG_CONFIG_SECTION_BASE_H
#define LOOMKIT_CONFIG_CONFIG_SECTION_BASE_H

#include <string>

#include "loomkit/platform/export.h"

namespace loomkit {

/// Converts a value as ConfigSectionBase::parse() does. Null on success; otherwise
/// a text that says what is wrong, which is never freed, and `*result` stays as
/// it was. The functions keep no state, so that every thread may call them.
LOOMKIT_API const char* parseConfigValue(const std::string& text, bool* result);
LOOMKIT_API const char* parseConfigValue(const std::string& text, int* result);
LOOMKIT_API const char* parseConfigValue(const std::string& text, double* result);

/// A section of a configuration file. It knows its own keys and keeps their
/// values as it likes. Hosts derive from GConfigSection or
/// GWriteableConfigSection, of which this is the base:
///
///     class Window : public GConfigSection {
///      public:
///       using GConfigSection::GConfigSection;
///       bool newKeyValue(const std::string& key, const std::string& value) override {
///         return key == "width" ? parse(value, &width) : invalidKey(key);
///       }
///       int width = 640;
///     };
///
/// A section belongs to the file that it was made for. Failure is false, and
/// getErrMsg() has the reason. An object belongs to one thread at a time.
class LOOMKIT_API ConfigSectionBase {
 public:
  /// A section of this name, without a message.
  ConfigSectionBase(const std::string& name);
  ConfigSectionBase(const ConfigSectionBase&);
  ConfigSectionBase& operator=(const ConfigSectionBase&);
  virtual ~ConfigSectionBase();

  /// Takes a key and its value, both without white space at their ends. False
  /// ends the loading with the reason that getErrMsg() gives. An override that
  /// returns what setErrMsg(), invalidKey() or parse() return has set it.
  virtual bool newKeyValue(const std::string& key, const std::string& value) = 0;

  /// The name that the constructor was given.
  [[nodiscard]] const std::string& getSectionName() const { return sectionName; }
  /// The reason of the last failure, without file and line, or an empty text.
  [[nodiscard]] const std::string& getErrMsg() const { return errMsg; }

 protected:
  /// Keeps `msg` as the reason of a failure. Always false, so that a function can
  /// end with it.
  bool setErrMsg(const std::string& msg);
  /// Keeps the reason "invalid key: KEY". Always false.
  bool invalidKey(const std::string& key);

  /// Converts the whole of `text` to the type of `*result`. When that cannot be
  /// done the reason is kept, `*result` stays as it was, and the result is false.
  /// - bool: "yes", "on", "true" and "1" are true, "no", "off", "false" and "0" are
  ///   false, in either case. The reason is "boolean value expected".
  /// - int: decimal, hexadecimal behind "0x" or octal behind "0", in 32 bits. The
  ///   reason is "integer value expected" or "integer value out of range".
  /// - double: as gParseCDouble() reads it. The reason is "floating point value
  ///   expected".
  bool parse(const std::string& text, bool* result);
  bool parse(const std::string& text, int* result);
  bool parse(const std::string& text, double* result);

 private:
  std::string sectionName;
  std::string errMsg;
};

}  // namespace loomkit

#endif  // LOOMKIT_CONFIG_CONFIG_SECTION_BASE_H
