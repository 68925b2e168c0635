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

# The emulator does not start what runs a program.
if(NOT CMAKE_CROSSCOMPILING)
    set(native_cases module_test)
endif()
foreach(case install find_package pkg_config headers documents sharing tool ${native_cases})
    add_test(NAME consumer.${case}
        COMMAND sh ${CMAKE_CURRENT_LIST_DIR}/consumer.sh ${case})
    set_tests_properties(consumer.${case} PROPERTIES
        ENVIRONMENT "${environment}" TIMEOUT 900 FIXTURES_REQUIRED consumer_prefix)
endforeach()
set_tests_properties(consumer.install PROPERTIES
    FIXTURES_REQUIRED "" FIXTURES_SETUP consumer_prefix)
