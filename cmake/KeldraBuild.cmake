# How everything here is compiled, and the helpers by which a folder becomes a library, a test
# program or a benchmark. Sources are found by pattern: a new file is built without a list to keep.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_CXX_FLAGS_RELEASE "-O3 -DNDEBUG")
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g1")
set(CMAKE_CXX_FLAGS_FUZZ "-O2 -g1") # inputs a second are what counts there, and assertions

add_library(keldra_options INTERFACE)
target_include_directories(keldra_options INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(keldra_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
  # Which multiplications fuse with which additions is part of the sound: not the compiler's choice.
  -ffp-contract=off
  # Nobody reads errno after a mathematical function.
  -fno-math-errno)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_options(keldra_options INTERFACE -msse2 -mfpmath=sse)
  # Files exist for programs of 32 bits, too, when their numbers and dates need 64.
  target_compile_definitions(keldra_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
endif()
if(KELDRA_SANITIZE)
  target_compile_definitions(keldra_options INTERFACE KELDRA_SANITIZED)
  target_compile_options(keldra_options INTERFACE
    -fsanitize=${KELDRA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
    # Tables of functions that hosts fill in any language have no C++ types to compare.
    $<$<CXX_COMPILER_ID:Clang>:-fno-sanitize=function>)
  string(REPLACE "fuzzer-no-link," "" link_sanitize "${KELDRA_SANITIZE}")
  target_link_options(keldra_options INTERFACE -fsanitize=${link_sanitize})
endif()

find_package(Threads REQUIRED)

# keldra_room(NAME [LINKS lib...] [WITHOUT file...]): the sources of the calling folder, but for those
# named, as one static library.
function(keldra_room name)
  cmake_parse_arguments(room "" "" "LINKS;WITHOUT" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS RELATIVE ${CMAKE_CURRENT_SOURCE_DIR}
    ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  list(REMOVE_ITEM sources ${room_WITHOUT} "")
  if(sources)
    add_library(keldra_${name} STATIC ${sources})
    target_link_libraries(keldra_${name} PUBLIC keldra_options ${room_LINKS})
  else()
    add_library(keldra_${name} INTERFACE)
    target_link_libraries(keldra_${name} INTERFACE keldra_options ${room_LINKS})
  endif()
endfunction()

# keldra_build_quickly(TARGET): for what is built to be run once. Where sanitizers make everything slow
# to build, half of the time of a test is its optimiser's, and half of the rest is the reading of
# headers. The rooms that it tests are optimised; the release builds all as it stands, so that no
# header is missing.
function(keldra_build_quickly target)
  if(KELDRA_SANITIZE)
    target_compile_options(${target} PRIVATE -O0)
    if(CCACHE) # which else leaves what has a precompiled header alone
      set_target_properties(${target} PROPERTIES CXX_COMPILER_LAUNCHER
        "${CMAKE_COMMAND};-E;env;CCACHE_SLOPPINESS=pch_defines,time_macros;${CCACHE}")
    endif()
  endif()
endfunction()

# keldra_build_source_quickly(SOURCE...): the same for sources of the calling folder that run once in a
# program's life.
function(keldra_build_source_quickly)
  if(KELDRA_SANITIZE)
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -O0)
  endif()
endfunction()

add_custom_target(keldra_thread_tests)

# keldra_tests(NAME [RUNS_LONG] [LINKS lib...] [SOURCES file...]): the *Test.cpp files of the
# calling folder as one GoogleTest program, each case registered with CTest. Cases that check what
# several threads do have "Thread" in their suite's name: ./test builds and runs those under
# ThreadSanitizer (target keldra_thread_tests). RUNS_LONG is for those that compute themselves, for
# seconds.
function(keldra_tests name)
  cmake_parse_arguments(tests "RUNS_LONG" "" "LINKS;SOURCES" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*Test.cpp)
  set(thread_sources)
  foreach(source IN LISTS sources)
    file(STRINGS ${source} thread_cases REGEX "^TEST.*Thread.*,")
    if(thread_cases)
      list(APPEND thread_sources ${source})
    endif()
  endforeach()
  if(KELDRA_SANITIZE STREQUAL "thread" AND thread_sources)
    set(sources ${thread_sources}) # the others would only take time to build
  endif()
  if(NOT sources)
    return()
  endif()
  add_executable(keldra_tests_${name} ${sources} ${tests_SOURCES})
  target_link_libraries(keldra_tests_${name} PRIVATE
    keldra_options ${tests_LINKS} GTest::gtest GTest::gtest_main Threads::Threads)
  target_compile_definitions(keldra_tests_${name} PRIVATE
    KELDRA_SOURCE_DIR="${CMAKE_SOURCE_DIR}" KELDRA_BINARY_DIR="${CMAKE_BINARY_DIR}")
  if(TARGET keldra_test_headers AND NOT tests_RUNS_LONG)
    keldra_build_quickly(keldra_tests_${name})
    target_precompile_headers(keldra_tests_${name} REUSE_FROM keldra_test_headers)
  endif()
  if(thread_sources)
    add_dependencies(keldra_thread_tests keldra_tests_${name})
  endif()
  gtest_discover_tests(keldra_tests_${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endfunction()
