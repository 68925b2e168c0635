#!/bin/sh
# Holds a library's binary interface, types and virtual tables included, against its baseline.
#
#   abi_diff.sh LIBRARY BASELINE
#
# Ends with 77, which ctest reports as skipped, where abidiff is not installed (scripts/setup
# --checks installs it).
set -u
library=$1
baseline=$2

if ! command -v abidiff >/dev/null; then
    echo "abidiff is not installed: scripts/setup --checks installs it"
    [ "${CI:-}" != true ] || exit 1
    exit 77
fi
report=$(abidiff --no-architecture --no-show-locs "$baseline" "$library" 2>&1)
status=$?
[ $status -eq 0 ] && exit 0
echo "$report"
cat <<TEXT

The binary interface of $(basename "$library") is not that of $(basename "$baseline"): clients that
were compiled against it break, or at least need a look. If the change is meant and every client is
rebuilt, run scripts/abi-update and commit what it writes.
TEXT
exit 1
