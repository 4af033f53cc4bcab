// SPDX-License-Identifier: MIT
// GOStrStream and GIStrStream: standard string streams whose numbers do not
// depend on the global locale. Every message of the library is composed in a
// GOStrStream, so that "1234.5" never comes out as "1.234,5".
//
//   GOStrStream text;
//   text << "read " << count << " bytes";
//   gOutput->message(text);
#ifndef LOOMKIT_TEXT_STR_STREAM_H
#define LOOMKIT_TEXT_STR_STREAM_H

#include <sstream>
#include <string>

#include "loomkit/platform/export.h"

/// An output string stream of 8-bit characters, opened with mode `out`.
/// An object belongs to one thread at a time.
class LOOMKIT_API GOStrStream : public std::ostringstream {
 public:
  /// Imbues the classic locale if `classicLocale` is set; otherwise the stream
  /// keeps the global locale of the moment.
  GOStrStream(bool classicLocale = true);
  ~GOStrStream() override;
};

/// An input string stream over a copy of a text, opened with mode `in`.
/// An object belongs to one thread at a time.
class LOOMKIT_API GIStrStream : public std::istringstream {
 public:
  /// Reads from a copy of `text`. Imbues the classic locale if `classicLocale`
  /// is set.
  GIStrStream(const std::string& text, bool classicLocale);
  ~GIStrStream() override;
};

#endif  // LOOMKIT_TEXT_STR_STREAM_H
