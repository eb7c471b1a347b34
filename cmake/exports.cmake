# The linker's export list: the operations of operations.def in three flavours, the kit of kit_exports.def, and the rest
# in exports.map.in.
file(STRINGS ${PROJECT_SOURCE_DIR}/frame/operations.def operations REGEX "^OPERATION\\(")
set(RQ_OPERATION_NAMES "")
foreach(line IN LISTS operations)
  string(REGEX REPLACE "^OPERATION\\([0-9]+, [A-Za-z0-9]+, ([A-Za-z0-9]+),.*" "\\1" name "${line}")
  string(APPEND RQ_OPERATION_NAMES "    ul${name}; S_ul${name}; T_ul${name};\n")
endforeach()
file(STRINGS ${PROJECT_SOURCE_DIR}/frame/kit_exports.def exports REGEX "^RQ_KIT_EXPORT\\(")
set(RQ_KIT_NAMES "")
foreach(line IN LISTS exports)
  string(REGEX REPLACE "^RQ_KIT_EXPORT\\(([A-Za-z_]+)\\).*" "\\1" name "${line}")
  string(APPEND RQ_KIT_NAMES "    ${name};\n")
endforeach()
set(RQ_EXPORT_MAP ${PROJECT_BINARY_DIR}/exports.map)
configure_file(${PROJECT_SOURCE_DIR}/cmake/exports.map.in ${RQ_EXPORT_MAP} @ONLY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/frame/operations.def ${PROJECT_SOURCE_DIR}/frame/kit_exports.def)
