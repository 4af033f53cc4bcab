// SPDX-License-Identifier: MIT
// Stands in for line_editor_libedit.cpp where libedit is not there.
#include "line_editor.h"

namespace loom {

std::unique_ptr<LineEditor> makeEditor(const std::string& /*historyFile*/,
                                       const Completer& /*completer*/) {
  return nullptr;
}

}  // namespace loom
