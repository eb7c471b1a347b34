# Writes the version record's stamps to OUTPUT. They depend on nothing but the commit, the version and
# SOURCE_DATE_EPOCH, so that two builds of one commit are the same to the bit.
find_package(Git QUIET)
set(commit "")
if(GIT_FOUND)
  execute_process(COMMAND ${GIT_EXECUTABLE} -C ${SOURCE} log -1 --format=%H\;%ct
    OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
if(NOT commit)
  set(commit "${VERSION};0") # a source tree without history
endif()
list(GET commit 0 id)
list(GET commit 1 instant)
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  set(ENV{SOURCE_DATE_EPOCH} ${instant})
endif()
set(instant $ENV{SOURCE_DATE_EPOCH})

string(TIMESTAMP date "%m%d%Y" UTC)
set(ENV{LC_ALL} C)
string(TIMESTAMP long_date "%a %b %d %H:%M:%S UTC %Y" UTC)
string(REGEX REPLACE " 0([0-9]) " "  \\1 " long_date "${long_date}") # the date command pads the day by a blank

string(REPLACE "." ";" numbers "${VERSION}")
list(GET numbers 2 patch)
list(TRANSFORM numbers REPLACE "^([0-9])$" "0\\1")
list(GET numbers 0 major)
list(GET numbers 1 minor)

string(SHA256 digits "${id}")
string(SUBSTRING ${digits} 0 12 a)
string(SUBSTRING ${digits} 12 7 b)
string(SUBSTRING ${digits} 19 3 c)
string(SUBSTRING ${digits} 22 11 d)

file(WRITE ${OUTPUT}.new "\
#define RQ_STAMP_VERSION \"V.${major}.${minor}M${patch}P${date}\"
#define RQ_STAMP_STREAM \"rqu/lib-rb${major}${minor}${patch}\"
#define RQ_STAMP_BUILD_TIME INT64_C(${instant})
#define RQ_STAMP_BUILD_DATE \"${long_date}\"
#define RQ_STAMP_BUILD_ID \"${a}-${b}\"
#define RQ_STAMP_SECOND_BUILD_ID \"${c}.${d}\"
")
file(COPY_FILE ${OUTPUT}.new ${OUTPUT} ONLY_IF_DIFFERENT)
