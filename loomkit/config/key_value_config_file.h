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

/// A configuration file in memory, with the syntax of GConfigFile. Values are
/// looked up, set and removed by section and key. Setting a value changes its own
/// line and no other byte: comments, blank lines, line ends and a byte-order mark
/// stay as they are. Where a key stands more than once, its last line counts.
///
/// The name of a section may be given in either case; "" names what stands before
/// the first header. The case of a key counts.
///
/// The object owns all it holds, and a copy is independent of its original. A
/// function that fails returns false and changes nothing, and getErrMsg() says
/// why; nothing goes to gOutput. An object belongs to one thread at a time.
class LOOMKIT_API GKeyValueConfigFile {
 public:
  /// A file without a name and without lines.
  GKeyValueConfigFile();
  GKeyValueConfigFile(const GKeyValueConfigFile& other);
  GKeyValueConfigFile& operator=(const GKeyValueConfigFile& other);
  ~GKeyValueConfigFile();

  /// Replaces what was there by the content of the file `fileName`. On failure
  /// what was there stays.
  bool load(const std::string& fileName);
  /// The same from `stream`, which stays the caller's and is read to its end.
  /// `fileName` is for messages and for save().
  bool load(const std::string& fileName, std::istream* stream);

  /// Writes the lines to the file of getName(). The file is replaced in one step:
  /// whatever happens, it is either the old one or the new one. A symbolic link
  /// stays a link; what it leads to is replaced.
  bool save();
  /// The same under another name, which getName() gives from then on.
  bool save(const std::string& fileName);

  /// What save() writes.
  [[nodiscard]] std::string getText() const;

  /// The name that the lines were loaded from or saved to last.
  [[nodiscard]] const std::string& getName() const { return name; }
  /// The message of the last failure, in the form "FILE: line N: REASON" when a
  /// line is to blame, or an empty text.
  [[nodiscard]] const std::string& getErrMsg() const { return errMsg; }

  /// The names of the sections that have a header, each once, in lower case and
  /// in the order of the file.
  [[nodiscard]] std::vector<std::string> getSections() const;
  /// The keys of a section, each once, in the order of the file. A section that
  /// is not there has none.
  [[nodiscard]] std::vector<std::string> getKeys(const std::string& section) const;

  /// Whether the key has a value, which may be empty.
  [[nodiscard]] bool has(const std::string& section, const std::string& key) const;
  /// Stores the value of a key in `*value`. False when the key is not there, or
  /// when its value is not of the type (see loomkit::ConfigSectionBase::parse);
  /// `*value` then stays as it was, and the message names the line.
  bool get(const std::string& section, const std::string& key, std::string* value);
  bool get(const std::string& section, const std::string& key, bool* value);
  bool get(const std::string& section, const std::string& key, int* value);
  bool get(const std::string& section, const std::string& key, double* value);

  /// Sets the value of a key. A key that is not there gets a line behind the
  /// other lines of its section, and a section that is not there gets a header at
  /// the end of the file. False for what the syntax cannot hold: a line feed, an
  /// empty key, white space at an end.
  bool set(const std::string& section, const std::string& key, const std::string& value);
  /// Removes all lines of a key. False when there is none.
  bool unset(const std::string& section, const std::string& key);

  /// The types of which a value can be.
  enum Type { Text, Bool, Int, Double };
  /// A key that is known, or a family of keys: `section` and `key` are patterns
  /// for gPatternMatch(), in which "*" stands for any text.
  struct Rule {
    std::string section;
    std::string key;
    Type type = Text;
  };
  /// Checks all lines against `rules` and gives a message for each line whose key
  /// no rule knows, or whose value is not of the type that the first rule for its
  /// key demands. No message means that all is well.
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
