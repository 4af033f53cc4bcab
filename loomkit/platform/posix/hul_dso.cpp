// SPDX-License-Identifier: MIT
#include <dlfcn.h>

#include <string>

#include "loomkit/platform/hul.h"
#include "loomkit/platform/module.h"
#include "loomkit/platform/posix/hul_status.h"

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
using loomkit::platform::openModule;

const char* hulGetDSOPrefix() { return "lib"; }
const char* hulGetDSOSuffix() { return loomkit::platform::moduleSuffix; }

int hulOpenDSO(const char* name, int /*flags*/, void** handle) {
  const std::string path = name;
  *handle = openModule(name);
  if (*handle != nullptr) return 0;
  const int status = failed();  // now, while its words speak of the name that was asked for
  if (!path.ends_with(hulGetDSOSuffix())) return status;
  for (char version = '0'; version <= '9' && *handle == nullptr; ++version)
    *handle = openModule((path + '.' + version).c_str());
  return *handle != nullptr ? 0 : status;
}

int hulCloseDSO(void* handle) { return ::dlclose(handle) == 0 ? 0 : failed(); }

int hulGetSymbolAddress(void* handle, const char* name, void** address) {
  ::dlerror();
  *address = ::dlsym(handle, name);
  return *address != nullptr ? 0 : failed();
}
