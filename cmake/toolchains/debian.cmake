# What the toolchain files beside it have in common: Debian's cross compiler, a folder that scripts/sysroot.sh has made,
# and qemu for what is built.
set(CMAKE_SYSTEM_NAME Linux)
set(CIAPI_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot/${arch} CACHE PATH "What scripts/sysroot.sh has made")
cmake_path(ABSOLUTE_PATH CIAPI_SYSROOT NORMALIZE OUTPUT_VARIABLE CMAKE_SYSROOT)
if(NOT EXISTS ${CMAKE_SYSROOT}/usr/include)
  message(FATAL_ERROR "there is no ${CMAKE_SYSROOT}: scripts/sysroot.sh ${arch} ${CMAKE_SYSROOT}")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CIAPI_SYSROOT) # wherever it is, CMake's own checks find it too
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L ${CMAKE_SYSROOT})

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${triplet}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
