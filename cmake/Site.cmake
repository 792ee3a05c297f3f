# The site: the pages of docs/ and the reference of the public headers, made when it is asked for (target ciapi_reference).
find_program(CIAPI_DOXYGEN doxygen)
find_package(Python3 QUIET COMPONENTS Interpreter)
if(CIAPI_DOXYGEN AND Python3_FOUND)
  add_custom_target(ciapi_reference
    COMMAND ${Python3_EXECUTABLE} -B ${PROJECT_SOURCE_DIR}/scripts/make-site.py ${PROJECT_VERSION} ${CMAKE_BINARY_DIR}/site
    COMMENT "The site, in ${CMAKE_BINARY_DIR}/site/html" VERBATIM)
  install(DIRECTORY ${CMAKE_BINARY_DIR}/site/html DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation OPTIONAL)
endif()
