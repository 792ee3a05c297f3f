# ciapi_add_test(NAME SOURCES file... [LIBS target...] [TIMEOUT seconds] [FIXTURE name])
# One test program; each of its test cases is a CTest test, so that they run side by side. The test that sets the fixture
# up runs before them.
function(ciapi_add_test NAME)
  cmake_parse_arguments(TEST "" "TIMEOUT;FIXTURE" "SOURCES;LIBS" ${ARGN})
  add_executable(${NAME} ${TEST_SOURCES})
  target_link_libraries(${NAME} PRIVATE ${TEST_LIBS} ciapi_privatebus GTest::gmock_main)
  target_include_directories(${NAME} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
  if(NOT TEST_TIMEOUT)
    set(TEST_TIMEOUT 60)
  endif()
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    math(EXPR TEST_TIMEOUT "4 * ${TEST_TIMEOUT}")
  endif()
  set(properties TIMEOUT ${TEST_TIMEOUT})
  if(TEST_FIXTURE)
    list(APPEND properties FIXTURES_REQUIRED ${TEST_FIXTURE})
  endif()
  gtest_discover_tests(${NAME} DISCOVERY_MODE PRE_TEST PROPERTIES ${properties})
endfunction()

# Whether tests/abi compares this build with the last release: it needs the types of what the libraries export, as g++
# tells them in debugging information.
set(CIAPI_ABI_TYPES OFF)
if(CIAPI_BUILD_TESTS AND CIAPI_BUILD_TOOLS AND CIAPI_PLATFORM STREQUAL "portable" AND NOT CIAPI_SANITIZE
    AND NOT CMAKE_CROSSCOMPILING AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_BUILD_TYPE STREQUAL "Debug")
  set(CIAPI_ABI_TYPES ON)
endif()

if(CIAPI_BUILD_TESTS)
  include(CTest)
  include(GoogleTest)
endif()
