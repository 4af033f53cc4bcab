// SPDX-License-Identifier: MIT
#include "loomkit/archive/portable_name.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "loomkit/text/letter_case.h"

namespace loomkit {
namespace {

constexpr std::string_view deviceNames[] = {"con", "prn", "aux", "nul", "conin$", "conout$"};
constexpr std::string_view numberedDeviceNames[] = {"com", "lpt"};
// Behind the latter. The raised digits are those of Latin-1, in UTF-8.
constexpr std::string_view deviceNumbers[] = {"0", "1", "2", "3",      "4",      "5",     "6",
                                              "7", "8", "9", "\u00b9", "\u00b2", "\u00b3"};

template <std::size_t count>
bool isOneOf(const std::string_view (&names)[count], std::string_view name) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

// Windows has its devices in every directory, with any extension.
bool namesDevice(const std::string& part) {
  std::string name = lowerCased(part.substr(0, part.find('.')));
  name.resize(name.find_last_not_of(' ') + 1);
  constexpr std::size_t length = 3;
  return isOneOf(deviceNames, name) ||
         (isOneOf(numberedDeviceNames, std::string_view(name).substr(0, length)) &&
          isOneOf(deviceNumbers, std::string_view(name).substr(length)));
}

}  // namespace

bool isPortableName(const std::string& name) {
  return !name.empty() && name.find_first_of(std::string_view("/\\:\0", 4)) == std::string::npos &&
         name.back() != '.' && name.back() != ' ' && !namesDevice(name);
}

}  // namespace loomkit
