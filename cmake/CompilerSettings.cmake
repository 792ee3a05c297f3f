add_library(ciapi_compiler_settings INTERFACE)
target_compile_options(ciapi_compiler_settings INTERFACE -Wall -Wextra -fno-omit-frame-pointer)
# GCC 12 wrongly says of "text" + std::string(), as far as it inlines it at -O3, that it copies what overlaps.
target_compile_options(ciapi_compiler_settings INTERFACE
  $<$<AND:$<COMPILE_LANG_AND_ID:CXX,GNU>,$<CONFIG:Release>>:-Wno-restrict>)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
  # Notes, for every vector, that compilers before 7.1 passed some arguments otherwise.
  target_compile_options(ciapi_compiler_settings INTERFACE -Wno-psabi)
endif()
if(CIAPI_WERROR)
  target_compile_options(ciapi_compiler_settings INTERFACE -Werror)
endif()
# Assertions, those of Boost's pointers among them, hold in every build type, and everywhere: the rooms share inline
# functions and a precompiled header.
target_compile_options(ciapi_compiler_settings INTERFACE -UNDEBUG)
if(CIAPI_SANITIZE)
  target_compile_options(ciapi_compiler_settings INTERFACE -fsanitize=${CIAPI_SANITIZE} -fno-sanitize-recover=all)
  target_link_options(ciapi_compiler_settings INTERFACE -fsanitize=${CIAPI_SANITIZE})
endif()
# Gives every program of a folder and those below it what tells the sanitizers about libdbus and GLib: the objects of
# sanitizer_options.
function(ciapi_give_sanitizer_options FOLDER)
  get_property(targets DIRECTORY ${FOLDER} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "EXECUTABLE")
      target_sources(${target} PRIVATE $<TARGET_OBJECTS:sanitizer_options>)
    endif()
  endforeach()
  get_property(folders DIRECTORY ${FOLDER} PROPERTY SUBDIRECTORIES)
  foreach(folder IN LISTS folders)
    ciapi_give_sanitizer_options(${folder})
  endforeach()
endfunction()
# Applies to everything built here and is no part of what is installed.
link_libraries($<BUILD_INTERFACE:ciapi_compiler_settings>)

# Addresses inside the library, of which tables of virtual functions are made, take a bit each instead of 24 bytes where
# the C library that is built for can read that.
include(CheckCXXSourceCompiles)
set(CMAKE_REQUIRED_LINK_OPTIONS -Wl,-z,pack-relative-relocs -Wl,--fatal-warnings)
check_cxx_source_compiles("
#include <features.h>
#if !__GLIBC_PREREQ(2, 36)
#error its loader is older
#endif
int main() {}" CIAPI_HAS_PACKED_RELOCATIONS)
unset(CMAKE_REQUIRED_LINK_OPTIONS)
