# What another project needs to compile a provider against the installed tree: a CMake package and a pkg-config file, both
# named obzx-pdk. The version is that of the runtime's interface.
include(CMakePackageConfigHelpers)
set(OBZX_PDK_VERSION 4.4.0)
set(folder ${CMAKE_INSTALL_LIBDIR}/cmake/obzx-pdk)

configure_file(cmake/obzx-pdk.pc.in ${PROJECT_BINARY_DIR}/obzx-pdk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/obzx-pdk.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/obzx-pdk-config-version.cmake
  VERSION ${OBZX_PDK_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES cmake/obzx-pdk-config.cmake ${PROJECT_BINARY_DIR}/obzx-pdk-config-version.cmake
        DESTINATION ${folder}
        COMPONENT development)
install(
  EXPORT obzx_pdk
  FILE obzx-pdk-targets.cmake
  NAMESPACE obzx::
  DESTINATION ${folder}
  COMPONENT development)
