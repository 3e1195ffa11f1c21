# 32-bit ARM, hard float, as Debian's armhf: see debian.cmake.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(triplet arm-linux-gnueabihf)
set(emulator qemu-arm)
include("${CMAKE_CURRENT_LIST_DIR}/debian.cmake")
