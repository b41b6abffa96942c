#!/usr/bin/env bash
# Checks that plug-in libraries export CreatePlugin and ReleasePlugin and nothing else, and that none of their symbols
# is unique in the process (such a symbol keeps the library mapped after dlclose).
#
# usage: check_exports.sh LIBRARY...     exit status 1 and one line per breach
set -eu

expected=$'CreatePlugin\nReleasePlugin'
status=0
[ $# -gt 0 ] || { echo "check_exports.sh: no library named"; exit 1; }
for library in "$@"; do
  exported=$(nm --dynamic --defined-only --format=posix "$library" | awk '{print $1}' | sort)
  if [ "$exported" != "$expected" ]; then
    echo "$library: exports $(echo "$exported" | tr '\n' ' ')instead of CreatePlugin ReleasePlugin"
    status=1
  fi
  unique=$(nm --dynamic --defined-only --format=posix "$library" | awk '$2 == "u" {print $1}')
  if [ -n "$unique" ]; then
    echo "$library: unique symbols keep it mapped: $unique"
    status=1
  fi
done
exit $status
