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

function(halvard_add_test name)
  cmake_parse_arguments(TEST "" "LOCK" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${TEST_SOURCES})
  target_link_libraries(${name} PRIVATE ${TEST_LIBS} GTest::gmock GTest::gtest_main
                        halvard_warnings)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  set(properties)
  if(TEST_LOCK)
    set(properties PROPERTIES RESOURCE_LOCK ${TEST_LOCK})
  endif()
  gtest_discover_tests(${name} ${properties} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
                       TEST_PREFIX ${name}.)
endfunction()
