# halvard_add_test(NAME SOURCES ... LIBS ... [LOCK NAME]): one GoogleTest program of the suite. Each of
# its tests is a test of CTest's, found when CTest starts. Tests with the same lock don't run side by
# side.
include(GoogleTest)
find_package(GTest REQUIRED)

if(CMAKE_CROSSCOMPILING)
  # Every program that a build or a test runs; the prefix is this build's own.
  set(CMAKE_CROSSCOMPILING_EMULATOR
      ${CMAKE_SOURCE_DIR}/cmake/run-under-wine ${CMAKE_BINARY_DIR}/wine)
endif()

# GoogleTest's headers, compiled once for all programs: they are most of what a test's source makes
# the compiler read. Each program must be compiled with the options of this one to use it.
add_library(halvard_test_headers STATIC ${CMAKE_SOURCE_DIR}/cmake/test_headers.cpp)
target_precompile_headers(halvard_test_headers PUBLIC <gmock/gmock.h> <gtest/gtest.h>)
target_link_libraries(halvard_test_headers PUBLIC GTest::gmock halvard_warnings)
# The optimizer would take longer over a test than the test runs.
set(HALVARD_TEST_OPTIONS -O0)
target_compile_options(halvard_test_headers PRIVATE ${HALVARD_TEST_OPTIONS})

function(halvard_add_test name)
  cmake_parse_arguments(TEST "" "LOCK" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${TEST_SOURCES})
  target_link_libraries(${name} PRIVATE ${TEST_LIBS} GTest::gmock GTest::gtest_main
                        halvard_warnings)
  target_compile_options(${name} PRIVATE ${HALVARD_TEST_OPTIONS})
  target_precompile_headers(${name} REUSE_FROM halvard_test_headers)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  set(properties)
  if(TEST_LOCK)
    set(properties PROPERTIES RESOURCE_LOCK ${TEST_LOCK})
  endif()
  gtest_discover_tests(${name} ${properties} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
                       TEST_PREFIX ${name}.)
endfunction()
