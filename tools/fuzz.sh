#!/usr/bin/env bash
# Runs every fuzz target for some time, two a processor at once, each from its corpus in fuzz/corpus. What a target
# reaches anew is kept in build/fuzz/corpus, an input that breaks its property in build/fuzz/finds; a find belongs into
# fuzz/corpus.
#
# usage: fuzz.sh [SECONDS [TARGET...]]     60 seconds and every target unless said otherwise
set -eu

cd "$(dirname "$0")/.."
seconds=${1:-60}
[ $# -eq 0 ] || shift
memory_mb=2048
at_once=$((2 * $(nproc)))

has_fuzzer() {
  echo 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }' |
    clang++ -fsanitize=fuzzer,address -x c++ - -o /dev/null 2>/dev/null
}

if ! has_fuzzer; then
  tools/setup.sh clang libclang-rt-14-dev || true
  has_fuzzer || {
    echo "fuzz: skipped: clang with libFuzzer is not here and could not be installed (clang, libclang-rt-14-dev)"
    exit 0
  }
fi
tools/build.sh fuzz fuzz_targets

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for program in build/fuzz/bin/fuzz_*; do targets+=("${program##*/fuzz_}"); done
fi

# usage: run_target TARGET     the last words of a target that finds something, one line of one that does not
run_target() {
  local kept=build/fuzz/corpus/$1 finds=build/fuzz/finds log=build/fuzz/$1.log
  mkdir -p "$kept" "$finds"
  if "build/fuzz/bin/fuzz_$1" -max_total_time="$seconds" -rss_limit_mb="$memory_mb" -timeout=20 -print_final_stats=1 \
    -artifact_prefix="$finds/$1-" "$kept" "fuzz/corpus/$1" >"$log" 2>&1; then
    echo "fuzz: $1: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") runs," \
      "$(grep -oE 'cov: [0-9]+' "$log" | tail -n 1 | cut -d' ' -f2) places reached, nothing found"
  else
    grep -aE 'does not hold|ERROR|SUMMARY|Test unit' "$log" >&2
    echo "fuzz: $1: a property does not hold; the input is in $finds" >&2
    return 1
  fi
}

status=0
running=()
for target in "${targets[@]}"; do
  if [ ${#running[@]} -eq "$at_once" ]; then
    wait "${running[0]}" || status=1
    running=("${running[@]:1}")
  fi
  run_target "$target" &
  running+=($!)
done
for job in "${running[@]}"; do wait "$job" || status=1; done
exit $status
