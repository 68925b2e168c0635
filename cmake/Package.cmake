# Debian packages: `cmake --preset package`, build, then `cpack -G DEB` in build/package.
set(CPACK_PACKAGE_NAME zelkcam-grallocutils)
set(CPACK_PACKAGE_CONTACT "zelkcam grallocutils maintainers <grallocutils@zelkcam.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "memory layouts of Android camera buffers")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development tool)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PackageFiles.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE zelkcam-grallocutils)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib ${ANDROID_RUNTIME_DIR})

set(library libzelkcam-grallocutils${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
    "The library that tells what a graphics buffer of a usage, pixel format and\n\
size looks like in memory, and the host platform on which it answers on Linux.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzelkcam-grallocutils-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${library} (= ${PROJECT_VERSION}), android-liblog-dev, android-libutils-dev, \
android-libcutils-dev, android-platform-system-core-headers")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "Headers, link names, documents, and how CMake and pkg-config find them.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME grallocinfo)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOL_DESCRIPTION
    "Asks the library for layouts, lists formats, names codes and draws planes.")
include(CPack)
