#!/bin/sh
# What a library exports is exactly the committed list. It has no run-time type information and throws
# nothing itself.
#
#   exports.sh NM LIBRARY LIST
set -u
nm=$1
library=$2
list=$3
status=0

work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT

# The list is one mangled name a line; '#' starts a comment.
sed -e 's/#.*//' -e 's/ *$//' -e '/^$/d' "$list" | LC_ALL=C sort >"$work/expected"
"$nm" -D --defined-only --format=posix "$library" | awk '{ print $1 }' | sed 's/@.*//' |
    LC_ALL=C sort -u >"$work/actual"

LC_ALL=C comm -23 "$work/expected" "$work/actual" >"$work/gone"
LC_ALL=C comm -13 "$work/expected" "$work/actual" >"$work/new"
if [ -s "$work/gone" ]; then
    echo "$library no longer exports the following; clients that use them will not load:"
    c++filt <"$work/gone" | sed 's/^/    /'
    status=1
fi
if [ -s "$work/new" ]; then
    echo "$library exports what $list does not name. Hide it, or run scripts/abi-update:"
    c++filt <"$work/new" | sed 's/^/    /'
    status=1
fi

"$nm" -D --format=posix "$library" | awk '{ print $1 }' | sed 's/@.*//' |
    grep -E '^(_ZTI|_ZTS|_ZTVN10__cxxabiv|__dynamic_cast|__cxa_throw)' \
        >"$work/run_time"
if [ -s "$work/run_time" ]; then
    echo "$library relies on run-time type information or throws, which clients may not be made for:"
    c++filt <"$work/run_time" | sed 's/^/    /'
    status=1
fi
exit $status
