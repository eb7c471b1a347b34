# Read by project() in a copy of the sources: builds the targets RQ_SWITCHED from switched sources, and links RQ_SWITCH,
# which chooses the mutant. Others include their headers: all read switch.h.
add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:SHELL:-w -include ${CMAKE_CURRENT_LIST_DIR}/switch.h>")
function(rq_add_switches)
  foreach(target IN LISTS RQ_SWITCHED)
    if(TARGET ${target})
      target_compile_options(${target} PRIVATE -O1)
      target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:${RQ_SWITCH}>)
    endif()
  endforeach()
endfunction()
cmake_language(DEFER CALL rq_add_switches)
