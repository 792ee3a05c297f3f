# What an application developer gets: libraries, headers, a CMake package and pkg-config files; and the tools.
include(CMakePackageConfigHelpers)

set(ciapi_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ciapi)
set(exported ciapi)
# The pkg-config files lead from where they lie to their prefix: that of "cmake --install --prefix" is not known here.
file(RELATIVE_PATH ciapi_pc_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" ciapi_pc_to_prefix "${ciapi_pc_to_prefix}")
install(DIRECTORY include/ciapi DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
if(CIAPI_PLATFORM STREQUAL "portable")
  list(APPEND exported tvplatform)
  install(DIRECTORY platform/include/tvplatform DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
endif()
if(TARGET ciapi-testing)
  list(APPEND exported ciapi-testing)
  install(DIRECTORY testing/include/ciapi-testing DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
  configure_file(packaging/ciapi-testing.pc.in ${CMAKE_BINARY_DIR}/ciapi-testing.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/ciapi-testing.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)
endif()
install(TARGETS ${exported} EXPORT ciapi-targets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT ciapi-targets NAMESPACE ciapi:: DESTINATION ${ciapi_package_dir} COMPONENT development)
configure_package_config_file(packaging/ciapi-config.cmake.in ${CMAKE_BINARY_DIR}/ciapi-config.cmake
  INSTALL_DESTINATION ${ciapi_package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/ciapi-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/ciapi-config.cmake ${CMAKE_BINARY_DIR}/ciapi-config-version.cmake
  DESTINATION ${ciapi_package_dir} COMPONENT development)
configure_file(packaging/ciapi.pc.in ${CMAKE_BINARY_DIR}/ciapi.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/ciapi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
foreach(program IN ITEMS ci-daemon-sim cictl)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    # Where each shell looks for what completes the words of a program.
    install(FILES packaging/completion/bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
      RENAME ${program})
    install(FILES packaging/completion/zsh DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions RENAME _${program})
    install(FILES packaging/completion/${program}.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
  endif()
endforeach()
if(TARGET ciapi_dissector)
  set(CIAPI_WIRESHARK_PLUGINS "${CMAKE_INSTALL_LIBDIR}/wireshark/plugins" CACHE STRING "Where Wireshark looks for plugins in Lua")
  get_target_property(dissector ciapi_dissector DISSECTOR)
  install(FILES ${dissector} DESTINATION ${CIAPI_WIRESHARK_PLUGINS})
endif()
