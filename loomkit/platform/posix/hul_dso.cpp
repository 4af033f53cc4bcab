// SPDX-License-Identifier: MIT
#include <dlfcn.h>

#include <string>

#include "loomkit/platform/hul.h"
#include "loomkit/platform/posix/hul_status.h"
#include "loomkit/platform/posix/paths.h"

namespace loomkit::platform {
namespace {

thread_local std::string dsoError;

int failed() {
  const char* words = ::dlerror();
  dsoError = words != nullptr ? words : "Unknown loader error";
  return dsoFailure;
}

}  // namespace

const char* dsoErrorText() { return dsoError.c_str(); }

}  // namespace loomkit::platform

using loomkit::platform::failed;

const char* hulGetDSOPrefix() { return "lib"; }
const char* hulGetDSOSuffix() { return ".so"; }

int hulOpenDSO(const char* name, int /*flags*/, void** handle) {
  const std::string path = loomkit::platform::systemPath(name);
  *handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (*handle != nullptr) return 0;
  const int status = failed();  // the words for the name that was asked for
  if (!path.ends_with(hulGetDSOSuffix())) return status;
  for (char version = '0'; version <= '9' && *handle == nullptr; ++version)
    *handle = ::dlopen((path + '.' + version).c_str(), RTLD_NOW | RTLD_LOCAL);
  return *handle != nullptr ? 0 : status;
}

int hulCloseDSO(void* handle) { return ::dlclose(handle) == 0 ? 0 : failed(); }

int hulGetSymbolAddress(void* handle, const char* name, void** address) {
  ::dlerror();
  *address = ::dlsym(handle, name);
  return *address != nullptr ? 0 : failed();
}
