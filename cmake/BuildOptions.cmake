# How our own code is compiled, and where what it makes is put.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

option(ZELKCAM_BENCH "Build the benchmarks" OFF)
option(ZELKCAM_FUZZ "Prepare for the target 'fuzzers' (clang with address,undefined only)" OFF)

# Compiled results are shared between clones of this tree, where the machine has ccache.
find_program(CCACHE ccache)
mark_as_advanced(CCACHE)
if(CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
        CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE})
    set(CMAKE_C_COMPILER_LAUNCHER ${CMAKE_CXX_COMPILER_LAUNCHER})
endif()

# The host platform looks for the mapper library beside itself, so all libraries share one folder.
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

# Warnings of our own code, which the presets make errors; zelkcam_options is linked privately by every target of ours.
add_library(zelkcam_options INTERFACE)
target_compile_options(zelkcam_options INTERFACE -Wall -Wextra -Wformat=2)
if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
    target_compile_options(zelkcam_options INTERFACE -Wthread-safety)
else()
    # GCC 12 sees overlaps in the standard library's own string operator+ that cannot happen.
    target_compile_options(zelkcam_options INTERFACE -Wno-restrict)
endif()

# ZELKCAM_SANITIZE=address,undefined or thread: the presets asan and tsan.
set(ZELKCAM_SANITIZE "" CACHE STRING "Sanitizers, comma-separated")
if(ZELKCAM_SANITIZE)
    # Objects of the library carry no run-time type information for the vptr check to look at.
    add_compile_options(-fsanitize=${ZELKCAM_SANITIZE} -fno-omit-frame-pointer
                        -fno-sanitize-recover=undefined -fno-sanitize=vptr)
    add_link_options(-fsanitize=${ZELKCAM_SANITIZE})
endif()
if(ZELKCAM_FUZZ)
    # The libraries count what the fuzzers reach; tests go without.
    set(type $<TARGET_PROPERTY:TYPE>)
    set(is_library $<OR:$<STREQUAL:${type},SHARED_LIBRARY>,$<STREQUAL:${type},MODULE_LIBRARY>>)
    target_compile_options(zelkcam_options INTERFACE $<${is_library}:-fsanitize=fuzzer-no-link>)
endif()

# Nothing leaves `target`, a shared library, but what the version script `map` names.
function(zelkcam_limit_exports target map)
    set(path ${CMAKE_CURRENT_SOURCE_DIR}/${map})
    target_link_options(${target} PRIVATE LINKER:--version-script=${path})
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${path})
endfunction()

# Sets `variable` to a path by which another program can start `target`: its own, or in a cross
# build that of a script that starts it in the emulator.
function(zelkcam_runnable target variable)
    set(path $<TARGET_FILE:${target}>)
    if(CMAKE_CROSSCOMPILING)
        list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
        set(path ${PROJECT_BINARY_DIR}/emulated/${target})
        file(GENERATE OUTPUT ${path}
            CONTENT "#!/bin/sh\nexec ${emulator} $<TARGET_FILE:${target}> \"$@\"\n"
            FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    endif()
    set(${variable} ${path} PARENT_SCOPE)
endfunction()
