#!/usr/bin/env bash
# Configures a preset once and builds targets of it, quietly when there is nothing to do.
#
# usage: build.sh PRESET [TARGET...]
set -eu

cd "$(dirname "$0")/.."
preset=$1
shift
folder=build/$preset
targets=()
[ $# -eq 0 ] || targets=(--target "$@")

log=$(mktemp)
trap 'rm -f "$log"' EXIT
if [ ! -f "$folder/build.ninja" ]; then
  echo "build: configuring $preset"
  cmake --preset "$preset" >"$log" 2>&1 || {
    cat "$log" >&2
    exit 1
  }
fi
if ! cmake --build "$folder" "${targets[@]}" >"$log" 2>&1; then
  cat "$log" >&2
  echo "build: $preset failed" >&2
  exit 1
fi
