# What is installed, in components: "runtime" for a set, "development" for who builds applications, "testing" for their
# tests, "tools" for people, "python" for who writes in Python, "documentation". Every file is in one.
include(CMakePackageConfigHelpers)

set(ciapi_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ciapi)
# The pkg-config files lead from where they lie to their prefix: that of "cmake --install --prefix" is not known here.
file(RELATIVE_PATH ciapi_pc_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" ciapi_pc_to_prefix "${ciapi_pc_to_prefix}")

# ciapi_install_libraries(EXPORT_NAME RUNTIME DEVELOPMENT target...) The library itself, and what one links by.
function(ciapi_install_libraries EXPORT_NAME RUNTIME DEVELOPMENT)
  install(TARGETS ${ARGN} EXPORT ${EXPORT_NAME}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${RUNTIME} NAMELINK_COMPONENT ${DEVELOPMENT})
  foreach(library IN LISTS ARGN)
    ciapi_leave_to_the_loader(${CMAKE_INSTALL_LIBDIR} ${library} ${RUNTIME})
  endforeach()
  install(EXPORT ${EXPORT_NAME} NAMESPACE ciapi:: DESTINATION ${ciapi_package_dir} COMPONENT ${DEVELOPMENT})
endfunction()

# Where the loader looks for libraries anyway, what is installed does not say where they are.
function(ciapi_leave_to_the_loader FOLDER TARGET COMPONENT)
  install(CODE "if(CMAKE_INSTALL_PREFIX MATCHES \"^/(usr/?)?$\")
    file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${FOLDER}/$<TARGET_FILE_NAME:${TARGET}>\")
  endif()" COMPONENT ${COMPONENT})
endfunction()

set(libraries ciapi)
if(CIAPI_PLATFORM STREQUAL "portable")
  list(APPEND libraries tvplatform)
  set(ciapi_platform_libs -ltvplatform)
  install(DIRECTORY platform/include/tvplatform DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
else()
  cmake_path(GET TVPLATFORM_LIBRARY PARENT_PATH ciapi_platform_libdir)
  set(ciapi_platform_libs "-L${ciapi_platform_libdir} -ltvplatform")
  set(ciapi_platform_cflags " -I${TVPLATFORM_INCLUDE_DIR}")
endif()
ciapi_install_libraries(ciapi-targets runtime development ${libraries})
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
install(DIRECTORY include/ciapi DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
configure_package_config_file(packaging/ciapi-config.cmake.in ${CMAKE_BINARY_DIR}/ciapi-config.cmake
  INSTALL_DESTINATION ${ciapi_package_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/ciapi-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/ciapi-config.cmake ${CMAKE_BINARY_DIR}/ciapi-config-version.cmake
  DESTINATION ${ciapi_package_dir} COMPONENT development)
configure_file(packaging/ciapi.pc.in ${CMAKE_BINARY_DIR}/ciapi.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/ciapi.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(TARGET ciapi-testing)
  ciapi_install_libraries(ciapi-testing-targets testing testing ciapi-testing)
  install(DIRECTORY testing/include/ciapi-testing DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT testing)
  configure_file(packaging/ciapi-testing.pc.in ${CMAKE_BINARY_DIR}/ciapi-testing.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/ciapi-testing.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT testing)
endif()

foreach(program IN ITEMS ci-daemon-sim cictl)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    ciapi_leave_to_the_loader(${CMAKE_INSTALL_BINDIR} ${program} tools)
    # Where each shell looks for what completes the words of a program.
    install(FILES packaging/completion/bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
      RENAME ${program} COMPONENT tools)
    install(FILES packaging/completion/zsh DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions RENAME _${program}
      COMPONENT tools)
    install(FILES packaging/completion/${program}.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
      COMPONENT tools)
  endif()
endforeach()
if(TARGET ciapi_dissector)
  set(CIAPI_WIRESHARK_PLUGINS "${CMAKE_INSTALL_LIBDIR}/wireshark/plugins" CACHE STRING "Where Wireshark looks for plugins in Lua")
  get_target_property(dissector ciapi_dissector DISSECTOR)
  install(FILES ${dissector} DESTINATION ${CIAPI_WIRESHARK_PLUGINS} COMPONENT tools)
endif()

if(TARGET ciapi_python)
  install(TARGETS ciapi_python LIBRARY DESTINATION ${CIAPI_PYTHON_DIR}/ciapi COMPONENT python)
  ciapi_leave_to_the_loader(${CIAPI_PYTHON_DIR}/ciapi ciapi_python python)
  get_target_property(files ciapi_python_package FILES)
  install(FILES ${files} DESTINATION ${CIAPI_PYTHON_DIR}/ciapi COMPONENT python)
  install(DIRECTORY ${CMAKE_BINARY_DIR}/python/ciapi-${PROJECT_VERSION}.dist-info DESTINATION ${CIAPI_PYTHON_DIR}
    COMPONENT python)
endif()

# Laid out as here, so that the links between the pages hold.
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation
  PATTERN man EXCLUDE PATTERN Doxyfile.in EXCLUDE)
