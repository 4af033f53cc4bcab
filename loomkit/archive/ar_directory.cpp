// SPDX-License-Identifier: MIT
#include "loomkit/archive/ar_directory.h"

#include <algorithm>
#include <charconv>
#include <numeric>

#include "loomkit/archive/ar_layout.h"
#include "loomkit/text/char_class.h"

namespace loomkit::ar {
namespace {

constexpr std::string_view padding("\0 ", 2);
// As long as a path may be on most systems. Many members may share one place in the table
// of names, so that a name without a limit would let a small archive claim any memory.
constexpr std::uint64_t longestName = 4096;

std::string_view withoutPadding(std::string_view field) {
  return field.substr(0, field.find_last_not_of(padding) + 1);
}

// Digits of that base and nothing but blanks behind them.
bool numberIn(std::string_view field, int base, std::uint64_t* value) {
  const std::string_view digits = withoutPadding(field);
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), *value, base);
  return error == std::errc() && end == digits.data() + digits.size();
}

// A field that need not be filled in: 0 when it holds no number.
std::uint64_t optionalNumberIn(std::string_view field, int base) {
  std::uint64_t value = 0;
  return numberIn(field, base, &value) ? value : 0;
}

bool isSymbolTable(std::string_view name, bool isFirst) {
  if (name.starts_with(header::nameTableMark)) return name.size() == 1 || !isAsciiDigit(name[1]);
  return isFirst && name.starts_with(bsdSymbolTable);
}

}  // namespace

void Directory::readAll() {
  std::uint64_t position = magic.size();
  while (position < window.size() && readMember(&position)) isFirst = false;
  resolveNames();
  countNames();
  if (result.members.empty() || !reachesBeyond(result.members.back())) return;
  damaged("the archive ends within " + std::string(result.members.back().name));
}

// Reads the member whose header is at *position and moves that to the next header. False
// when there is none.
bool Directory::readMember(std::uint64_t* position) {
  const std::string place = " at byte " + std::to_string(*position);
  const unsigned char* bytes = window.at(*position, header::size);
  if (bytes == nullptr) return damaged("the archive ends within the header" + place);
  const RecordReader record(bytes, header::size);
  if (record.get(header::trailer) != header::trailerText) {
    return damaged("there is no header" + place);
  }
  GArMember member;
  if (!numberIn(record.get(header::dataSize), 10, &member.size)) {
    return damaged("the header" + place + " states no size");
  }
  member.offset = *position + header::size;
  member.modTime = static_cast<std::int64_t>(optionalNumberIn(record.get(header::date), 10));
  member.mode = static_cast<std::uint32_t>(optionalNumberIn(record.get(header::mode), 8));
  *position = nextHeader(member.offset, member.size);

  const std::string_view name = withoutPadding(record.get(header::name));
  if (name == nameTable) return readTable(member, !hasTable);
  if (isSymbolTable(name, isFirst)) return readTable(member, false);
  if (!name.starts_with(header::longNameMark)) {
    takeShortName(name);
  } else {
    std::uint64_t nameSize = 0;
    const bool isStated = numberIn(record.get(header::longNameSize), 10, &nameSize);
    if (!isStated || nameSize > std::min(member.size, longestName)) {
      damaged("the name" + place + (isStated ? " is too long" : " has no length"));
      return !reachesBeyond(member) || damaged("the archive ends within the member" + place);
    }
    if (!takeLongName(&member, nameSize)) {
      return damaged("the archive ends within the name" + place);
    }
  }
  result.members.push_back(member);
  return !reachesBeyond(member);
}

// Passes over a table; the text of the one with the names is kept.
bool Directory::readTable(const GArMember& member, bool ofNames) {
  if (reachesBeyond(member)) {
    return damaged("the archive ends within the table at byte " + std::to_string(member.offset));
  }
  if (!ofNames) return true;
  tableBegin = result.text.size();
  hasTable = true;
  for (std::uint64_t done = 0; done < member.size;) {
    const auto [bytes, count] = window.some(member.offset + done, member.size - done);
    if (bytes == nullptr) return damaged("the table of names cannot be read");
    result.text.append(reinterpret_cast<const char*>(bytes), count);
    done += count;
  }
  tableSize = result.text.size() - tableBegin;
  return true;
}

// A name in front of the data, which zero bytes may fill up.
bool Directory::takeLongName(GArMember* member, std::uint64_t nameSize) {
  const auto size = static_cast<std::size_t>(nameSize);
  const unsigned char* bytes = window.at(member->offset, size);
  if (bytes == nullptr) return false;
  const std::string_view name(reinterpret_cast<const char*>(bytes), size);
  const std::string_view text = name.substr(0, name.find_last_not_of('\0') + 1);
  addName(text);
  member->offset += size;
  member->size -= size;
  return true;
}

// The name of a header's field, or the place of a name in the table of names.
void Directory::takeShortName(std::string_view field) {
  std::uint64_t placeInTable = 0;
  if (field.starts_with(header::nameTableMark) && numberIn(field.substr(1), 10, &placeInTable)) {
    addName(field);
    places.back().inTable = true;
    places.back().placeInTable = placeInTable;
    return;
  }
  if (field.size() > 1 && field.back() == '/') field.remove_suffix(1);
  addName(field);
}

void Directory::addName(std::string_view name) {
  places.push_back({result.text.size(), name.size()});
  result.text += name;
}

// The table may stand behind the members that it names, and the text does not move any
// more when all are read.
void Directory::resolveNames() {
  const std::string_view text(result.text);
  for (std::size_t i = 0; i < places.size(); ++i) {
    const NamePlace& place = places[i];
    std::string_view& name = result.members[i].name;
    name = text.substr(place.begin, place.size);
    if (!place.inTable || findInTable(place.placeInTable, &name)) continue;
    damaged("the table of names has no whole name for " + std::string(name));
  }
}

// A name ends with a slash and LF, or, in the import libraries of Windows, with a NUL.
bool Directory::findInTable(std::uint64_t place, std::string_view* name) const {
  if (place >= tableSize) return false;
  const std::string_view table = std::string_view(result.text).substr(tableBegin, tableSize);
  const std::string_view rest = table.substr(static_cast<std::size_t>(place), longestName + 2);
  const std::size_t end = rest.find_first_of(std::string_view("\n\0", 2));
  if (end == std::string_view::npos) return false;
  *name = rest.substr(0, end);
  if (name->size() > 1 && name->back() == '/') name->remove_suffix(1);
  return true;
}

void Directory::countNames() {
  std::vector<GArMember>& members = result.members;
  result.byName.resize(members.size());
  std::iota(result.byName.begin(), result.byName.end(), 0U);
  std::stable_sort(
      result.byName.begin(), result.byName.end(),
      [&](std::uint32_t a, std::uint32_t b) { return members[a].name < members[b].name; });
  for (std::size_t i = 1; i < members.size(); ++i) {
    const GArMember& before = members[result.byName[i - 1]];
    GArMember& member = members[result.byName[i]];
    if (member.name == before.name) member.number = before.number + 1;
  }
}

bool Directory::damaged(const std::string& text) {
  result.damage.push_back(text);
  return false;
}

bool Directory::reachesBeyond(const GArMember& member) const {
  return member.offset > window.size() || member.size > window.size() - member.offset;
}

}  // namespace loomkit::ar
