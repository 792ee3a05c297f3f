# Puts the bus policy into a folder of its own, for the users of the tests. Needs SOURCE, WORK, C_COMPILER and
# CXX_COMPILER.
set(configure ${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/build -G Ninja -DCMAKE_C_COMPILER=${C_COMPILER}
  -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCIAPI_BUILD_TOOLS=OFF -DCIAPI_BUILD_TESTS=OFF -DCIAPI_BUILD_EXAMPLES=OFF
  -DCIAPI_DAEMON_USER=games -DCIAPI_APPLICATION_GROUP=video)
file(REMOVE_RECURSE ${WORK})

# A name that would mean everybody, or leave its attribute, is refused with its variable.
foreach(bad IN ITEMS "CIAPI_APPLICATION_GROUP=*" "CIAPI_DAEMON_USER=a\"/><allow own=\"*" "CIAPI_DAEMON_USER=")
  execute_process(COMMAND ${configure} "-D${bad}" RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE errors)
  string(REGEX REPLACE "=.*" "" variable "${bad}")
  if(result EQUAL 0 OR NOT errors MATCHES "${variable} must be the name or")
    message(FATAL_ERROR "${bad}: ${result}\n${errors}")
  endif()
endforeach()

execute_process(COMMAND ${configure} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
# Nothing is built here: its component would want the library, too.
file(COPY ${WORK}/build/com.kelvora.ciapi.conf DESTINATION ${WORK}/prefix/share/dbus-1/system.d)
