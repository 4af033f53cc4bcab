// SPDX-License-Identifier: MIT
// URIs: escaping undone gives the text again, normalising twice changes nothing.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "loomkit/text/uri.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (const char* allowed : {static_cast<const char*>(nullptr), "", "/?", text.c_str()}) {
    const std::string escaped = gEscapeURIComponent(text, allowed);
    require(gUnescapePartOfURI(escaped) == text);
    require(escaped.size() <= text.size() * 3);
  }
  const std::string normalized = gNormalizeURI(text);
  require(gNormalizeURI(normalized) == normalized);
  require(gUnescapePartOfURI(text).size() <= text.size());
  const std::string upToNul = text.c_str();
  require(gNormalizeURI(text.c_str()) == gNormalizeURI(upToNul));
  require(gEscapeURIComponent(text.c_str(), "") == gEscapeURIComponent(upToNul, ""));
  require(gUnescapePartOfURI(text.c_str()) == gUnescapePartOfURI(upToNul));
  require(gIsURI(text) == gIsURI(text.c_str()));
  return 0;
}
