# Every header compiles alone. Run with -DSOURCE_DIR=... -DCOMPILER=... -DLAUNCHER=... -DWORK_DIR=...
# A header that stands first in a source is proven by the build. Each other one is made a source of its
# own and built with the compiler's cache, so that only changed headers cost anything the second time.
cmake_host_system_information(RESULT cores QUERY NUMBER_OF_LOGICAL_CORES)
file(GLOB_RECURSE headers RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/*.h)
# What stands in fuzz/ needs a header that clang alone brings: its own build compiles it.
list(FILTER headers EXCLUDE REGEX "^(build|out|fuzz)/|-inl\\.h$")

file(GLOB_RECURSE sources ${SOURCE_DIR}/*.cpp)
list(FILTER sources EXCLUDE REGEX "^${SOURCE_DIR}/(build|out|fuzz)/")
foreach(source IN LISTS sources)
  file(STRINGS ${source} first REGEX "^#include" LIMIT_COUNT 1)
  if(first MATCHES "\"(.*)\"")
    list(REMOVE_ITEM headers ${CMAKE_MATCH_1})
  endif()
endforeach()

list(JOIN INCLUDES " " INCLUDES)
set(ninja "rule compile
  command = ${LAUNCHER} ${COMPILER} -std=c++20 -I${SOURCE_DIR} '-DKELDRA_SOURCE_DIR=\"\"' '-DKELDRA_BINARY_DIR=\"\"' ${INCLUDES} -MD -MF $out.d -c $in -o $out
  deps = gcc
  depfile = $out.d
")
set(number 0)
file(MAKE_DIRECTORY ${WORK_DIR})
foreach(header IN LISTS headers)
  math(EXPR number "${number} + 1")
  string(MAKE_C_IDENTIFIER ${header} name)
  set(source ${WORK_DIR}/${name}.cpp)
  set(text "#include \"${header}\"\n")
  set(old "")
  if(EXISTS ${source})
    file(READ ${source} old)
  endif()
  if(NOT text STREQUAL old)
    file(WRITE ${source} "${text}")
  endif()
  string(APPEND ninja "build ${WORK_DIR}/${name}.o: compile ${source}\n")
endforeach()
file(WRITE ${WORK_DIR}/build.ninja "${ninja}")
execute_process(COMMAND ninja -C ${WORK_DIR} -k 0 -j ${cores} RESULT_VARIABLE result
  OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "Headers that need others before them:\n${output}")
endif()
message("${number} headers that stand first in no source")
