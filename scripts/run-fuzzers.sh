#!/usr/bin/env bash
# Lets the fuzz targets of build/fuzz make inputs of their own from their corpora, as many at once as there are cores:
# for so many minutes in all, or so many runs each. How often each has run is what its log says; build/fuzz/found/counts
# keeps it by commit. What is found stays in build/fuzz/found, beside the logs, and makes this fail; so does a target
# that does not run.
# usage: scripts/run-fuzzers.sh --minutes MINUTES | --runs RUNS [TARGET...]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

case ${1-} in --minutes | --runs) ;; *) sed -n 's/^# usage/usage/p' "$0" >&2; exit 2 ;; esac
how=$1 amount=${2:?"how many?"}
shift 2
export found=build/fuzz/found
targets=("$@")
[ $# -gt 0 ] || for program in build/fuzz/bin/fuzz_*; do targets+=("${program##*/fuzz_}"); done
for target in "${targets[@]}"; do
    [ -x "build/fuzz/bin/fuzz_$target" ] || { echo "There is no fuzz target \"$target\"." >&2; exit 2; }
done
mkdir -p "$found"

cores=$(nproc)
turns=$(((${#targets[@]} + cores - 1) / cores))
case $how in
    --minutes) limit=-max_total_time=$((amount * 60 / turns > 0 ? amount * 60 / turns : 1)) ;;
    --runs) limit=-runs=$amount ;;
esac
commit=$(git rev-parse --short=12 HEAD 2>/dev/null || echo unknown)
git diff --quiet HEAD 2>/dev/null || commit+=-changed
export limit commit call=$(date +%Y%m%d-%H%M%S)-$$
export UBSAN_OPTIONS=print_stacktrace=1 QT_QPA_PLATFORM=offscreen
# Where memory came from is noted only in part, and what was given back is watched only for about one run: that is a
# quarter of the time. An input that was found tells more when it runs by itself, without these.
export ASAN_OPTIONS=malloc_context_size=1:quarantine_size_mb=8

# One target: a line in counts with the call, the commit, the target, its runs, runs a second and exit code.
fuzz()
{
    local name=$1 log=$found/$1-$call.log code=0 words=()
    mkdir -p "$found/$name"
    [ ! -e "tests/fuzz/$name.dict" ] || words=(-dict="tests/fuzz/$name.dict")
    # The first folder takes the new inputs that are worth keeping. Which parts of the program count as rare: with
    # libFuzzer's own 255, half of the time of the first ten thousand runs goes into looking for them in a list.
    "build/fuzz/bin/fuzz_$name" "$limit" -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 "${words[@]}" \
        -entropic_feature_frequency_threshold=8 \
        -artifact_prefix="$found/$name-" "$found/$name" "tests/fuzz/corpus/$name" >"$log" 2>&1 || code=$?
    [ "$code" = 0 ] || tail -40 "$log" >&2
    stat() { sed -n "s/^stat::$1: *//p" "$log" | tail -1; }
    echo "$call $commit $name $(stat number_of_executed_units) $(stat average_exec_per_sec) $code" >>"$found/counts"
}
export -f fuzz
printf '%s\n' "${targets[@]}" | xargs -P "$cores" -I{} bash -c 'fuzz {}'

awk -v call="$call" -v commit="$commit" '
    NF == 6 && $2 == commit { all[$3] += $4; sum += $4 }
    $1 == call {
        runs[$3] = NF == 6 ? $4 : 0
        speed[$3] = NF == 6 ? $5 : 0
        trouble[$3] = $NF != 0 ? "  FOUND SOMETHING" : runs[$3] == 0 ? "  HAS NOT RUN" : ""
        now += runs[$3]
    }
    END {
        printf "%-18s %12s %10s %14s\n", "target", "runs", "a second", "of this commit"
        fflush()
        for (name in runs) {
            printf "%-18s %12d %10d %14d%s\n", name, runs[name], speed[name], all[name], trouble[name] | "sort"
            failed += trouble[name] != ""
        }
        close("sort")
        printf "%-18s %12d %10s %14d\n", "all of " commit, now, "", sum
        exit failed > 0 || now == 0
    }' "$found/counts"
