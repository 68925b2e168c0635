# Debian's cross-compiler over the arm64 packages that `scripts/setup --arm64` unpacks, and the
# emulator that runs what it makes.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

get_filename_component(ZELKCAM_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/arm64-sysroot ABSOLUTE)
if(NOT EXISTS ${ZELKCAM_SYSROOT}/.packages)
    message(FATAL_ERROR "No arm64 packages in ${ZELKCAM_SYSROOT}: run scripts/setup --arm64")
endif()

# Headers and libraries come from the packages, programs from the machine.
set(CMAKE_FIND_ROOT_PATH ${ZELKCAM_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
if(NOT DEFINED CMAKE_FIND_ROOT_PATH_MODE_PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static -L ${ZELKCAM_SYSROOT})

# What the packaged libraries need in their turn; libbacktrace opens 7-Zip's own folder.
set(arm64_libraries ${ZELKCAM_SYSROOT}/usr/lib/aarch64-linux-gnu)
set(arm64_folders
    ${arm64_libraries}/android ${arm64_libraries}
    ${ZELKCAM_SYSROOT}/lib/aarch64-linux-gnu ${ZELKCAM_SYSROOT}/usr/lib/p7zip)
list(JOIN arm64_folders : arm64_search_path)
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,-rpath-link,${arm64_search_path})
set(CMAKE_SHARED_LINKER_FLAGS_INIT ${CMAKE_EXE_LINKER_FLAGS_INIT})
set(CMAKE_MODULE_LINKER_FLAGS_INIT ${CMAKE_EXE_LINKER_FLAGS_INIT})
