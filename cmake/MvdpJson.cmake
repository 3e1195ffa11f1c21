# mvdp::Json: the JSON DOM headers, <json/elements.h>, <json/reader.h> and <json/writer.h>.
# They are those in src/, or with MVDP_SYSTEM_JSON an installed library with the same interface (src/json/README.md).

option(MVDP_SYSTEM_JSON "Use installed JSON headers in place of src/json" OFF)

add_library(mvdp_json INTERFACE)
add_library(mvdp::Json ALIAS mvdp_json)
if(MVDP_SYSTEM_JSON)
    find_path(MVDP_JSON_INCLUDE_DIR json/reader.h
        DOC "Folder that holds the installed json/reader.h")
    if(NOT MVDP_JSON_INCLUDE_DIR)
        message(FATAL_ERROR "MVDP_SYSTEM_JSON is ON, but no json/reader.h is installed; "
            "set MVDP_JSON_INCLUDE_DIR to the folder above it")
    endif()
    target_include_directories(mvdp_json SYSTEM INTERFACE "${MVDP_JSON_INCLUDE_DIR}")
    target_compile_definitions(mvdp_json INTERFACE MVDP_SYSTEM_JSON)
else()
    target_include_directories(mvdp_json INTERFACE "${PROJECT_SOURCE_DIR}/src")
endif()
