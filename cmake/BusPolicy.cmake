# The policy for the system bus, with the names of a set's user and group (docs/bus-policy.md).
foreach(name IN ITEMS CIAPI_DAEMON_USER CIAPI_APPLICATION_GROUP)
  # "*" would mean everybody; what XML reads as its own would mean something else.
  if(NOT "${${name}}" MATCHES "^[A-Za-z0-9_][A-Za-z0-9_.-]*$")
    message(FATAL_ERROR "${name} must be the name or the number of one user or group, not \"${${name}}\"")
  endif()
endforeach()
configure_file(packaging/dbus/com.kelvora.ciapi.conf.in ${CMAKE_BINARY_DIR}/com.kelvora.ciapi.conf @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/com.kelvora.ciapi.conf DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system.d
  COMPONENT runtime)
