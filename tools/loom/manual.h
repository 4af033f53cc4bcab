// SPDX-License-Identifier: MIT
// The manual pages, made from the command table: loom(1), and one for each family.
#ifndef LOOM_MANUAL_H
#define LOOM_MANUAL_H

#include <string>
#include <vector>

#include "command_line.h"

namespace loom {

/// A page of section 1 as roff source.
struct ManualPage {
  std::string name;  ///< "loom-zip", also the file's name without ".1"
  std::string text;
};

/// The page of loom itself: what holds for every command, and the list of commands.
[[nodiscard]] ManualPage overviewPage();

/// Whether the family has a page of its own, as all have but the commands about loom
/// itself, which stand in loom(1).
[[nodiscard]] bool hasPage(const Family& family);

/// The page of a family. One without a name has that of its first command.
[[nodiscard]] ManualPage familyPage(const Family& family);

/// The page of one command alone.
[[nodiscard]] ManualPage commandPage(const CommandRef& ref);

/// All pages that are installed; loom(1) is the first.
[[nodiscard]] std::vector<ManualPage> allPages();

}  // namespace loom

#endif  // LOOM_MANUAL_H
