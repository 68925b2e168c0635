# What an installed prefix holds, and how clients find it: a CMake package and a pkg-config file.
# Either is all that a client needs; the host platform and Debian's paths come along.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ZelkcamGrallocUtils)
set(header_dir ${CMAKE_INSTALL_INCLUDEDIR}/zelkcam)

# Headers keep their paths of the source tree, so that an include line reads the same in both.
foreach(header ${ZELKCAM_PUBLIC_HEADERS})
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${header} DESTINATION ${header_dir}/${folder})
endforeach()
install(DIRECTORY platform host/include/ DESTINATION ${header_dir} FILES_MATCHING PATTERN "*.h")

# Libraries find each other beside themselves, and Debian's Android libraries in their folder.
set_target_properties(zelkcam_grallocutils zelkcam_host plexa zelkcam_mapper PROPERTIES
    INSTALL_RPATH "$ORIGIN;${ANDROID_RUNTIME_DIR}")
set_target_properties(grallocinfo PROPERTIES
    INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR};${ANDROID_RUNTIME_DIR}")
install(TARGETS grallocinfo zelkcam_mapper
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})

# A client that calls the published functions links the host platform, too; one that defines such a
# function itself must export it, or the shared objects would go on finding the platform's.
set_target_properties(zelkcam_grallocutils PROPERTIES EXPORT_NAME grallocutils)
set_target_properties(zelkcam_host PROPERTIES EXPORT_NAME host)
set_target_properties(zelkcam_platform PROPERTIES EXPORT_NAME platform)
target_link_libraries(zelkcam_grallocutils INTERFACE zelkcam_host plexa)
target_link_options(zelkcam_grallocutils INTERFACE LINKER:--export-dynamic)

install(TARGETS zelkcam_grallocutils zelkcam_host plexa zelkcam_platform
    EXPORT ZelkcamGrallocUtilsTargets)
install(EXPORT ZelkcamGrallocUtilsTargets NAMESPACE Zelkcam:: DESTINATION ${package_dir})
configure_package_config_file(cmake/ZelkcamGrallocUtilsConfig.cmake.in
    ZelkcamGrallocUtilsConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(ZelkcamGrallocUtilsConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/ZelkcamGrallocUtilsConfig.cmake
    ${PROJECT_BINARY_DIR}/ZelkcamGrallocUtilsConfigVersion.cmake
    ${PROJECT_SOURCE_DIR}/cmake/AndroidPackages.cmake
    DESTINATION ${package_dir})

# The pkg-config file finds its prefix from its own place, so an installed tree may be moved.
file(RELATIVE_PATH pc_prefix
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/zelkcam_grallocutils.pc.in zelkcam_grallocutils.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zelkcam_grallocutils.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
