# The targets by name; tests/trust builds the same sources with a main that replays the corpora.
set(RQ_FUZZ_TARGETS ncr uesc uparen transforms measures kit wide creation)
set(RQ_FUZZ_FOLDER ${CMAKE_CURRENT_LIST_DIR})

# What the targets share: the slots, the naive twin and the exercise of operations.
set(tests ${PROJECT_SOURCE_DIR}/tests)
add_library(rq_fuzz_support STATIC ${RQ_FUZZ_FOLDER}/operations.cpp
  ${tests}/trust/slots.cpp ${tests}/codecs/comparison.cpp ${tests}/codecs/twin.cpp)
target_include_directories(rq_fuzz_support PUBLIC ${tests} ${RQ_FUZZ_FOLDER})
target_link_libraries(rq_fuzz_support PUBLIC rq_test_support PRIVATE rq_warnings)

function(rq_add_fuzz_program program name)
  add_executable(${program} ${RQ_FUZZ_FOLDER}/${name}.cpp ${RQ_FUZZ_FOLDER}/target.cpp ${ARGN})
  target_link_libraries(${program} PRIVATE rq_fuzz_support rq_warnings ${CMAKE_DL_LIBS})
endfunction()
