# Flags as interface targets: rq_headers (the include root), rq_warnings (for all our code), rq_library_flags (what the
# library alone is built with).
include(CheckCXXCompilerFlag)

add_library(rq_headers INTERFACE)
target_include_directories(rq_headers INTERFACE ${PROJECT_SOURCE_DIR})

add_library(rq_warnings INTERFACE)
target_compile_options(rq_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Werror
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)

add_library(rq_library_flags INTERFACE)
target_compile_options(rq_library_flags INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
  -fvisibility=hidden -fstack-protector-strong -fstack-clash-protection -fcf-protection=full)
# An uninitialised read is a defect, but never a leak. clang 14 wants a second flag for the same.
check_cxx_compiler_flag(-ftrivial-auto-var-init=zero RQ_HAS_AUTO_VAR_INIT)
if(RQ_HAS_AUTO_VAR_INIT)
  target_compile_options(rq_library_flags INTERFACE -ftrivial-auto-var-init=zero)
endif()
target_link_options(rq_library_flags INTERFACE
  LINKER:-z,relro,-z,now,-z,noexecstack,-z,separate-code,-z,ibt,-z,shstk,--as-needed,--build-id=sha1)

if(RQ_SANITIZE)
  if(RQ_SANITIZE MATCHES integer)
    add_compile_options(-fsanitize-ignorelist=${CMAKE_CURRENT_LIST_DIR}/sanitize_exceptions.txt)
  endif()
  add_compile_options(-fsanitize=${RQ_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${RQ_SANITIZE})
else()
  target_compile_options(rq_library_flags INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3>)
  # RQ_PROCESS_SYMBOLS: a module that takes functions of the process that loads it.
  target_link_options(rq_library_flags INTERFACE $<$<NOT:$<BOOL:$<TARGET_PROPERTY:RQ_PROCESS_SYMBOLS>>>:LINKER:-z,defs>)
endif()
if(RQ_COVERAGE) # of the library alone; clang from 18 on, for the conditions
  target_compile_options(rq_library_flags INTERFACE -fprofile-instr-generate -fcoverage-mapping -fcoverage-mcdc)
  add_link_options(-fprofile-instr-generate)
endif()
