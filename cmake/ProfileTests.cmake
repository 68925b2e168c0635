# zelkcam_add_profile_tests(<target> [NAME <name>] [PROFILES <name or file>...] [QUIRKS <spec>...]
#                           [ARGUMENTS <word>...])
#
# Adds one CTest for every device profile, <name>.<profile>: it runs the target under that profile with
# the checker of buffers on, and fails when the target does or when something is found. <name> is the
# target's unless given; without PROFILES there is one for each profile that comes with the package.
function(zelkcam_add_profile_tests target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "NAME" "PROFILES;QUIRKS;ARGUMENTS")
    if(NOT arg_NAME)
        set(arg_NAME ${target})
    endif()
    if(NOT arg_PROFILES)
        set(arg_PROFILES ${ZELKCAM_PROFILES})
    endif()
    if(NOT EXISTS ${ZELKCAM_GRALLOCINFO})
        message(SEND_ERROR "zelkcam_add_profile_tests runs ${ZELKCAM_GRALLOCINFO}, which is not installed")
    endif()
    list(TRANSFORM arg_QUIRKS PREPEND --quirk= OUTPUT_VARIABLE quirks)
    foreach(profile IN LISTS arg_PROFILES)
        get_filename_component(name ${profile} NAME_WE)
        add_test(NAME ${arg_NAME}.${name}
            COMMAND ${ZELKCAM_GRALLOCINFO} run --check --profile=${profile} ${quirks}
                -- $<TARGET_FILE:${target}> ${arg_ARGUMENTS})
    endforeach()
endfunction()
