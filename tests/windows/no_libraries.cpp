// SPDX-License-Identifier: MIT
// Stands in front of the system's LoadLibrary(): no library is there.
#include <windows.h>

#include "tests/windows/imported_calls.h"

namespace {

HMODULE WINAPI loadNone(LPCSTR /*name*/) {
  ::SetLastError(ERROR_MOD_NOT_FOUND);
  return nullptr;
}

}  // namespace

extern "C" {
decltype(&::LoadLibraryA) importedLoadLibrary LOOMKIT_IMPORT(LoadLibraryA, 4) = loadNone;
}
