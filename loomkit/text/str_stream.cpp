// SPDX-License-Identifier: MIT
#include "loomkit/text/str_stream.h"

#include <locale>

GOStrStream::GOStrStream(bool classicLocale) : std::ostringstream(std::ios_base::out) {
  if (classicLocale) imbue(std::locale::classic());
}

GOStrStream::~GOStrStream() = default;

GIStrStream::GIStrStream(const std::string& text, bool classicLocale)
    : std::istringstream(text, std::ios_base::in) {
  if (classicLocale) imbue(std::locale::classic());
}

GIStrStream::~GIStrStream() = default;
