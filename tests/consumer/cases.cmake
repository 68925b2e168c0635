# Included by tests/: installs this build and uses it from outside. The sanitizers' run time would
# have to be part of the client, so they go without.
if(ZELKCAM_SANITIZE)
    return()
endif()

set(work ${CMAKE_CURRENT_BINARY_DIR}/consumer)
set(environment TREE=${PROJECT_SOURCE_DIR} BUILD=${PROJECT_BINARY_DIR} WORK=${work}
    CXX=${CMAKE_CXX_COMPILER})
if(CMAKE_CROSSCOMPILING)
    string(REPLACE ";" " " emulator "${CMAKE_CROSSCOMPILING_EMULATOR}")
    list(APPEND environment TOOLCHAIN=${CMAKE_TOOLCHAIN_FILE} SYSROOT=${ZELKCAM_SYSROOT}
        "EMULATOR=${emulator}" "LINKER_FLAGS=${CMAKE_EXE_LINKER_FLAGS}")
endif()

set(cases install find_package pkg_config headers documents sharing)
set(components library development)
if(ZELKCAM_TESTS STREQUAL all)
    list(APPEND cases tool module_test)
    list(APPEND components tool)
endif()
list(JOIN components " " components)
list(APPEND environment "COMPONENTS=${components}")
foreach(case ${cases})
    add_test(NAME consumer.${case}
        COMMAND sh ${CMAKE_CURRENT_LIST_DIR}/consumer.sh ${case})
    set_tests_properties(consumer.${case} PROPERTIES
        ENVIRONMENT "${environment}" TIMEOUT 900 FIXTURES_REQUIRED consumer_prefix)
endforeach()
set_tests_properties(consumer.install PROPERTIES
    FIXTURES_REQUIRED "" FIXTURES_SETUP consumer_prefix)
