# The families of cases as a library, for rq_differential and for the fuzz targets, which are built without the other
# tests. RQ_FAMILIES is their list.
set(folder ${CMAKE_CURRENT_LIST_DIR})
file(STRINGS ${folder}/families.def RQ_FAMILIES REGEX "^FAMILY\\(")
list(TRANSFORM RQ_FAMILIES REPLACE "^FAMILY\\((.*)\\)$" "\\1")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${folder}/families.def)

add_library(rq_families STATIC
  ${folder}/comparison.cpp
  ${folder}/creation.cpp
  ${folder}/family.cpp
  ${folder}/kit.cpp
  ${folder}/operations.cpp
  ${folder}/wide.cpp)
target_link_libraries(rq_families PUBLIC rq_test_model PRIVATE rq_warnings)
# The naive twins read units wherever they lie, as plainly as the definition says it.
target_compile_options(rq_families PRIVATE -fno-sanitize=alignment)
