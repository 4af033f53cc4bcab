# SPDX-License-Identifier: MIT
# Each folder of the library names its own files with these functions;
# loomkit/CMakeLists.txt then makes the shared and the static library of them.

# loomkit_sources(file...): sources of the calling folder.
function(loomkit_sources)
  foreach(file IN LISTS ARGN)
    set_property(GLOBAL APPEND PROPERTY LOOMKIT_SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/${file})
  endforeach()
endfunction()

# loomkit_system_libraries(name...): libraries of the system that the platform folder
# calls, beside those that every program has.
function(loomkit_system_libraries)
  set_property(GLOBAL APPEND PROPERTY LOOMKIT_SYSTEM_LIBRARIES ${ARGN})
endfunction()

# loomkit_exporting(target): objects that are compiled for both libraries. Only on
# Windows does a host's code differ by which of the two it is linked with.
function(loomkit_exporting target)
  if(WIN32)
    target_compile_definitions(${target} PRIVATE LOOMKIT_BUILD INTERFACE LOOMKIT_STATIC)
  endif()
endfunction()

# loomkit_backend(name): a database backend, whose factory is kept in
# `loomkit::backends::name`; loomkit/db/backends.h says why.
function(loomkit_backend name)
  set_property(GLOBAL APPEND PROPERTY LOOMKIT_BACKENDS ${name})
endfunction()

# loomkit_public_headers(file...): headers that are installed and that the
# umbrella header includes. A header not named here stays private.
function(loomkit_public_headers)
  foreach(file IN LISTS ARGN)
    set_property(GLOBAL APPEND PROPERTY LOOMKIT_PUBLIC_HEADERS ${CMAKE_CURRENT_SOURCE_DIR}/${file})
  endforeach()
endfunction()
