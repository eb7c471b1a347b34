# The families of cases, for rq_differential and for the fuzz targets, which are built without the other tests.
set(RQ_FAMILIES ncr uesc uparen transforms measures kit wide creation)
set(folder ${CMAKE_CURRENT_LIST_DIR})
add_library(rq_families STATIC
  ${folder}/creation.cpp
  ${folder}/family.cpp
  ${folder}/kit.cpp
  ${folder}/operations.cpp
  ${folder}/trial.cpp
  ${folder}/wide.cpp)
target_link_libraries(rq_families PUBLIC rq_test_model PRIVATE rq_warnings)
# The naive twins read units wherever they lie, as plainly as the definition says it.
target_compile_options(rq_families PRIVATE -fno-sanitize=alignment)
