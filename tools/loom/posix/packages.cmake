# SPDX-License-Identifier: MIT
# Names what the tool is made of on POSIX systems: packages and the library.
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(PkgConfig REQUIRED)

# The checksums of the SHA family.
pkg_check_modules(NETTLE REQUIRED IMPORTED_TARGET nettle)
set(system_packages PkgConfig::NETTLE)

# The prompt of loom repl; without it lines are read as they come.
pkg_check_modules(LIBEDIT IMPORTED_TARGET libedit)
if(LIBEDIT_FOUND)
  set(line_editor line_editor_libedit.cpp)
  list(APPEND system_packages PkgConfig::LIBEDIT)
else()
  set(line_editor line_editor_none.cpp)
endif()

set(system_loomkit loomkit)
