#!/usr/bin/env bash
# Builds and runs the benchmarks. Arguments go to each of them, for example: tools/bench.sh --benchmark_filter=Division
set -eu

cd "$(dirname "$0")/.."
tools/setup.sh
tools/build.sh release
for program in build/release/bin/bench_*; do
  echo "== ${program##*/}"
  "$program" "$@"
done
