// SPDX-License-Identifier: MIT
// Templates, and the helpers that take texts apart: the input is a template and
// a value, with a line end between them.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "loomkit/text/gi_string.h"
#include "loomkit/text/path_name.h"
#include "loomkit/text/string_util.h"
#include "loomkit/text/template.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

void fill(std::string text, const std::string& value) {
  for (int i = 0; i < 3; ++i) {
    const std::size_t before = text.size();
    text << value;
    require(text.size() == before || text.size() == before - 2 + value.size());
  }
  text << 5 << 1.5 << 'c' << true << value.c_str() << text;
}

void takeApart(const std::string& text, const std::string& delimiters) {
  std::vector<std::string> fields;
  if (delimiters.size() == 1 && delimiters[0] != '\0') {
    gSplit(text, delimiters.c_str(), &fields);
    require(gJoin(delimiters.c_str(), fields) == text);
  }
  gSplit(text, delimiters.c_str(), &fields, 3U, true);
  require(!fields.empty() && fields.size() <= 3);
  GiString trimmed(text);
  trimmed.trim(delimiters.c_str());
  require(text.find(trimmed) != std::string::npos);
  require(!gBasename(text, delimiters.c_str()).empty());
  require(!gDirname(text).empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string both(reinterpret_cast<const char*>(data), std::min<std::size_t>(size, 4096));
  const std::size_t split = std::min(both.find('\n'), both.size());
  const std::string text = both.substr(0, split);
  const std::string value = split < both.size() ? both.substr(split + 1) : "";
  fill(text, value);
  takeApart(text, value);
  return 0;
}
