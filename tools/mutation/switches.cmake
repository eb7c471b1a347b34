# Read by project() in a copy of the sources: builds the targets RQ_SWITCHED from switched sources (switch.h), and links
# RQ_SWITCH, which chooses the mutant.
function(rq_add_switches)
  foreach(target IN LISTS RQ_SWITCHED)
    if(TARGET ${target})
      target_compile_options(${target} PRIVATE -w -O1 -include ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/switch.h)
      target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:${RQ_SWITCH}>)
    endif()
  endforeach()
endfunction()
cmake_language(DEFER CALL rq_add_switches)
