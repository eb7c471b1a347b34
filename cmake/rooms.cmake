# Which optional rooms are built. Each option is ON (a missing need is an error), OFF, or AUTO: built where all needs
# are there, otherwise left out with a line that names what is missing.
set(RQ_HOST AUTO CACHE STRING "Build the development host, the checker and the tool: ON, OFF or AUTO")
set(RQ_TESTS AUTO CACHE STRING "Build the tests: ON, OFF or AUTO")
option(RQ_BENCH "Build the benchmarks" OFF)
option(RQ_FUZZ "Build the libFuzzer targets (clang)" OFF)
# Standard headers are most of what a file of these rooms compiles. clang's preset shows that each file stands alone.
option(RQ_UNITY "Compile host, checker and tool several files at a time, in half the time" ON)

# rq_find_missing(RESULT NEED...): the packages among NEED that this machine lacks. A NEED is PACKAGE or
# PACKAGE:COMPONENT,COMPONENT...
macro(rq_find_missing result)
  set(${result} "")
  foreach(need ${ARGN})
    string(REGEX REPLACE ":" ";COMPONENTS;" arguments ${need})
    string(REPLACE "," ";" arguments "${arguments}")
    list(GET arguments 0 package)
    find_package(${arguments} QUIET)
    if(NOT ${package}_FOUND)
      list(APPEND ${result} ${package})
    endif()
  endforeach()
endmacro()

# rq_settle_room(OPTION WHAT NEED...): turns AUTO into ON or OFF.
macro(rq_settle_room option what)
  if(${option} STREQUAL "AUTO")
    set(${option} ${PROJECT_IS_TOP_LEVEL})
    if(PROJECT_IS_TOP_LEVEL)
      rq_find_missing(missing ${ARGN})
      if(missing)
        list(JOIN missing ", " missing)
        message(STATUS "Left out: ${what}, for want of ${missing}. tools/setup build brings it")
        set(${option} OFF)
      endif()
    endif()
  endif()
endmacro()

rq_settle_room(RQ_HOST "development host, checker and tool" ICU:uc,data CLI11 nlohmann_json Threads)
rq_settle_room(RQ_TESTS "tests" GTest ICU:uc Python3:Interpreter Threads)
