# SPDX-License-Identifier: MIT
# What `cmake --install` lays down: both libraries, the public headers, the
# CMake package, loomkit.pc, and the tool where it is built.
include(CMakePackageConfigHelpers)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/loomkit)
install(TARGETS loomkit EXPORT loomkitTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT loomkitTargets NAMESPACE loomkit:: DESTINATION ${package})
# Apart, because only who links statically needs zlib's development files.
install(TARGETS loomkit_static EXPORT loomkitStaticTargets ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT loomkitStaticTargets NAMESPACE loomkit:: DESTINATION ${package})

# A DLL and its host share the compiler's own libraries, which the machine that runs them
# has from nobody else. The middle two do the same, one on each word size.
if(MINGW)
  foreach(name libstdc++-6 libgcc_s_seh-1 libgcc_s_dw2-1 libwinpthread-1)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}.dll
      OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(IS_ABSOLUTE ${file})
      install(FILES ${file} DESTINATION ${CMAKE_INSTALL_BINDIR})
    endif()
  endforeach()
endif()

get_property(headers GLOBAL PROPERTY LOOMKIT_PUBLIC_HEADERS)
get_property(store_headers GLOBAL PROPERTY TESSEL_PUBLIC_HEADERS)
list(APPEND headers ${store_headers})
foreach(header IN LISTS headers)
  cmake_path(RELATIVE_PATH header BASE_DIRECTORY ${PROJECT_SOURCE_DIR})
  cmake_path(GET header PARENT_PATH folder)
  install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
endforeach()

configure_package_config_file(cmake/loomkitConfig.cmake.in loomkitConfig.cmake
  INSTALL_DESTINATION ${package})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/loomkitConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/loomkitConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/loomkitConfigVersion.cmake
  DESTINATION ${package})

# Relative, so that an installed tree can be moved and --prefix is obeyed.
file(RELATIVE_PATH LOOMKIT_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" LOOMKIT_PC_TO_PREFIX ${LOOMKIT_PC_TO_PREFIX})
# Another store's library, as a linker takes it: a name, a path, or an option.
set(LOOMKIT_PC_STORE)
foreach(library IN LISTS LOOMKIT_TESSEL)
  if(library MATCHES "^[/-]")
    string(APPEND LOOMKIT_PC_STORE " ${library}")
  else()
    string(APPEND LOOMKIT_PC_STORE " -l${library}")
  endif()
endforeach()
configure_file(packaging/loomkit.pc.in loomkit.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/loomkit.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(CPACK_PACKAGE_CONTACT "The loomkit authors <loomkit@example.org>")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
endif()
set(CPACK_STRIP_FILES ON)
include(CPack)
