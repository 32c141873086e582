#!/usr/bin/env bash
# Installs what is missing, builds, and runs all tests.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

usage()
{
    cat <<'TEXT'
usage: ./test.sh [--asan] [CTEST-ARGUMENT...]

  --asan   build and test with the address and undefined-behaviour sanitizers (build/asan)
  --help   this text

Everything else goes to ctest: ./test.sh -R Variant runs the tests whose name holds "Variant".
TEXT
}

preset=release
case ${1-} in
    --help) usage; exit ;;
    --asan) preset=asan; shift ;;
esac

scripts/build.sh "$preset" all
exec ctest --preset "$preset" "$@"
