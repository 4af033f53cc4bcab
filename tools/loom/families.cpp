// SPDX-License-Identifier: MIT
// The list of command families, in the order of the help. One line each.
#include "families.h"

namespace loom {

namespace {

constexpr const Family* list[] = {
    &evalFamily,      //
    &replFamily,      //
    &wordsFamily,     //
    &textFamily,      //
    &sumFamily,       //
    &fileFamily,      //
    &runFamily,       //
    &gzipFamily,      //
    &zipFamily,       //
    &arFamily,        //
    &materialFamily,  //
    &objectFamily,    //
    &configFamily,    //
    &dbFamily,        //
    &sqlFamily,       //
    &tesselFamily,    //
    &xbaseFamily,     //
    &aboutFamily,     //
};

}  // namespace

std::span<const Family* const> families() { return list; }

}  // namespace loom
