# The Android libraries that Debian packages: liblog, libutils and libcutils. Their libraries lie in
# an android/ folder of the multiarch directory, outside the loader's path, so whatever links them
# carries a run path there. The installed CMake package includes this file too.
set(ZELKCAM_SYSROOT "" CACHE PATH "Folder that holds the Debian packages of another architecture")
set(ANDROID_INCLUDE_DIR ${ZELKCAM_SYSROOT}/usr/include/android)
set(ANDROID_RUNTIME_DIR /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android)
set(ANDROID_LIBRARY_DIR ${ZELKCAM_SYSROOT}${ANDROID_RUNTIME_DIR})

foreach(name log utils cutils)
    if(NOT EXISTS ${ANDROID_LIBRARY_DIR}/lib${name}.so)
        message(FATAL_ERROR "lib${name}.so is not in ${ANDROID_LIBRARY_DIR}: install Debian's "
                            "android-lib${name}-dev (in the source tree: run scripts/setup)")
    endif()
    if(NOT TARGET android_${name})
        add_library(android_${name} SHARED IMPORTED)
        set_target_properties(android_${name} PROPERTIES
            IMPORTED_LOCATION ${ANDROID_LIBRARY_DIR}/lib${name}.so
            IMPORTED_SONAME lib${name}.so.0)
    endif()
endforeach()
