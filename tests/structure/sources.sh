#!/bin/sh
# Rules that the sources keep so that they compile unchanged on the device and stay findable.
#
#   sources.sh TREE ANDROID-INCLUDE-DIR
set -u
cd "$1" || exit 1
android_headers=$2
failures=0

# Prints the offending lines under the rule that they break.
report() {
    rule=$1
    lines=$2
    [ -z "$lines" ] && return
    printf '%s:\n%s\n\n' "$rule" "$lines"
    failures=$((failures + 1))
}

# search PATTERN FOLDER...: lines of C++ sources that match.
search() {
    pattern=$1
    shift
    grep -rnE --include='*.h' --include='*.cpp' -e "$pattern" "$@"
}

# Lines of utils/ and plexa/ that include a published platform header by its own path.
platform_includes() {
    search '^ *# *include *<' utils plexa | while IFS= read -r line; do
        header=${line##*<}
        header=${header%%>*}
        if [ -e "host/include/$header" ] || [ -e "$android_headers/$header" ]; then
            echo "$line"
        fi
    done
}

report "The device is told apart by the build, not by the preprocessor" \
    "$(search '__ANDROID(_API)?__' utils plexa tools platform profile)"
report "The library reaches the platform through platform/*.h only" \
    "$(platform_includes)"
report "Only *Linux.cpp of the tool know of the host platform" \
    "$(search '"host/|zelkcam/host/|zelkcam::host|ZELKCAM_HOST_|zelkcam_host' utils plexa tools platform profile |
        grep -v '^tools/[^:]*Linux\.cpp:')"
report "Lines and fatal ends go by Log.h: liblog's macros have other names on the device" \
    "$(search '\b(LOG_FATAL|LOG_ALWAYS_FATAL|LOG_ASSERT|ALOG[A-Z]+)(_IF)?\(' utils plexa)"
report "String8 is read through c_str() and length(): the rest went away with Android 15" \
    "$(search 'String8::empty\(|(\.|->)string\(\)' utils plexa tools | grep -v filesystem)"
report "Every header begins with #pragma once (after its comment)" \
    "$(grep -rL --include='*.h' '^#pragma once$' utils plexa tools platform host profile tests)"
report "Work that is open belongs in the tracker" \
    "$(grep -rnwE -e 'TODO|FIXME|XXX|HACK' --exclude=sources.sh \
        utils plexa tools platform host profile examples tests bench fuzz cmake scripts docs)"
report "Symbols of a test executable replace the platform's, so nothing binds symbols early" \
    "$(grep -rn --include=CMakeLists.txt --include='*.cmake' --include='*.bp' -e '-Bsymbolic' \
        . --exclude-dir=build)"

[ $failures -eq 0 ] || exit 1
