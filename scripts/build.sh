#!/usr/bin/env bash
# Installs what is missing, configures and builds one preset of CMakePresets.json into build/<preset>.
# usage: scripts/build.sh dev|release|asan|fuzz programs|all|simulation|fuzz
# "programs" are those that are installed; "all" brings tests and figures, too; "simulation" is the program of tests/simulation, "fuzz" are the targets of tests/fuzz.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

preset=${1:?"usage: scripts/build.sh dev|release|asan|fuzz programs|all|simulation|fuzz"}
case ${2-} in
    programs) packages=(packaging/packages.txt) testing=OFF ;;
    all | simulation) packages=(packaging/packages.txt packaging/test-packages.txt) testing=ON ;;
    fuzz) packages=(packaging/packages.txt packaging/test-packages.txt packaging/fuzz-packages.txt) testing=ON ;;
    *) sed -n 's/^# usage/usage/p' "$0" >&2; exit 2 ;;
esac

scripts/install-packages.sh "${packages[@]}"
cmake --preset "$preset" -DBUILD_TESTING="$testing"
cmake --build --preset "$preset" --target "$2"
