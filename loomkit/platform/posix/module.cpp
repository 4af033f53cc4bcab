// SPDX-License-Identifier: MIT
#include "loomkit/platform/module.h"

#include <dlfcn.h>

#include "loomkit/platform/posix/paths.h"

namespace loomkit::platform {

const char* const moduleSuffix = ".so";

void* openModule(const char* name) {
  return dlopen(systemPath(name).c_str(), RTLD_NOW | RTLD_LOCAL);
}

void closeModule(void* module) noexcept { dlclose(module); }

void* moduleSymbol(void* module, const char* name) noexcept { return dlsym(module, name); }

}  // namespace loomkit::platform
