// SPDX-License-Identifier: MIT
// Every command family, each defined in its own NAME_commands.cpp.
#ifndef LOOM_FAMILIES_H
#define LOOM_FAMILIES_H

#include "command.h"

namespace loom {

extern const Family aboutFamily;
extern const Family arFamily;
extern const Family configFamily;
extern const Family dbFamily;
extern const Family evalFamily;
extern const Family fileFamily;
extern const Family gzipFamily;
extern const Family materialFamily;
extern const Family objectFamily;
extern const Family replFamily;
extern const Family runFamily;
extern const Family sqlFamily;
extern const Family sumFamily;
extern const Family tesselFamily;
extern const Family textFamily;
extern const Family wordsFamily;
extern const Family xbaseFamily;
extern const Family zipFamily;

}  // namespace loom

#endif  // LOOM_FAMILIES_H
