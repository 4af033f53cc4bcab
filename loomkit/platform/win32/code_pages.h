// SPDX-License-Identifier: MIT
// The system knows code sets by number, the rest of the world by name.
#ifndef LOOMKIT_PLATFORM_WIN32_CODE_PAGES_H
#define LOOMKIT_PLATFORM_WIN32_CODE_PAGES_H

#include <string>

namespace loomkit::platform {

/// The number of a code set such as "UTF-8", "CP1252", "windows-1252", "IBM850",
/// "ISO-8859-15" or "SHIFT_JIS", in letters of either case; 0 for one that is unknown,
/// that the system has not installed, or that does not hold ASCII in single bytes.
unsigned codePageOf(const char* name);

/// The name of a code page.
std::string nameOfCodePage(unsigned page);

}  // namespace loomkit::platform

#endif  // LOOMKIT_PLATFORM_WIN32_CODE_PAGES_H
