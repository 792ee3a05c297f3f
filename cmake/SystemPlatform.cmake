# The TV platform's own headers and library take the place of platform/: same header names, same signatures. The name is
# that of the installed package, which looks for them again (packaging/ciapi-config.cmake.in).
find_path(TVPLATFORM_INCLUDE_DIR tvplatform/Marshalable.h REQUIRED)
find_library(TVPLATFORM_LIBRARY tvplatform REQUIRED)
add_library(ciapi::tvplatform SHARED IMPORTED GLOBAL)
set_target_properties(ciapi::tvplatform PROPERTIES IMPORTED_LOCATION ${TVPLATFORM_LIBRARY}
  INTERFACE_INCLUDE_DIRECTORIES ${TVPLATFORM_INCLUDE_DIR})
add_library(tvplatform ALIAS ciapi::tvplatform)
