# For what the byte order changes, by hand: there is no big-endian TV.
set(arch s390x)
set(triplet s390x-linux-gnu)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(emulator qemu-s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
