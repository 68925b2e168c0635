# Run by cpack over what a package will hold: adds what Debian wants of every package.
set(names_library libzelkcam-grallocutils1)
set(names_development libzelkcam-grallocutils-dev)
set(names_tool grallocinfo)
set(signature "${CPACK_PACKAGE_CONTACT}")
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)

foreach(component ${CPACK_COMPONENTS_ALL})
    set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX}/share)
    set(name ${names_${component}})
    file(WRITE ${share}/doc/${name}/changelog
        "zelkcam-grallocutils (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n"
        "  * CHANGELOG.md of libzelkcam-grallocutils-dev lists the changes.\n\n"
        " -- ${signature}  ${now}\n")
    # Debian's Android libraries lie in a private folder, as their own packages' users know.
    file(WRITE ${share}/lintian/overrides/${name}
        "${name}: custom-library-search-path\n")
    if(component STREQUAL library)
        # CPack's own scripts call ldconfig, beside the trigger that Debian wants.
        file(APPEND ${share}/lintian/overrides/${name} "${name}: maintscript-calls-ldconfig\n")
    endif()
    file(GLOB texts ${share}/doc/${name}/changelog ${share}/man/man1/*.1)
    execute_process(COMMAND gzip -9nf ${texts} COMMAND_ERROR_IS_FATAL ANY)
    file(GLOB_RECURSE files ${share}/doc/* ${share}/lintian/* ${share}/man/*)
    file(CHMOD ${files} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endforeach()
