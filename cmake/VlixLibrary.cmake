# SPDX-License-Identifier: Apache-2.0

# vlix_library(<target> <output name> <export map> <sources...>)
# A shared library that exports exactly the functions its map lists. The map has no version names: a named version would
# make the loader refuse another library with the same C interface.
function(vlix_library target output_name map)
  add_library(${target} SHARED ${ARGN})
  add_library(VlixMeas::${output_name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${output_name}
    EXPORT_NAME ${output_name}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    C_VISIBILITY_PRESET hidden
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    # The installed libraries find one another wherever they lie; LD_LIBRARY_PATH still comes first.
    INSTALL_RPATH "$ORIGIN"
    LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${map})
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:vlix_warnings> $<BUILD_INTERFACE:vlix_strict_floats>)
  target_link_options(${target} PRIVATE
    -Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/${map} -Wl,--as-needed)
  if(NOT VLIX_SANITIZE)
    target_link_options(${target} PRIVATE -Wl,-z,defs)
  endif()
endfunction()
