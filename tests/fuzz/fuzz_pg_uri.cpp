// SPDX-License-Identifier: MIT
// Connection URIs: nothing behind a password's begin is shown of it, whatever stands
// around it, and what is shown once is shown the same again.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "loomkit/db/postgresql/connection_uri.h"

namespace {

using loomkit::withoutPassword;

void require(bool holds) {
  if (!holds) std::abort();
}

void requireHidden(const std::string& locator) {
  require(withoutPassword(locator).find("SECRET") == std::string::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  for (const std::string& locator : {text, "postgresql://" + text}) {
    const std::string shown = withoutPassword(locator);
    require(shown.size() <= locator.size() && withoutPassword(shown) == shown);
    require(loomkit::isConnectionUri(shown) == loomkit::isConnectionUri(locator));
    require(loomkit::connectionUri(locator).size() == locator.size());
    loomkit::hasPlainUser(locator);
  }
  requireHidden("postgresql://me:" + text + "SECRET@host/db");
  requireHidden("postgresql://me:" + text + "SECRET@host:5432/db?sslmode=require");
  requireHidden("postgres://:SECRET" + text + "@/");
  if (text.find('&') == std::string::npos) {
    requireHidden("postgresql://host/db?password=" + text + "SECRET");
    requireHidden("postgresql://me@host/db?sslpassword=" + text + "SECRET&user=me");
  }
  return 0;
}
