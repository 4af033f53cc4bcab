# SPDX-License-Identifier: MIT
# The target `reference`: the public headers' comments as HTML, by Doxygen. A
# warning is an error.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  return()
endif()
get_property(headers GLOBAL PROPERTY LOOMKIT_PUBLIC_HEADERS)
get_property(store_headers GLOBAL PROPERTY TESSEL_PUBLIC_HEADERS)
list(APPEND headers ${store_headers})
list(TRANSFORM headers REPLACE "(.+)" "\"\\1\"")
list(JOIN headers " \\\n  " LOOMKIT_REFERENCE_INPUT)
foreach(page groups.dox main.md)
  string(PREPEND LOOMKIT_REFERENCE_INPUT "\"${PROJECT_SOURCE_DIR}/docs/reference/${page}\" \\\n  ")
endforeach()
configure_file(docs/reference/Doxyfile.in Doxyfile @ONLY)
add_custom_target(reference
  COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/reference
  COMMAND Doxygen::doxygen ${CMAKE_BINARY_DIR}/Doxyfile
  COMMAND ${CMAKE_COMMAND} -E echo "${CMAKE_BINARY_DIR}/reference/html/index.html"
  VERBATIM)
