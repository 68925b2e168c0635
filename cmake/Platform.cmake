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
