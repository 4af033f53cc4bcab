# SPDX-License-Identifier: MIT
# How every target of this project is compiled: the language level, the
# warnings (all of them errors) and the sanitizers of LOOMKIT_SANITIZE.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

find_program(LOOMKIT_CCACHE ccache)
if(LOOMKIT_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${LOOMKIT_CCACHE})
  if(LOOMKIT_PRECOMPILE_TESTS)
    # Without these it keeps nothing that uses precompiled headers. No source has __TIME__.
    list(PREPEND CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros)
  endif()
endif()

add_library(loomkit_warnings INTERFACE)
target_compile_options(loomkit_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror
  # gcc 12 sees overlapping copies in its own std::string (gcc bug 105651).
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)

# Results are the same bits on every machine: no fused multiply-add behind our
# back, and no x87 registers of 80 bits on 32-bit x86.
add_compile_options(-ffp-contract=off)
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "x86|i.86|AMD64")
  add_compile_options(-msse2 -mfpmath=sse)
endif()

# Files above 2 GiB and times after 2038 on 32-bit machines too.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  add_compile_definitions(_FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()

if(LOOMKIT_SANITIZE)
  # The instrumentation makes gcc 12 lose track of what <regex> initialises.
  target_compile_options(loomkit_warnings INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  # Their reports need the lines of the sources; all that -g has would fill gigabytes.
  add_compile_options(-fsanitize=${LOOMKIT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
  add_link_options(-fsanitize=${LOOMKIT_SANITIZE})
endif()
