#!/bin/sh
# The error lines that docs/device.md quotes are those that the library writes.
#
#   quoted_errors.sh TREE
set -u
cd "$1" || exit 1
status=0

# Lines such as: E TAG: [operation] TEXT (operation){#LINE:PATH}
quoted=$(sed -nE 's/^ *E [^ ]+: \[(\w+)\] (.*) \(\w+\)\{#([0-9]+):(.*)\}$/\3 \4 \2/p' docs/device.md)
[ -n "$quoted" ] || { echo "docs/device.md quotes no error line" && exit 1; }
while read -r line path text; do
    if ! sed -n "${line}p" "$path.cpp" | grep -qF "\"$text\""; then
        echo "docs/device.md quotes line $line of $path.cpp for \"$text\"; it stands at:"
        grep -nF "\"$text\"" "$path.cpp"
        status=1
    fi
done <<LINES
$quoted
LINES

# What the table of troubles tells readers to look for.
for text in "Bad allcation handle" "plexa_query returns"; do
    grep -qF "$text" docs/device.md && grep -rqF "$text" utils || {
        echo "\"$text\" is not both in docs/device.md and in utils/"
        status=1
    }
done
exit $status
