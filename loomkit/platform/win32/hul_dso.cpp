// SPDX-License-Identifier: MIT
#include <string>

#include "loomkit/platform/hul.h"
#include "loomkit/platform/module.h"
#include "loomkit/platform/win32/error_codes.h"
#include "loomkit/platform/win32/hul_status.h"
#include "loomkit/platform/win32/windows_api.h"

namespace loomkit::platform {
namespace {

std::string& dsoError() {
  thread_local std::string words;
  return words;
}

// The system's words do not say which library, or which name, is missing.
int failedFor(const std::string& name) {
  dsoError() = name + ": " + wordsOf(::GetLastError());
  return dsoFailure;
}

}  // namespace

const char* dsoErrorText() { return dsoError().c_str(); }

}  // namespace loomkit::platform

using loomkit::platform::failedFor;

const char* hulGetDSOPrefix() { return ""; }
const char* hulGetDSOSuffix() { return loomkit::platform::moduleSuffix; }

// There are no versioned names here.
int hulOpenDSO(const char* name, int /*flags*/, void** handle) {
  *handle = loomkit::platform::openModule(name);
  return *handle != nullptr ? 0 : failedFor(name);
}

int hulCloseDSO(void* handle) {
  return ::FreeLibrary(static_cast<HMODULE>(handle)) != 0 ? 0 : failedFor("FreeLibrary");
}

int hulGetSymbolAddress(void* handle, const char* name, void** address) {
  *address = loomkit::platform::moduleSymbol(handle, name);
  return *address != nullptr ? 0 : failedFor(name);
}
