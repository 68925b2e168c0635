# The platform as our sources see it: the ten doors, and behind them the published headers. Ours of
# host/include stand before Debian's, which hold some older copies of the same paths; Debian's are
# system headers because they are not free of warnings.
add_library(zelkcam_platform INTERFACE)
target_include_directories(zelkcam_platform INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/host/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/zelkcam>)
target_include_directories(zelkcam_platform SYSTEM INTERFACE
    $<BUILD_INTERFACE:${ANDROID_INCLUDE_DIR}>)

# The library's own headers that clients include; the doors and the published headers come along.
set(ZELKCAM_PUBLIC_HEADERS
    utils/gralloc/Export.h
    utils/gralloc/IGrallocHelper.h
    utils/gralloc/IGrallocInfoProvider.h
    utils/gralloc/aidl/v2/allocator/allocator.h
    utils/gralloc/aidl/v2/mapper/mapper.h
    utils/gralloc/hidl/allocator/allocator.h
    utils/gralloc/hidl/mapper/mapper.h)
