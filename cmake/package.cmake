# Debian packages by `cpack -G DEB`: librquni1 (component library), librquni-dev (development and documentation),
# rquni-tools, and one for each engine. Configure with CMAKE_INSTALL_PREFIX=/usr. With SOURCE_DATE_EPOCH set the packages are the same to the
# bit each time.
set(RQ_PACKAGE_CONTACT "The rquni maintainers <maintainers@rquni.invalid>" CACHE STRING
  "Who answers for the packages: name and address")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME rquni)
set(CPACK_PACKAGE_CONTACT ${RQ_PACKAGE_CONTACT})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/finish_tree.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENTS_ALL library development documentation)
set(CPACK_COMPONENT_DOCUMENTATION_GROUP development)
set(CPACK_COMPONENT_DEVELOPMENT_GROUP development)
set(CPACK_COMPONENT_LIBRARY_GROUP library)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(about "Unicode text services that a host kernel loads at run time: decoding and
encoding of numeric character references, Unicode escapes and the U-paren
notation, conversion to and from the Unicode encoding forms, counts of
characters and columns, and a kit of string routines.")

# The library's few needs are written down, because cpack's own search for them brings ldconfig calls along where
# Debian wants a trigger.
set(library librquni${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libc6 (>= 2.17)")
file(WRITE ${PROJECT_BINARY_DIR}/packaging/shlibs
  "librquni ${PROJECT_VERSION_MAJOR} ${library} (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/packaging/triggers ${PROJECT_BINARY_DIR}/packaging/shlibs)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "Unicode text services for a host kernel - shared library
${about}

This package holds the library itself.")

set(exactly "${library} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME librquni-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ${exactly})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS libicu-dev) # wanted by the development host alone
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "Unicode text services for a host kernel - development files
${about}

This package holds headers, pkg-config file, CMake package, manual pages,
documentation, example hosts, and the development host as a C++ library.")

if(RQ_HOST)
  list(APPEND CPACK_COMPONENTS_ALL tools)
  set(CPACK_COMPONENT_TOOLS_GROUP tools)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME rquni-tools)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION text)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS ${exactly}) # loaded at run time: no search can see it
  set(CPACK_DEBIAN_TOOLS_DESCRIPTION "Unicode text services for a host kernel - command-line tool
${about}

This package holds rqtext, which offers these services for files and pipes.")
endif()

# The package of an engine: component, name, section, other needs, summary and what it holds.
function(rq_add_engine_package component package section needs summary holds)
  string(TOUPPER ${component} key)
  set(CPACK_COMPONENT_${key}_GROUP ${component} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${package} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_PACKAGE_DEPENDS "${exactly}, ${needs}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${key}_DESCRIPTION "Unicode text services for a host kernel - ${summary}\n${about}\n\n${holds}" PARENT_SCOPE)
  set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} PARENT_SCOPE)
endfunction()
if(RQ_POSTGRESQL)
  rq_add_engine_package(postgresql postgresql-15-rquni database "libc6 (>= 2.14), postgresql-15" "PostgreSQL extension"
"This package holds the extension rquni of PostgreSQL 15: functions that decode
and encode notations, convert and measure text where it is stored.")
endif()
if(RQ_SQLITE)
  rq_add_engine_package(sqlite libsqlite3-mod-rquni libs "libc6 (>= 2.14), libsqlite3-0 (>= 3.31)" "SQLite extension"
"This package holds the loadable extension mod_rquni of SQLite 3: functions that
decode and encode notations and measure text where it is stored.")
  install(FILES packaging/libsqlite3-mod-rquni.overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
    RENAME libsqlite3-mod-rquni COMPONENT sqlite EXCLUDE_FROM_ALL)
endif()

include(CPack)
