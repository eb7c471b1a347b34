# Installation in four components: library (what a host loads), development (headers, pkg-config file, CMake package,
# the development host's library, manual pages 3 and 7), tools (rqtext and its completions) and documentation.
include(CMakePackageConfigHelpers)

set(RQ_HEADERS types.h host_tables.h host_entry.h operations.def operations.h interface.h registration.h journal_bridges.h kit_exports.h rquni.h)
list(TRANSFORM RQ_HEADERS PREPEND ${PROJECT_SOURCE_DIR}/frame/)

# The build tree offers the headers under their installed names as well.
file(REMOVE_RECURSE ${PROJECT_BINARY_DIR}/include)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/include/rquni)
foreach(header IN LISTS RQ_HEADERS)
  cmake_path(GET header FILENAME name)
  file(CREATE_LINK ${header} ${PROJECT_BINARY_DIR}/include/rquni/${name} SYMBOLIC)
endforeach()
target_include_directories(rquni INTERFACE $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include>
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

# pkg-config files: for the prefix, written when it is known, and for the build tree.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig
  OUTPUT_VARIABLE RQ_PC_TO_PREFIX)
configure_file(${PROJECT_SOURCE_DIR}/cmake/write_pkgconfig.cmake.in ${PROJECT_BINARY_DIR}/write_pkgconfig.cmake @ONLY)
set(pkgconfig_files rquni.pc)
if(RQ_HOST)
  list(APPEND pkgconfig_files rquni-host.pc)
endif()
install(SCRIPT ${PROJECT_BINARY_DIR}/write_pkgconfig.cmake COMPONENT development)
foreach(file IN LISTS pkgconfig_files)
  install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
endforeach()

set(RQ_PC_PREFIX ${PROJECT_BINARY_DIR})
set(RQ_PC_LIBDIR "\${prefix}/lib")
set(RQ_PC_INCLUDEDIR "\${prefix}/include")
configure_file(${PROJECT_SOURCE_DIR}/cmake/rquni.pc.in ${PROJECT_BINARY_DIR}/rquni-uninstalled.pc @ONLY)

# The users' pages; what builders need stays in the tree.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_FULL_DOCDIR}
  OUTPUT_VARIABLE RQ_DOC_TO_PREFIX)
configure_file(${PROJECT_SOURCE_DIR}/cmake/write_pages.cmake.in ${PROJECT_BINARY_DIR}/write_pages.cmake @ONLY)
install(SCRIPT ${PROJECT_BINARY_DIR}/write_pages.cmake COMPONENT documentation)
install(DIRECTORY ${PROJECT_BINARY_DIR}/pages/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(FILES CHANGELOG.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY docs/charts DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(FILES examples/minimal_host.c examples/minimal_host.py examples/text_session.cpp
  DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT documentation)

file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.[37])
foreach(page IN LISTS pages)
  cmake_path(GET page EXTENSION LAST_ONLY section)
  string(SUBSTRING ${section} 1 -1 section)
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT development)
endforeach()
if(RQ_HOST)
  install(FILES docs/man/rqtext.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
endif()

# What is installed further down the tree is the development host's tool.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tools)

if(PROJECT_IS_TOP_LEVEL)
  include(cmake/package.cmake)
endif()
