# SPDX-License-Identifier: Apache-2.0
# cmake --install: libraries, headers, CMake package and pkg-config files.

include(CMakePackageConfigHelpers)

set(vlix_libraries vlix_meas vlix_object vlix_optim vlix_util vlix_xform)
install(TARGETS ${vlix_libraries} EXPORT VlixMeasTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(DIRECTORY include/vlix DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT VlixMeasTargets NAMESPACE VlixMeas::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VlixMeas COMPONENT development)

configure_package_config_file(cmake/VlixMeasConfig.cmake.in ${CMAKE_BINARY_DIR}/VlixMeasConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VlixMeas)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/VlixMeasConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/VlixMeasConfig.cmake ${CMAKE_BINARY_DIR}/VlixMeasConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VlixMeas COMPONENT development)

# The files find the tree that they lie in.
file(RELATIVE_PATH VLIX_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
function(vlix_pkg_config name description requires)
  set(VLIX_PC_NAME ${name})
  set(VLIX_PC_DESCRIPTION ${description})
  set(VLIX_PC_REQUIRES ${requires})
  configure_file(cmake/vlix.pc.in ${CMAKE_BINARY_DIR}/${name}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()
vlix_pkg_config(VlixObject "Records, status channel and optimisation level" "")
vlix_pkg_config(VlixOptim "Vectorised image primitives" "")
vlix_pkg_config(VlixUtil "Regions, casts and float histograms" "VlixObject")
vlix_pkg_config(VlixXform "Two-dimensional Fourier transform" "VlixObject")
vlix_pkg_config(VlixMeas "Measures images and vectors" "VlixObject")

if(VLIX_BUILD_TOOL)
  install(TARGETS vlix RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
endif()
