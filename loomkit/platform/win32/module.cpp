// SPDX-License-Identifier: MIT
#include "loomkit/platform/module.h"

#include <cstring>

#include "loomkit/platform/win32/error_codes.h"
#include "loomkit/platform/win32/system_path.h"

namespace loomkit::platform {

const char* const moduleSuffix = ".dll";

namespace {

// A name without a directory is looked for along the path, and must stay as it is.
void* load(const char* name) {
  const bool isPath = std::strpbrk(name, "/\\:") != nullptr;
  return isPath ? ::LoadLibraryW(SystemPath(name).c_str()) : ::LoadLibraryA(name);
}

}  // namespace

void* openModule(const char* name) {
  // A damaged library is a failure, and no box on the screen.
  DWORD before = 0;
  ::SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &before);
  void* module = load(name);
  const KeepLastError reason;
  ::SetThreadErrorMode(before, nullptr);
  return module;
}

void closeModule(void* module) noexcept { ::FreeLibrary(static_cast<HMODULE>(module)); }

void* moduleSymbol(void* module, const char* name) noexcept {
  const FARPROC function = ::GetProcAddress(static_cast<HMODULE>(module), name);
  // A pointer to a function is one to data here, which no cast of the language says.
  void* address = nullptr;
  static_assert(sizeof address == sizeof function);
  std::memcpy(&address, &function, sizeof address);
  return address;
}

}  // namespace loomkit::platform
