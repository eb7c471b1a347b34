# The linker's export list: the operations of operations.def in three flavours, the kit of kit_exports.def, and the rest
# in exports.map.in.

# rq_list_exports(VARIABLE FILE PATTERN NAMES)
# NAMES once for each line of FILE that begins with PATTERN; \1 in them is what PATTERN's group matched.
function(rq_list_exports variable file pattern names)
  set(list "")
  file(STRINGS ${file} lines REGEX "^${pattern}")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^${pattern}.*" "    ${names}\n" line "${line}")
    string(APPEND list "${line}")
  endforeach()
  set(${variable} "${list}" PARENT_SCOPE)
  set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
endfunction()

rq_list_exports(RQ_OPERATION_NAMES ${PROJECT_SOURCE_DIR}/frame/operations.def
  "OPERATION\\([0-9]+, [A-Za-z0-9]+, ([A-Za-z0-9]+)," "ul\\1; S_ul\\1; T_ul\\1;")
rq_list_exports(RQ_KIT_NAMES ${PROJECT_SOURCE_DIR}/frame/kit_exports.def
  "RQ_KIT_EXPORT\\(([A-Za-z_]+)\\)" "\\1;")
set(RQ_EXPORT_MAP ${PROJECT_BINARY_DIR}/exports.map)
configure_file(${PROJECT_SOURCE_DIR}/cmake/exports.map.in ${RQ_EXPORT_MAP} @ONLY)
