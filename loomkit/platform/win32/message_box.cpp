// SPDX-License-Identifier: MIT
#include "loomkit/platform/message_box.h"

#include "loomkit/platform/win32/windows_api.h"

namespace loomkit::platform {

void showMessage(const char* title, const char* text) noexcept {
  ::MessageBoxA(nullptr, text, title, MB_OK | MB_ICONHAND);
}

void fatalExit(const char* text) noexcept {
  ::FatalAppExitA(0, text);
  ::ExitProcess(1);
}

}  // namespace loomkit::platform
