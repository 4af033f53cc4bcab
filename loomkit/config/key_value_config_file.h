// SPDX-License-Identifier: MIT
// Extension: GKeyValueConfigFile, a configuration file that is ready to use and
// keeps every line.
//
//   GKeyValueConfigFile file;
//   if (!file.load("app.cfg") || !file.set("window", "width", "800") || !file.save())
//     gOutput->error(file.getErrMsg().c_str());
#ifndef LOOMKIT_CONFIG_KEY_VALUE_CONFIG_FILE_H
#define LOOMKIT_CONFIG_KEY_VALUE_CONFIG_FILE_H

#include <istream>
#include <memory>
#include <string>
#include <vector>

#include "loomkit/platform/export.h"

namespace loomkit {
class ConfigLines;
}

/// Reads the syntax of GConfigFile. A value that is set changes its own line
/// and no other byte: comments, blanks, line ends and a byte-order mark stay.
/// Where a key is set more than once, its last line counts.
///
/// Sections are named in either case; "" is what stands before the first
/// header. Keys have a case. A function that fails is false, changes nothing,
/// and getErrMsg() says why; nothing goes to gOutput. One thread at a time.
class LOOMKIT_API GKeyValueConfigFile {
 public:
  GKeyValueConfigFile();
  GKeyValueConfigFile(const GKeyValueConfigFile& other);
  GKeyValueConfigFile& operator=(const GKeyValueConfigFile& other);
  ~GKeyValueConfigFile();

  /// Takes a file's content in place of what was there. On failure that stays.
  bool load(const std::string& fileName);
  /// The same from a stream of the caller's; the name is for messages and
  /// save().
  bool load(const std::string& fileName, std::istream* stream);

  /// Replaces the file that was loaded, or another, in one step: it is the old
  /// one or the new one whatever happens. What is a link stays one.
  bool save();
  bool save(const std::string& fileName);

  /// What save() writes.
  [[nodiscard]] std::string getText() const;

  [[nodiscard]] const std::string& getName() const { return name; }
  /// The last failure, "FILE: line N: REASON" for a line.
  [[nodiscard]] const std::string& getErrMsg() const { return errMsg; }

  /// The sections that have a header, in the order of the file, in lower case.
  [[nodiscard]] std::vector<std::string> getSections() const;
  /// The keys of a section, in the order of the file, each once.
  [[nodiscard]] std::vector<std::string> getKeys(const std::string& section) const;

  [[nodiscard]] bool has(const std::string& section, const std::string& key) const;
  /// Give a value. False when there is none, or, with a message that has its
  /// line, when it is not of the type (see GConfigSection::parse).
  bool get(const std::string& section, const std::string& key, std::string* value);
  bool get(const std::string& section, const std::string& key, bool* value);
  bool get(const std::string& section, const std::string& key, int* value);
  bool get(const std::string& section, const std::string& key, double* value);

  /// Changes the value, or adds a line behind the section's others, or a
  /// section at the end. False for what the syntax cannot hold.
  bool set(const std::string& section, const std::string& key, const std::string& value);
  /// Removes every line of a key. False when there is none.
  bool unset(const std::string& section, const std::string& key);

  /// What a key is to look like.
  enum Type { Text, Bool, Int, Double };
  /// A key that is known. Section and key are patterns: "*" stands for any
  /// text.
  struct Rule {
    std::string section;
    std::string key;
    Type type = Text;
  };
  /// What does not follow the rules: a message for each line with an unknown
  /// key or a value of another type.
  [[nodiscard]] std::vector<std::string> check(const std::vector<Rule>& rules) const;

 private:
  template <typename Value>
  bool getValue(const std::string& section, const std::string& key, Value* value);
  [[nodiscard]] std::string messageAt(std::size_t lineNumber, const std::string& text) const;
  bool fail(const std::string& text);

  std::string name;
  std::string errMsg;
  std::string byteOrderMark;
  std::unique_ptr<loomkit::ConfigLines> lines;
};

#endif  // LOOMKIT_CONFIG_KEY_VALUE_CONFIG_FILE_H
