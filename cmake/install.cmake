# Installation: the library, its headers, a pkg-config file and a CMake package; tools and documentation apart.
include(CMakePackageConfigHelpers)

set(RQ_HEADERS types.h host.h operations.def operations.h interface.h registration.h journal.h kit.h rquni.h)
list(TRANSFORM RQ_HEADERS PREPEND ${PROJECT_SOURCE_DIR}/frame/)

target_include_directories(rquni INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
install(TARGETS rquni EXPORT rquni-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development)
install(FILES ${RQ_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rquni COMPONENT development)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/rquni)
install(EXPORT rquni-targets NAMESPACE rquni:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/rquni-config.cmake.in
  ${PROJECT_BINARY_DIR}/rquni-config.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/rquni-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/rquni-config.cmake ${PROJECT_BINARY_DIR}/rquni-config-version.cmake
  DESTINATION ${package_dir} COMPONENT development)

# Relocatable: the prefix is found from the file's own place.
file(RELATIVE_PATH RQ_PREFIX_FROM_PC ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/rquni.pc.in ${PROJECT_BINARY_DIR}/rquni.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/rquni.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

install(FILES README.md CHANGELOG.md SECURITY.md docs/architecture.md docs/quirks.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
