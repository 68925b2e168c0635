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

# A phone has one library of a name; Linux tells incompatible ones apart by the number behind it.
set_target_properties(zelkcam_grallocutils zelkcam_host plexa PROPERTIES
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})

# Debian's Android libraries lie in a folder that only a run path leads to. Ours find each other where
# the loader looks anyway, or else by their places, so that an installed tree may be moved. The mapper
# and the checker, which only the host platform loads, lie in a folder of their own.
set(private_dir ${CMAKE_INSTALL_LIBDIR}/zelkcam)
set(system_prefix OFF)
if(CMAKE_INSTALL_PREFIX MATCHES "^/usr(/local)?/?$")
    set(system_prefix ON)
endif()
foreach(pair zelkcam_grallocutils:. zelkcam_host:. plexa:. zelkcam_mapper:.. zelkcam_check:..
        grallocinfo:../${CMAKE_INSTALL_LIBDIR})
    string(REPLACE ":" ";" pair ${pair})
    list(GET pair 0 target)
    list(GET pair 1 libraries)
    set(path $ORIGIN/${libraries} ${ANDROID_RUNTIME_DIR})
    if(system_prefix)
        set(path ${ANDROID_RUNTIME_DIR})
    endif()
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "${path}")
endforeach()
install(TARGETS grallocinfo RUNTIME COMPONENT tool)
install(TARGETS zelkcam_mapper zelkcam_check zelkcam_check_descriptors zelkcam_quirk_extension
    LIBRARY DESTINATION ${private_dir} COMPONENT library)

# A client that calls the published functions links the host platform, too; one that defines such a
# function itself must export it, or the shared objects would go on finding the platform's.
set_target_properties(zelkcam_grallocutils PROPERTIES EXPORT_NAME grallocutils)
set_target_properties(zelkcam_host PROPERTIES EXPORT_NAME host)
set_target_properties(zelkcam_platform PROPERTIES EXPORT_NAME platform)
target_link_libraries(zelkcam_grallocutils INTERFACE zelkcam_host plexa)
target_link_options(zelkcam_grallocutils INTERFACE LINKER:--export-dynamic)

install(TARGETS zelkcam_grallocutils zelkcam_host plexa zelkcam_platform
    EXPORT ZelkcamGrallocUtilsTargets
    LIBRARY COMPONENT library NAMELINK_COMPONENT development)
install(EXPORT ZelkcamGrallocUtilsTargets NAMESPACE Zelkcam:: DESTINATION ${package_dir})
get_property(ZELKCAM_PROFILES GLOBAL PROPERTY ZELKCAM_PROFILES)
configure_package_config_file(cmake/ZelkcamGrallocUtilsConfig.cmake.in
    ZelkcamGrallocUtilsConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(ZelkcamGrallocUtilsConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/ZelkcamGrallocUtilsConfig.cmake
    ${PROJECT_BINARY_DIR}/ZelkcamGrallocUtilsConfigVersion.cmake
    ${PROJECT_SOURCE_DIR}/cmake/AndroidPackages.cmake
    ${PROJECT_SOURCE_DIR}/cmake/ProfileTests.cmake
    DESTINATION ${package_dir})

# The pkg-config file finds its prefix from its own place, so an installed tree may be moved.
file(RELATIVE_PATH pc_prefix
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
set(pc_rpath "-Wl,-rpath,\${libdir} -Wl,-rpath,\${android_libdir}")
if(system_prefix)
    set(pc_rpath "-Wl,-rpath,\${android_libdir}")
endif()
configure_file(cmake/zelkcam_grallocutils.pc.in zelkcam_grallocutils.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zelkcam_grallocutils.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(CMAKE_INSTALL_DOCDIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/libzelkcam-grallocutils-dev)
install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs PATTERN abi EXCLUDE)
file(GLOB schemas ${PROJECT_SOURCE_DIR}/docs/*.schema.json)
install(FILES ${schemas} DESTINATION ${CMAKE_INSTALL_DATADIR}/zelkcam_grallocutils COMPONENT tool)
