# Installs the build into a folder of its own, and builds and tests an application against it, as an outsider would.
# Needs BUILD, SOURCE, WORK, COMPILER and FLAGS.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "${command}: ${result}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

# As for the tests of the tree: what the thread sanitizer cannot see of libdbus.
set(ENV{TSAN_OPTIONS} "ignore_noninstrumented_modules=1:detect_deadlocks=0")
file(REMOVE_RECURSE ${WORK})
foreach(component IN ITEMS runtime development testing)
  run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/prefix --component ${component})
endforeach()
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/build -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-g1
  -DCMAKE_CXX_COMPILER=${COMPILER} "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror ${FLAGS}"
  -DCMAKE_PREFIX_PATH=${WORK}/prefix)
run(${CMAKE_COMMAND} --build ${WORK}/build)
run(${CMAKE_CTEST_COMMAND} --test-dir ${WORK}/build --output-on-failure --no-tests=error)

# The same by pkg-config: what it says leads to the installed library.
file(GLOB_RECURSE files ${WORK}/prefix/*/ciapi-testing.pc)
cmake_path(GET files PARENT_PATH folder)
set(ENV{PKG_CONFIG_PATH} ${folder})
run(pkg-config --dont-define-prefix --libs ciapi-testing)
if(NOT output MATCHES "-L([^ ]*) .*-lciapi-testing .*-lciapi ")
  message(FATAL_ERROR "pkg-config says ${output}")
endif()
file(REAL_PATH ${CMAKE_MATCH_1} libraries)
file(REAL_PATH ${WORK}/prefix prefix)
cmake_path(IS_PREFIX prefix ${libraries} isInside)
if(NOT isInside OR NOT EXISTS ${libraries}/libciapi.so)
  message(FATAL_ERROR "pkg-config leads to ${libraries}")
endif()
file(REMOVE_RECURSE ${WORK})
