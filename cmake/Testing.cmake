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
  gtest_discover_tests(${NAME} DISCOVERY_MODE PRE_TEST
    PROPERTIES TIMEOUT ${TEST_TIMEOUT} FIXTURES_REQUIRED "${TEST_FIXTURE}")
endfunction()

if(CIAPI_BUILD_TESTS)
  include(CTest)
  include(GoogleTest)
endif()
