#!/usr/bin/env bash
# Installs what is missing, builds, and opens the console on the bundled server.
set -euo pipefail

usage()
{
    cat <<'TEXT'
usage: ./run.sh [--build-only | --screenshot FILE]

Opens the console. Where there is no display it opens on a virtual one, and a screenshot is written to
build/velsqltester.png; Ctrl+C then ends it.

  --build-only        install and build, start nothing
  --screenshot FILE   open the console on a virtual display, write a picture of it, and close it
  --help              this text
TEXT
}

refuse()
{
    usage >&2
    exit 2
}

mode=open
case ${1-} in
    '') [ $# -eq 0 ] || refuse ;;
    --build-only) [ $# -eq 1 ] || refuse; mode=build ;;
    --screenshot) [ $# -eq 2 ] && [ -n "$2" ] || refuse; mode=screenshot; picture=$(realpath -m -- "$2") ;;
    --help) usage; exit ;;
    *) refuse ;;
esac

cd "$(dirname "${BASH_SOURCE[0]}")"
scripts/build.sh release programs
console=$PWD/build/release/bin/velsqltester

case $mode in
    build) exit ;;
    screenshot) exec scripts/on-virtual-display.sh --close "$picture" "$console" ;;
esac
if [ -n "${DISPLAY-}${WAYLAND_DISPLAY-}" ]; then
    exec "$console"
fi
exec scripts/on-virtual-display.sh "$PWD/build/velsqltester.png" "$console"
