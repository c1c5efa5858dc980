# halvard_add_test(NAME SOURCES ... LIBS ...): one GoogleTest program of the suite.
include(GoogleTest)
find_package(GTest REQUIRED)

function(halvard_add_test name)
  cmake_parse_arguments(TEST "" "" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${TEST_SOURCES})
  target_link_libraries(${name} PRIVATE ${TEST_LIBS} GTest::gmock GTest::gtest_main
                        halvard_warnings)
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST TEST_PREFIX ${name}.)
endfunction()
