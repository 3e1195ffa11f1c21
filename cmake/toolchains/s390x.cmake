# Big-endian, as Debian's s390x: see debian.cmake. No panel has it; the wire format is tested on it.
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(triplet s390x-linux-gnu)
set(emulator qemu-s390x)
include("${CMAKE_CURRENT_LIST_DIR}/debian.cmake")
