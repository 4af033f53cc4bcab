# SPDX-License-Identifier: MIT
# Names what the tool is made of on Windows: packages, the library and the manifest.
#
# Two packages are headers alone, which are the same for every system. The folder of this
# machine's that they lie in holds its C library's headers too, so that they are taken
# from it one by one.
set(headers ${CMAKE_CURRENT_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${headers})
foreach(package CLI nlohmann)
  find_path(LOOMKIT_${package}_PARENT ${package} PATHS /usr/include NO_DEFAULT_PATH
    NO_CMAKE_FIND_ROOT_PATH REQUIRED)
  file(CREATE_LINK ${LOOMKIT_${package}_PARENT}/${package} ${headers}/${package} SYMBOLIC)
endforeach()
foreach(package CLI11 nlohmann_json)
  add_library(${package}::${package} INTERFACE IMPORTED)
  target_include_directories(${package}::${package} SYSTEM INTERFACE ${headers})
endforeach()

set(line_editor line_editor_none.cpp)
# The checksums of the SHA family.
set(system_packages bcrypt)
enable_language(RC)
set(system_resources win32/loom.rc)

# One file that runs by itself, wherever it lies. The compiler's C library has the calls
# of POSIX for times under this name.
set(system_loomkit loomkit_static -static)
set(system_definitions LOOMKIT_STATIC _POSIX_C_SOURCE=200809L)
