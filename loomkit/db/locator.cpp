// SPDX-License-Identifier: MIT
#include "loomkit/db/locator.h"

#include <algorithm>

#include "loomkit/text/char_class.h"
#include "loomkit/text/letter_case.h"
#include "loomkit/text/string_util.h"
#include "loomkit/text/uri.h"

namespace loomkit {

bool splitLocator(const std::string& text, Locator* locator) {
  const std::size_t colon = text.find(':');
  if (colon == std::string::npos) return false;
  Locator parts;
  parts.type = lowerCased(std::string_view(text).substr(0, colon));
  const std::size_t question = text.find('?', colon);
  if (question != std::string::npos) gSplit(text.substr(question + 1), ";", &parts.options);
  parts.path = gUnescapePartOfURI(text.substr(colon + 1, question - colon - 1));
  *locator = std::move(parts);
  return true;
}

std::string locatorType(const std::string& text) {
  Locator locator;
  if (!splitLocator(text, &locator)) return {};
  const std::string& type = locator.type;
  const bool nothingBehind = text.size() == type.size() + 1;
  if (nothingBehind || !std::all_of(type.begin(), type.end(), isAsciiAlnum)) return {};
  return type;
}

}  // namespace loomkit
