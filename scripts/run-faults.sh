#!/usr/bin/env bash
# Runs the fault campaign's stages against the release programs: what hostile, broken or greedy clients, files and
# databases do to them. Each stage is a program of its own in tests/faults that leaves with 0 when all was well.
# usage: scripts/run-faults.sh [STAGE...]     (without a stage: all)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

export VELSQL_BIN=${VELSQL_BIN:-$PWD/build/release/bin}
export QT_QPA_PLATFORM=offscreen
shopt -s nullglob

if [ $# -gt 0 ]; then
    stages=("${@/#/tests/faults/stage_}")
    stages=("${stages[@]/%/.py}")
else
    stages=(tests/faults/stage_*.py)
fi

failed=0
for stage in "${stages[@]}"; do
    name=${stage##*/stage_}
    printf '\n== %s\n' "${name%.py}"
    timeout 600 python3 "$stage" || { echo "${name%.py} failed." >&2; failed=1; }
done
exit "$failed"
