// SPDX-License-Identifier: MIT
// hexExampleOf: the worked example of a page in docs/formats as bytes, so that a
// test can hold the page to what it says.
//
//   const std::string bytes = hexExampleOf("csv.md");
#ifndef LOOMKIT_TESTS_FORMAT_PAGE_H
#define LOOMKIT_TESTS_FORMAT_PAGE_H

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

namespace loomkit::testing {

/// Decodes the lines of a hex dump one after the other:
///
///   0010: 50 4b 05 06 00 00 00 00  01 00   PK......  an explanation
///   *
///   0030: 00
///
/// The offset may be left out; where it is given, it has to be right. One or two
/// blanks part the bytes, three or more end them, and what follows is for people.
/// A line of one star repeats the line above it up to the next line's offset.
class HexDump {
 public:
  /// Fails the test when the line is not of this form.
  void add(const std::string& line) {
    if (line == "*") {
      repeating = true;
      return;
    }
    const std::size_t colon = line.find(": ");
    const bool hasOffset = colon != std::string::npos && colon < line.find(' ');
    if (hasOffset) moveTo(std::stoul(line.substr(0, colon), nullptr, 16), line);
    EXPECT_FALSE(repeating) << "no offset behind a star: " << line;
    const std::string rest = hasOffset ? line.substr(colon + 2) : line;
    addBytes(rest.substr(0, rest.find("   ", rest.find_first_not_of(' '))), line);
  }

  [[nodiscard]] const std::string& bytes() const { return decoded; }

 private:
  void moveTo(std::size_t offset, const std::string& line) {
    if (repeating && !last.empty()) {
      while (decoded.size() < offset) decoded += last;
    }
    repeating = false;
    EXPECT_EQ(decoded.size(), offset) << line;
  }

  void addBytes(const std::string& text, const std::string& line) {
    last.clear();
    std::istringstream words(text);
    for (std::string word; words >> word;) {
      const bool isByte =
          word.size() == 2 && word.find_first_not_of("0123456789abcdef") == std::string::npos;
      EXPECT_TRUE(isByte) << "\"" << word << "\" in: " << line;
      if (isByte) last += static_cast<char>(std::stoi(word, nullptr, 16));
    }
    decoded += last;
  }

  std::string decoded;
  std::string last;  // the bytes of the line above
  bool repeating = false;
};

/// The bytes of all fenced blocks below the heading "## Example" of a page of
/// docs/formats, up to the next heading of that level. Fails the test when there
/// are none.
inline std::string hexExampleOf(const std::string& pageName) {
  std::ifstream page(LOOMKIT_SOURCE_DIR "/docs/formats/" + pageName);
  HexDump dump;
  bool inExample = false;
  bool inBlock = false;
  for (std::string line; std::getline(page, line);) {
    if (line.rfind("## ", 0) == 0) inExample = line == "## Example";
    if (line == "```") {
      inBlock = !inBlock;
    } else if (inExample && inBlock) {
      dump.add(line);
    }
  }
  EXPECT_FALSE(dump.bytes().empty()) << pageName << " has no example";
  return dump.bytes();
}

}  // namespace loomkit::testing

#endif  // LOOMKIT_TESTS_FORMAT_PAGE_H
