# The Android libraries that Debian packages: liblog, libutils and libcutils. Their libraries lie in
# an android/ folder of the multiarch directory, outside the loader's path, so whatever links them
# carries a run path there. The installed CMake package includes this file too.
set(ZELKCAM_SYSROOT "" CACHE PATH "Folder that holds the Debian packages of another architecture")
set(ANDROID_INCLUDE_DIR ${ZELKCAM_SYSROOT}/usr/include/android)
set(ANDROID_RUNTIME_DIR /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android)
set(ANDROID_LIBRARY_DIR ${ZELKCAM_SYSROOT}${ANDROID_RUNTIME_DIR})

# Names the packages that are missing; whoever includes this decides what that means.
set(ANDROID_PACKAGES_MISSING "")
foreach(name log utils cutils)
    if(NOT EXISTS ${ANDROID_LIBRARY_DIR}/lib${name}.so)
        list(APPEND ANDROID_PACKAGES_MISSING android-lib${name}-dev)
    elseif(NOT TARGET android_${name})
        add_library(android_${name} SHARED IMPORTED)
        set_target_properties(android_${name} PROPERTIES
            IMPORTED_LOCATION ${ANDROID_LIBRARY_DIR}/lib${name}.so
            IMPORTED_SONAME lib${name}.so.0)
    endif()
endforeach()
