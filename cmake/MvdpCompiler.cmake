# mvdp_own_code(target): language level, warnings and instrumentation of code that is not generated.

# Without extensions, so that the panel's compiler accepts the same language as ours.
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
# The service keeps to C++11; Qt 6's own headers need C++17.
if(MVDP_QT_MAJOR EQUAL 6)
    set(MVDP_SERVICE_STANDARD 17)
else()
    set(MVDP_SERVICE_STANDARD 11)
endif()

# Whether the compiler takes GCC's options.
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang" AND NOT MSVC)
    set(gcc_options ON)
    # For tests, which are compiled more often than run.
    set(MVDP_UNOPTIMIZED -O0)
else()
    set(gcc_options OFF)
    set(MVDP_UNOPTIMIZED "")
endif()

# mvdp_small_code(target): for the service, which should take little of a panel's memory. Its code is memory that no
# other process shares, and speed matters less, because it waits for the platform service most of the time. Builds for
# debuggers and sanitizers stay as they are.
function(mvdp_small_code target)
    if(gcc_options)
        set(for_debuggers $<OR:$<CONFIG:Debug>,$<CONFIG:RelWithDebInfo>>)
        target_compile_options(${target} PRIVATE $<$<NOT:${for_debuggers}>:-Os>)
        # So that the linker can leave out what the program does not use.
        target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections)
    endif()
endfunction()

if(MVDP_SANITIZE AND NOT gcc_options)
    message(FATAL_ERROR "MVDP_SANITIZE needs GCC or clang (this is ${CMAKE_CXX_COMPILER_ID})")
elseif(MVDP_SANITIZE)
    add_compile_options(-fsanitize=${MVDP_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined,float-cast-overflow)
    add_link_options(-fsanitize=${MVDP_SANITIZE})
endif()
if(MVDP_COVERAGE)
    # clang counts the branches of the source; gcc also counts each call that might throw.
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "MVDP_COVERAGE needs clang++ (this is ${CMAKE_CXX_COMPILER_ID}): use the preset "
            "'coverage', or configure anew with -DCMAKE_CXX_COMPILER=clang++")
    endif()
    add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
    add_link_options(-fprofile-instr-generate)
endif()
if(MVDP_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "MVDP_FUZZ needs clang++ (this is ${CMAKE_CXX_COMPILER_ID}): use the preset 'fuzz', "
            "or configure anew with -DCMAKE_CXX_COMPILER=clang++")
    endif()
    # Coverage for the fuzzers in all that is compiled here; libFuzzer's main() is added when a fuzzer is linked.
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# tests/layers checks what the libraries of the global property MVDP_LIBRARIES link. A library's own property
# MVDP_PUBLIC_HEADERS names the headers that other libraries may include; all, if it is not set.
set_property(GLOBAL PROPERTY GLOBAL_DEPENDS_NO_CYCLES ON)

function(mvdp_own_code target)
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "STATIC_LIBRARY")
        set_property(GLOBAL APPEND PROPERTY MVDP_LIBRARIES ${target})
    endif()
    if(gcc_options)
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
    elseif(MSVC)
        target_compile_options(${target} PRIVATE /W4)
    endif()
    if(MVDP_WERROR)
        set_target_properties(${target} PROPERTIES COMPILE_WARNING_AS_ERROR ON)
        # The property is younger than the oldest CMake that builds the service.
        if(CMAKE_VERSION VERSION_LESS 3.24 AND gcc_options)
            target_compile_options(${target} PRIVATE -Werror)
        endif()
    endif()
    # Conversions of text to bytes must name the encoding: the protocol's is Latin-1.
    target_compile_definitions(${target} PRIVATE QT_NO_CAST_TO_ASCII)
endfunction()
