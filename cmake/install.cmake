# What `cmake --install` puts where. Each file belongs to a component, and each component is a package of
# packaging/: the two shared objects (libkelvoutils, libkelvo-platform), what a program is built with
# (dev: headers, pkg-config files, a CMake package), programs for people (tools), documentation (doc).
# What names no component belongs to the one of its room, CMAKE_INSTALL_DEFAULT_COMPONENT_NAME.

include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME dev)
install(TARGETS kelvoutils EXPORT kelvoutilsTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libkelvoutils NAMELINK_COMPONENT dev)
install(TARGETS kelvo_platform EXPORT kelvoutilsTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libkelvo-platform NAMELINK_COMPONENT dev)
install(DIRECTORY common/include/ platform/include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelvo
  FILES_MATCHING PATTERN "*.h")

install(EXPORT kelvoutilsTargets NAMESPACE kelvoutils::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kelvoutils)
configure_package_config_file(cmake/kelvoutilsConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/kelvoutilsConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kelvoutils)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/kelvoutilsConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/kelvoutilsConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/kelvoutilsConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kelvoutils)

# The prefix as seen from the pkg-config files, so that a tree can be installed or moved anywhere.
file(RELATIVE_PATH KELVO_PREFIX_FROM_PC
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(package kelvoutils kelvo-platform)
  configure_file(cmake/${package}.pc.in ${CMAKE_CURRENT_BINARY_DIR}/${package}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${package}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

# The host platform works without a configuration; this one says what could be in it.
install(FILES platform/host/platform.conf.sample DESTINATION ${CMAKE_INSTALL_DATADIR}/kelvo
  COMPONENT tools)

# A package states its licence in its own way.
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT license)
