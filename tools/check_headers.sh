#!/usr/bin/env bash
# Checks that every public header compiles alone, without a warning, included twice.
#
# usage: check_headers.sh COMPILER INCLUDE_FOLDER     exit status 1 and the compiler's words per header that does not
set -eu

compiler=$1
folder=$2
status=0
count=0
while IFS= read -r header; do
  count=$((count + 1))
  if ! printf '#include "%s"\n#include "%s"\n' "$header" "$header" |
    "$compiler" -std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -I "$folder" -x c++ -; then
    echo "$folder/$header does not compile alone"
    status=1
  fi
done < <(cd "$folder" && find . -name '*.h' | sed 's|^\./||' | sort)
[ "$count" -gt 0 ] || { echo "$folder: no headers"; status=1; }
echo "$count headers"
exit $status
