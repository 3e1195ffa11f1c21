# For CMAKE_PROJECT_INCLUDE: configures a build for Windows with a Qt that has no libraries for Windows. Sources can
# then be compiled, but not linked.
set(CMAKE_IMPORT_LIBRARY_SUFFIX "")
