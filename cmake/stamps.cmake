# The build's stamps: a header that is made anew by each build, and rewritten only when it changes.
add_custom_target(rq_stamps
  COMMAND ${CMAKE_COMMAND} -DSOURCE=${PROJECT_SOURCE_DIR} -DVERSION=${PROJECT_VERSION}
    -DOUTPUT=${PROJECT_BINARY_DIR}/generated/stamps.h -P ${PROJECT_SOURCE_DIR}/cmake/make_stamps.cmake
  BYPRODUCTS ${PROJECT_BINARY_DIR}/generated/stamps.h
  COMMENT "Stamping the build")
