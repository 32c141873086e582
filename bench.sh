#!/usr/bin/env bash
# Builds and prints the figures of every benchmark. Each is a ratio to a floor measured in the same run; leave the
# machine alone meanwhile.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

scripts/build.sh release all

export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}
shopt -s nullglob
benches=(build/release/bin/bench_*)
[ "${#benches[@]}" -gt 0 ] || { echo "There are no benchmarks in build/release/bin."; exit; }

failed=0
for bench in "${benches[@]}"; do
    printf '\n== %s\n' "${bench##*/bench_}"
    "$bench" || { echo "${bench##*/} failed." >&2; failed=1; }
done
exit "$failed"
