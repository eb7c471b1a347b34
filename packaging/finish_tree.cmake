# Run by cpack on the staged trees, one a package: adds what Debian wants in /usr/share/doc of each and compresses what
# Debian wants compressed. gzip -n leaves name and time out of the result.
function(compress)
  execute_process(COMMAND gzip -9nf ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(ENV{LC_ALL} C)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC) # of SOURCE_DATE_EPOCH where that is set
set(group_packages
  library ${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME}
  development ${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME}
  tools ${CPACK_DEBIAN_TOOLS_PACKAGE_NAME}
  postgresql ${CPACK_DEBIAN_POSTGRESQL_PACKAGE_NAME}
  sqlite ${CPACK_DEBIAN_SQLITE_PACKAGE_NAME})
while(group_packages)
  list(POP_FRONT group_packages group package)
  set(share ${CPACK_TEMPORARY_DIRECTORY}/${group}${CPACK_PACKAGING_INSTALL_PREFIX}/share)
  if(NOT EXISTS ${CPACK_TEMPORARY_DIRECTORY}/${group})
    continue()
  endif()
  set(doc ${share}/doc/${package})
  if(EXISTS ${share}/doc/rquni)
    file(RENAME ${share}/doc/rquni ${doc})
  endif()
  file(MAKE_DIRECTORY ${doc})
  configure_file(${CMAKE_CURRENT_LIST_DIR}/changelog.in ${doc}/changelog @ONLY)
  file(COPY ${CMAKE_CURRENT_LIST_DIR}/copyright DESTINATION ${doc})
  file(GLOB pages ${share}/man/man?/*.?)
  compress(${doc}/changelog ${pages})
  file(GLOB_RECURSE files LIST_DIRECTORIES true ${share}/doc/* ${share}/man/*)
  foreach(file IN LISTS files)
    if(NOT IS_DIRECTORY ${file})
      file(CHMOD ${file} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    endif()
  endforeach()
endwhile()
