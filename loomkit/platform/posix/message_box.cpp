// SPDX-License-Identifier: MIT
#include "loomkit/platform/message_box.h"

#include <cstdio>
#include <cstdlib>

namespace loomkit::platform {

void showMessage(const char* title, const char* text) noexcept {
  std::fprintf(stderr, "%s\n", title);
  for (const char* c = text; *c != '\0'; ++c) {
    if (*c != '\r') std::fputc(*c, stderr);
  }
  std::fputc('\n', stderr);
}

void fatalExit(const char* text) noexcept {
  std::fprintf(stderr, "%s\n", text);
  std::_Exit(1);
}

}  // namespace loomkit::platform
