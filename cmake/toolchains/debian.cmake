# The part that the tool-chain files beside this one share. Set by the user:
#   CMAKE_SYSROOT       the folder that holds the panel's /usr (and /lib, if that is apart); required
#   CMAKE_CXX_COMPILER  another compiler than Debian's cross compiler
#   QT_HOST_PATH        Qt 6 only: the prefix of a Qt for the building machine, whose moc, uic and rcc are run; with
#                       Debian's own also QT_HOST_PATH_CMAKE_DIR, /usr/lib/<this machine>/cmake
# scripts/cross-build sets them for a folder of Debian packages.

set(CMAKE_SYSTEM_NAME Linux)
if(NOT CMAKE_SYSROOT)
    message(FATAL_ERROR "Set CMAKE_SYSROOT to the folder of the panel's headers and libraries")
endif()
if(NOT CMAKE_CXX_COMPILER)
    set(CMAKE_CXX_COMPILER ${triplet}-g++)
endif()
# Where Debian keeps libraries and their CMake files; harmless where they are not.
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})

# Programs that the build runs are this machine's; everything else is the panel's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR
    /usr/bin/python3 "${CMAKE_CURRENT_LIST_DIR}/../../tests/emulate.py" ${emulator} "${CMAKE_SYSROOT}")
