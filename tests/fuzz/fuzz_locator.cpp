// SPDX-License-Identifier: MIT
// Locators: taken apart, and handed to the registry. No file is opened: the
// input stands behind "no-", with which no type begins.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "loomkit/db/database.h"
#include "loomkit/db/locator.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string locator(reinterpret_cast<const char*>(data), size);
  loomkit::Locator parts;
  const bool split = loomkit::splitLocator(locator.c_str(), &parts);
  require(split == (std::string(locator.c_str()).find(':') != std::string::npos));
  for (const std::string& option : parts.options) require(option.find(';') == std::string::npos);
  GDbDatabase* database = nullptr;
  const GDbStatus status = GDbDatabase::openDatabase(("no-" + locator).c_str(), &database);
  require(status == GDbInvalidLocator || status == GDbInvalidTypeId);
  return 0;
}
