#!/bin/sh
# Succeeds if the library exports the extension's three functions and nothing else.
exported=$(nm --dynamic --defined-only "$1" | awk '{ print $3 }' | sort | xargs)
echo "$1 exports: $exported"
test "$exported" = "plexa_perform plexa_query plexa_sf_set_status"
