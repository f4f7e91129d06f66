# Every header compiles alone. Run with -DSOURCE_DIR=... -DCOMPILER=... -DINCLUDES=-I...
file(GLOB_RECURSE headers RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/*.h)
list(FILTER headers EXCLUDE REGEX "^(build|out)/|-inl\\.h$")
set(wrong "")
foreach(header IN LISTS headers)
  execute_process(COMMAND ${COMPILER} -std=c++20 -fsyntax-only -I${SOURCE_DIR} ${INCLUDES} -x c++
      ${SOURCE_DIR}/${header}
    RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    list(APPEND wrong "${header}: ${output}")
  endif()
endforeach()
if(wrong)
  list(JOIN wrong "\n  " text)
  message(FATAL_ERROR "Headers that need others before them:\n  ${text}")
endif()
