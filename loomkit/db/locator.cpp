// SPDX-License-Identifier: MIT
#include "loomkit/db/locator.h"

#include "loomkit/text/string_util.h"
#include "loomkit/text/uri.h"

namespace loomkit {

bool splitLocator(const char* locator, Locator* parts) {
  std::string rest = locator;
  const std::size_t colon = rest.find(':');
  if (colon == std::string::npos) return false;
  rest.erase(0, colon + 1);
  const std::size_t question = rest.find('?');
  if (question != std::string::npos) {
    gSplit(rest.substr(question + 1), ";", &parts->options);
    rest.erase(question);
  }
  parts->path = gUnescapePartOfURI(rest);
  return true;
}

}  // namespace loomkit
