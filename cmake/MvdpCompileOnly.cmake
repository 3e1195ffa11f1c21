# For CMAKE_PROJECT_INCLUDE: lets build files for Windows be made with a Qt that has no libraries for Windows. Sources
# can be compiled then, but not linked.
set(CMAKE_IMPORT_LIBRARY_SUFFIX "")
