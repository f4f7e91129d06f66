# Every source is formatted as .clang-format says. Run with -DCLANG_FORMAT=... -DSOURCE_DIR=...
file(GLOB_RECURSE sources ${SOURCE_DIR}/*.h ${SOURCE_DIR}/*.cpp)
list(FILTER sources EXCLUDE REGEX "^${SOURCE_DIR}/(build|out)/")
execute_process(COMMAND ${CLANG_FORMAT} --dry-run --Werror ${sources}
  RESULT_VARIABLE result ERROR_VARIABLE output)
if(NOT result EQUAL 0)
  string(REGEX MATCHALL "[^\n]*: error: [^\n]*" lines "${output}")
  list(TRANSFORM lines REPLACE ":.*" "")
  list(REMOVE_DUPLICATES lines)
  list(JOIN lines "\n  " text)
  message(FATAL_ERROR "Not formatted (clang-format-14 -i mends it):\n  ${text}")
endif()
