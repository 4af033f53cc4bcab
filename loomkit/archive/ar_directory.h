// SPDX-License-Identifier: MIT
// ar::Directory: the headers of one ar archive, read into a list of its members. Private
// to GArMemberReader.
#ifndef LOOMKIT_ARCHIVE_AR_DIRECTORY_H
#define LOOMKIT_ARCHIVE_AR_DIRECTORY_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "loomkit/archive/ar_member_reader.h"
#include "loomkit/archive/window.h"
#include "loomkit/text/binary.h"

namespace loomkit::ar {

/// What the headers of an archive tell. The names of the members point into `text`.
struct Contents {
  std::vector<GArMember> members;     ///< in the order of the archive
  std::vector<std::uint32_t> byName;  ///< the members' indexes by name, then by number
  std::vector<std::string> damage;    ///< what is wrong, a sentence each
  std::string text;
};

/// Reads the headers one after the other. A header that lies ends the reading, because
/// nothing tells where the next one begins; a bad name costs only its member. One thread
/// at a time.
class Directory {
 public:
  /// The archive has its magic text, which the caller has compared.
  Directory(Window& archive, Contents* contents) : window(archive), result(*contents) {}

  void readAll();

 private:
  /// Where a member's name stands: in the text, or at a place in the table of names. Then
  /// the text has what the header says.
  struct NamePlace {
    std::size_t begin = 0;
    std::size_t size = 0;
    bool inTable = false;
    std::uint64_t placeInTable = 0;
  };

  bool readMember(std::uint64_t* position);
  bool readTable(const GArMember& table, bool ofNames);
  bool takeLongName(GArMember* member, std::uint64_t nameSize);
  void addName(std::string_view name);
  void takeShortName(std::string_view field);
  void resolveNames();
  bool findInTable(std::uint64_t place, std::string_view* name) const;
  void countNames();
  bool damaged(const std::string& text);
  [[nodiscard]] bool reachesBeyond(const GArMember& member) const;

  Window& window;
  Contents& result;
  std::vector<NamePlace> places;  // of the members' names
  std::size_t tableBegin = 0;     // of the table of names in the text
  std::size_t tableSize = 0;
  bool hasTable = false;
  bool isFirst = true;
};

}  // namespace loomkit::ar

#endif  // LOOMKIT_ARCHIVE_AR_DIRECTORY_H
