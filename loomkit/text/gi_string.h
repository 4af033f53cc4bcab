// SPDX-License-Identifier: MIT
// GiString, a std::string with a hash, case mapping, trimming and quoting:
//
//   GiString s("  Tab\there ");
//   s.trim(nullptr);                         // "Tab\there"
//   s.toLower(0, s.size());                  // "tab\there"
//   GiString quoted = s.convertToCString(0, s.size());   // "\"tab\\there\""
#ifndef LOOMKIT_TEXT_GI_STRING_H
#define LOOMKIT_TEXT_GI_STRING_H

#include <string>

#include "loomkit/platform/export.h"

/// The empty text, for functions that return a reference to none.
extern LOOMKIT_API const std::string gEmptyString;

/// A std::string with text operations. It adds no data and no virtual
/// operation, so that it passes wherever a std::string is expected. Bytes have
/// no declared encoding; case follows the C library's current locale.
///
/// Positions and counts are in bytes. A count that reaches beyond the end is
/// clipped to it; 0xFFFFFFFF therefore means "to the end".
class LOOMKIT_API GiString : public std::string {
 public:
  GiString() = default;
  GiString(const GiString&) = default;
  GiString(GiString&&) noexcept = default;
  ~GiString() = default;

  /// The text of `s` from `pos` on; the second form takes at most `n`
  /// characters. `pos` above the size raises std::out_of_range, as the base does.
  GiString(const std::string& s, unsigned pos = 0);
  GiString(const std::string& s, unsigned pos, unsigned n);

  /// A NUL-terminated text, or the `n` characters at `s`.
  GiString(const char* s);
  GiString(const char* s, unsigned n);

  /// `n` times `c`.
  GiString(unsigned n, char c);

  /// The characters from `first` up to, not including, `last`.
  GiString(const char* first, const char* last);

  GiString& operator=(const GiString&) = default;
  GiString& operator=(GiString&&) noexcept = default;
  GiString& operator=(const char* s);

  /// A 32-bit hash over the bytes taken as signed; 0 for the empty text. Hosts
  /// store these values, so they never change.
  [[nodiscard]] unsigned hash() const noexcept;

  /// Changes the case of `n` characters from `pos` on and returns the object. A
  /// text in which nothing would change is not written to. `pos` above the size
  /// raises std::out_of_range unless `n` is 0.
  std::string& toLower(unsigned pos, unsigned n);
  std::string& toUpper(unsigned pos, unsigned n);

  /// Removes the characters of the NUL-terminated set `chars` from both ends,
  /// the start or the end, and returns the object. A null `chars` means white
  /// space: space, tab, carriage return, line feed, vertical tab, form feed.
  std::string& trim(const char* chars);
  std::string& trimLeft(const char* chars);
  std::string& trimRight(const char* chars);

  /// The `n` characters from `pos` on as a quoted literal, the notation that
  /// gParseCString() and parseAsCString() read. A `pos` above the size gives
  /// the empty literal.
  [[nodiscard]] GiString convertToCString(unsigned pos, unsigned n) const;

  /// Reads a literal from `pos` on. The opening quote is optional, no white
  /// space is skipped, and NUL is a character like others. `*end` (unless
  /// `end` is null) receives the number of characters consumed, quotes
  /// included, or 0xFFFFFFFF when there was no closing quote; the text read so
  /// far is returned even then.
  [[nodiscard]] GiString parseAsCString(unsigned pos, unsigned* end) const;
};

#endif  // LOOMKIT_TEXT_GI_STRING_H
