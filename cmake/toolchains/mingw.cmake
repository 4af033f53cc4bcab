# SPDX-License-Identifier: MIT
# Debian's cross compilers for Windows, with threads as on POSIX systems, which
# <mutex> and <thread> need. The including file sets CMAKE_SYSTEM_PROCESSOR.
set(CMAKE_SYSTEM_NAME Windows)
set(triplet ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32)
set(CMAKE_C_COMPILER ${triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${triplet}-windres)
list(APPEND CMAKE_FIND_ROOT_PATH /usr/${triplet})  # behind the prefixes that a host names
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# zlib within loomkit.dll, so that hosts need not carry it beside.
set(ZLIB_LIBRARY /usr/${triplet}/lib/libz.a CACHE FILEPATH "zlib")
