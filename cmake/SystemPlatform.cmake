# The TV platform's own headers and library take the place of platform/: same header names, same signatures.
find_path(TVPLATFORM_INCLUDE_DIR tvplatform/Marshalable.h REQUIRED)
find_library(TVPLATFORM_LIBRARY tvplatform REQUIRED)
add_library(tvplatform SHARED IMPORTED)
set_target_properties(tvplatform PROPERTIES IMPORTED_LOCATION ${TVPLATFORM_LIBRARY}
  INTERFACE_INCLUDE_DIRECTORIES ${TVPLATFORM_INCLUDE_DIR})
