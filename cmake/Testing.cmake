# halvard_add_test(NAME SOURCES ... LIBS ... [LOCK NAME] [NETWORK]): one GoogleTest program of the suite.
# Each of its tests is a test of CTest's, found when CTest starts. Tests with the same lock don't run
# side by side. NETWORK is for programs most of whose sources include Asio.
include(GoogleTest)
find_package(GTest REQUIRED)

if(CMAKE_CROSSCOMPILING)
  # Every program that a build or a test runs; the prefix is this build's own.
  set(CMAKE_CROSSCOMPILING_EMULATOR
      ${CMAKE_SOURCE_DIR}/cmake/run-under-wine ${CMAKE_BINARY_DIR}/wine)
endif()

# The optimizer would take longer over a test than the test runs, and where a test has failed it tells
# by itself.
set(HALVARD_TEST_OPTIONS -O0 $<$<CONFIG:RelWithDebInfo>:-g0>)
set(headers <gmock/gmock.h> <gtest/gtest.h> ${HALVARD_STANDARD_HEADERS} <json/json.h>)
set(libraries GTest::gmock JsonCpp::JsonCpp)
halvard_add_headers(test HEADERS ${headers} LIBS ${libraries} OPTIONS ${HALVARD_TEST_OPTIONS})
set(network_headers test)
if(NOT WIN32)
  set(network_headers network_test)
  halvard_add_headers(network_test HEADERS ${headers} ${HALVARD_NETWORK_HEADERS}
                      LIBS ${libraries} Boost::headers OpenSSL::SSL
                      OPTIONS ${HALVARD_TEST_OPTIONS})
endif()

function(halvard_add_test name)
  cmake_parse_arguments(TEST "NETWORK" "LOCK" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${TEST_SOURCES})
  target_link_libraries(${name} PRIVATE ${TEST_LIBS} GTest::gmock GTest::gtest_main
                        halvard_warnings)
  target_compile_options(${name} PRIVATE ${HALVARD_TEST_OPTIONS})
  if(TEST_NETWORK)
    halvard_use_headers(${network_headers} ${name})
  else()
    halvard_use_headers(test ${name})
  endif()
  set_target_properties(${name} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  set(properties)
  if(TEST_LOCK)
    set(properties PROPERTIES RESOURCE_LOCK ${TEST_LOCK})
  endif()
  # Values in names would be printed by their bytes, other ones in each run.
  gtest_discover_tests(${name} ${properties} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
                       TEST_PREFIX ${name}. NO_PRETTY_VALUES)
endfunction()
