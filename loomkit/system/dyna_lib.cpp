// SPDX-License-Identifier: MIT
#include "loomkit/system/dyna_lib.h"

#include <string_view>

#include "loomkit/platform/module.h"

const char* GDynaLib::sExt = loomkit::platform::moduleSuffix;

namespace {

std::string withSuffix(const std::string& name, std::string_view suffix) {
  const bool complete = name.size() > suffix.size() && name.ends_with(suffix);
  return complete ? name : name + std::string(suffix);
}

}  // namespace

GDynaLib::GDynaLib(const std::string& libraryName)
    : name(withSuffix(libraryName, sExt)),
      handle(std::make_shared<void*>(loomkit::platform::openModule(name.c_str()))) {}

GDynaLib::GDynaLib(const GDynaLib&) = default;
GDynaLib& GDynaLib::operator=(const GDynaLib&) = default;

GDynaLib::~GDynaLib() { close(); }

bool GDynaLib::isOpen() const { return *handle != nullptr; }

void GDynaLib::close() {
  if (!isOpen()) return;
  loomkit::platform::closeModule(*handle);
  *handle = nullptr;
}

GDynaLib::GetProc GDynaLib::getFunction(const char* functionName) const {
  if (!isOpen()) return nullptr;
  return reinterpret_cast<GetProc>(loomkit::platform::moduleSymbol(*handle, functionName));
}

const char* GDynaLib::getExtension() { return sExt; }
