# How programs become tests of ctest, and the labels by which the tiers and the runners choose them. CONTRIBUTING.md
# shows which command runs which.
#
#   merge      not for every commit: builds packages, counts instructions, compares for long, starts servers
#   night      takes hours
#   native     a program of ours that loads the library: valgrind, an emulator and the coverage run it as well
#   long       of these, what takes too long where instructions are emulated, or ends a process on purpose
#   families   the differential cases: the memory sanitizer runs these, for it needs every part instrumented; qemu runs
#              them because they reach every exported name with every set of kernels
#   threads    what the thread sanitizer and helgrind watch
#
# The target rq_native_programs builds the programs of the label native; likewise for families and threads.
foreach(label native families threads)
  add_custom_target(rq_${label}_programs)
endforeach()

# ctest -T memcheck
set(MEMORYCHECK_COMMAND_OPTIONS "--tool=memcheck --quiet --error-exitcode=99")
set(MEMORYCHECK_SUPPRESSIONS_FILE ${PROJECT_SOURCE_DIR}/tools/valgrind.supp)
set_property(GLOBAL PROPERTY CTEST_TARGETS_ADDED 1) # no targets for a dashboard
include(CTest)
find_package(Python3 REQUIRED COMPONENTS Interpreter)
find_package(GTest REQUIRED)

# glibc 2.36 stores and loads short blocks under a mask of AVX-512. Where the masked rest lies in a guard page, each such
# store takes as long as hundreds of others, and the tests do little else.
set(RQ_UNMASKED_GLIBC "GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX512VL")

# rq_add_native_test(NAME COMMAND PROGRAM [ARGUMENT...] [LABELS LABEL...] [ENVIRONMENT NAME=VALUE...] [COST COST])
# One run of a program that is a target.
function(rq_add_native_test name)
  cmake_parse_arguments(PARSE_ARGV 1 test "" COST "COMMAND;LABELS;ENVIRONMENT")
  add_test(NAME ${name} COMMAND ${test_COMMAND})
  set_tests_properties(${name} PROPERTIES LABELS "native;${test_LABELS}" ENVIRONMENT "${RQ_UNMASKED_GLIBC};${test_ENVIRONMENT}"
    COST "${test_COST}" SKIP_RETURN_CODE 77)
  list(GET test_COMMAND 0 program)
  foreach(label native ${test_LABELS})
    if(TARGET rq_${label}_programs)
      add_dependencies(rq_${label}_programs ${program})
    endif()
  endforeach()
endfunction()

# The tests' own code need not be fast; the library that they load is.
set(RQ_TEST_FLAGS $<$<CONFIG:Release>:-O1>)
# A third of the time that a test takes to compile goes into GoogleTest's header. All programs share one copy, which
# belongs to a program of its own: whoever reuses a copy builds its owner as well.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/googletest.cpp CONTENT "int main() {}\n")
add_executable(rq_googletest EXCLUDE_FROM_ALL ${PROJECT_BINARY_DIR}/googletest.cpp)
target_link_libraries(rq_googletest PRIVATE rq_warnings GTest::gtest)
target_compile_options(rq_googletest PRIVATE ${RQ_TEST_FLAGS})
target_precompile_headers(rq_googletest PRIVATE <gtest/gtest.h>)

# rq_add_googletest(PROGRAM [NAME NAME] [LONG FILTER] [KERNELS] [LABELS LABEL...] [ENVIRONMENT NAME=VALUE...])
# The tests of a program on GoogleTest, in one process: NAME, and NAME.long for those that FILTER chooses. With KERNELS
# once with each set of kernels, which ends the names.
function(rq_add_googletest program)
  cmake_parse_arguments(PARSE_ARGV 1 test KERNELS "NAME;LONG" "LABELS;ENVIRONMENT")
  if(NOT test_NAME)
    set(test_NAME ${program})
  endif()
  target_compile_options(${program} PRIVATE ${RQ_TEST_FLAGS})
  target_precompile_headers(${program} REUSE_FROM rq_googletest)
  set(ends "-") # a list of one empty string has no elements
  if(test_KERNELS)
    set(ends .sse2 .avx2 .avx512)
  endif()
  foreach(end IN LISTS ends)
    string(REPLACE "-" "" end "${end}")
    string(REPLACE "." "RQUNI_KERNELS=" kernels "${end}")
    set(environment ${kernels} ${test_ENVIRONMENT})
    rq_add_native_test(${test_NAME}${end} COMMAND ${program} --gtest_brief=1 --gtest_filter=-${test_LONG}
      LABELS ${test_LABELS} ENVIRONMENT ${environment} COST 2)
    if(test_LONG)
      rq_add_native_test(${test_NAME}.long${end} COMMAND ${program} --gtest_brief=1 --gtest_filter=${test_LONG}
        LABELS long ${test_LABELS} ENVIRONMENT ${environment} COST 5)
    endif()
  endforeach()
endfunction()
