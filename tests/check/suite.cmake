# Included by tests/ when all programs are known: the suite under the checker of buffers. Its own test
# and the tool's run checked programs of their own.
if(TARGET check_test)
    get_property(programs GLOBAL PROPERTY ZELKCAM_TEST_PROGRAMS)
    list(REMOVE_ITEM programs check_test tool_test)
    list(TRANSFORM programs PREPEND ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/)
    add_test(NAME check.suite
        COMMAND python3 ${CMAKE_CURRENT_LIST_DIR}/suite.py $<TARGET_FILE:grallocinfo>
            ${CMAKE_CURRENT_LIST_DIR}/provoked.txt ${programs})
    set_tests_properties(check.suite PROPERTIES TIMEOUT 300)
endif()
