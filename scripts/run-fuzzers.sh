#!/usr/bin/env bash
# Lets each fuzz target of build/fuzz make inputs of its own from its corpus, so many times, and prints how many runs its
# log counts. What it finds stays in build/fuzz/found, with the log.
# usage: scripts/run-fuzzers.sh RUNS
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

runs=${1:?"usage: scripts/run-fuzzers.sh RUNS"}
found=build/fuzz/found
export UBSAN_OPTIONS=print_stacktrace=1
failed=0
for program in build/fuzz/bin/fuzz_*; do
    name=${program##*/fuzz_}
    mkdir -p "$found/$name"
    # The first folder takes the new inputs that are worth keeping.
    "$program" -runs="$runs" -max_len=4096 -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
        -artifact_prefix="$found/$name-" "$found/$name" "tests/fuzz/corpus/$name" >"$found/$name.log" 2>&1 ||
        { tail -40 "$found/$name.log" >&2; failed=1; }
    printf '%-16s %s runs\n' "$name" "$(sed -n 's/^stat::number_of_executed_units: *//p' "$found/$name.log")"
done
exit "$failed"
