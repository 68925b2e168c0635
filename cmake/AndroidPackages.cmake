# The Android libraries that Debian packages: liblog, libutils and libcutils. Their libraries lie in
# an android/ folder of the multiarch directory, outside the loader's path, so whatever links them
# carries a run path there.
set(ZELKCAM_SYSROOT "" CACHE PATH "Folder that holds the Debian packages of another architecture")
set(ANDROID_INCLUDE_DIR ${ZELKCAM_SYSROOT}/usr/include/android)
set(ANDROID_LIBRARY_DIR ${ZELKCAM_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android)

foreach(name log utils cutils)
    add_library(android_${name} SHARED IMPORTED)
    set_target_properties(android_${name} PROPERTIES
        IMPORTED_LOCATION ${ANDROID_LIBRARY_DIR}/lib${name}.so
        IMPORTED_SONAME lib${name}.so.0)
    if(NOT EXISTS ${ANDROID_LIBRARY_DIR}/lib${name}.so)
        message(FATAL_ERROR "lib${name}.so is not in ${ANDROID_LIBRARY_DIR}: run scripts/setup")
    endif()
endforeach()
