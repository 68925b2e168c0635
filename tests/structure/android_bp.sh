#!/bin/sh
# The device's build and this one compile the same files.
#
#   android_bp.sh TREE MODULE FOLDER SOURCE...
#
# Holds the srcs of MODULE in Android.bp against the SOURCEs of the CMake target, which are given
# absolute or relative to FOLDER. Only *Linux.cpp may be missing there, and only *Unavailable.cpp
# here.
set -u
tree=$1
module=$2
folder=$3
shift 3

# The quoted names inside `srcs: [...]` of the module.
listed_on_device() {
    awk -v module="$module" '
        /^[a-z_]+ \{/ { name = "" }
        $1 == "name:" { name = $2; gsub(/[",]/, "", name) }
        name == module && /srcs: \[/ { inside = 1 }
        inside { print }
        inside && /\]/ { inside = 0 }' "$tree/Android.bp" |
        grep -o '"[^"]*"' | tr -d '"' | sort
}

listed_here() {
    for source in "$@"; do
        case $source in
        /*) echo "${source#"$tree"/}" ;;
        *) echo "$folder/$source" ;;
        esac
    done | sed -n '/\.cpp$/p' | sort
}

work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
listed_on_device >"$work/device"
listed_here "$@" >"$work/here"
if [ ! -s "$work/device" ]; then
    echo "Android.bp names no sources for the module $module"
    exit 1
fi
status=0
grep -v 'Unavailable\.cpp$' "$work/device" >"$work/shared_device"
grep -v 'Linux\.cpp$' "$work/here" >"$work/shared_here"
if ! diff "$work/shared_device" "$work/shared_here" >"$work/difference"; then
    echo "Android.bp and CMake build $module from different files (< Android.bp only, > CMake only):"
    grep '^[<>]' "$work/difference"
    status=1
fi
while read -r source; do
    if [ ! -f "$tree/$source" ]; then
        echo "Android.bp lists $source, which does not exist"
        status=1
    fi
done <"$work/device"
exit $status
