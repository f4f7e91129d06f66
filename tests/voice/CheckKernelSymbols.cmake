# Each kernel's object file defines one global symbol and no weak one: of an inline function the linker
# keeps one copy for the whole program, perhaps that of a kernel whose instructions the processor
# lacks. Run with -DNM=... -DOBJECTS=file|file...
string(REPLACE "|" ";" objects "${OBJECTS}")
list(LENGTH objects count)
if(count EQUAL 0)
  message(FATAL_ERROR "No kernel objects to look at")
endif()
foreach(object IN LISTS objects)
  execute_process(COMMAND ${NM} --defined-only --extern-only ${object}
    OUTPUT_VARIABLE output RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "nm fails on ${object}")
  endif()
  string(REGEX REPLACE "\n$" "" output "${output}")
  string(REPLACE "\n" ";" symbols "${output}")
  # 32-bit position-independent code asks for its own place by these.
  list(FILTER symbols EXCLUDE REGEX "__x86\\.get_pc_thunk")
  list(LENGTH symbols number)
  if(NOT number EQUAL 1 OR NOT symbols MATCHES " T ")
    list(JOIN symbols "\n  " text)
    message(FATAL_ERROR "${object} exports:\n  ${text}")
  endif()
endforeach()
