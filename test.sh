#!/usr/bin/env bash
# Sets everything up, builds, and runs every test. Arguments go to ctest, for example: ./test.sh -R RecordSet
set -eu

cd "$(dirname "$0")"
tools/setup.sh
tools/build.sh release
# twice as many as processors: most tests wait for an event or for the disk
ctest --test-dir build/release --output-on-failure --no-tests=error -j "$((2 * $(nproc)))" "$@"
