#!/usr/bin/env bash
# Sets everything up, builds, and runs every test. Arguments go to ctest, for example: ./test.sh -R RecordSet
set -eu

cd "$(dirname "$0")"
tools/setup.sh
tools/build.sh release
ctest --test-dir build/release --output-on-failure --no-tests=error -j "$(nproc)" "$@"
