# The manual pages. Their tables are what the programs print, so that a build for another machine, where nothing that is
# built can run, has the library's page alone; without scdoc there is none.
find_program(CIAPI_SCDOC scdoc)
if(NOT CIAPI_SCDOC)
  message(STATUS "There is no scdoc: manual pages are left out.")
  return()
endif()

# ciapi_add_manual(PAGE COMPONENT [program...]) A page of docs/man, and the programs whose tables stand in it.
function(ciapi_add_manual PAGE COMPONENT)
  set(text ${PROJECT_SOURCE_DIR}/docs/man/${PAGE}.scd.in)
  set(script ${PROJECT_SOURCE_DIR}/scripts/manual-page.sh)
  set(page ${CMAKE_BINARY_DIR}/man/${PAGE})
  add_custom_command(OUTPUT ${page}
    COMMAND bash ${script} ${text} ${PROJECT_VERSION} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} > ${page}
    DEPENDS ${text} ${script} ${ARGN} VERBATIM)
  string(REGEX REPLACE ".*\\." "" section ${PAGE})
  # Who builds the library's targets alone installs it without the page.
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${COMPONENT} OPTIONAL)
  set_property(GLOBAL APPEND PROPERTY CIAPI_MANUALS ${page})
endfunction()

file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/man)
ciapi_add_manual(ciapi.7 development)
if(CIAPI_BUILD_TOOLS AND NOT CMAKE_CROSSCOMPILING)
  ciapi_add_manual(cictl.1 tools cictl)
  ciapi_add_manual(ci-daemon-sim.1 tools ci-daemon-sim)
  ciapi_add_manual(ciapi-scenario.5 tools ci-daemon-sim)
endif()
get_property(pages GLOBAL PROPERTY CIAPI_MANUALS)
add_custom_target(ciapi_manuals ALL DEPENDS ${pages})
