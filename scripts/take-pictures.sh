#!/usr/bin/env bash
# Takes a picture of every window, each opened on the bundled server's demo plant as an operator would.
# usage: scripts/take-pictures.sh [--dark] [--scale FACTOR] [FOLDER]     (default folder: docs/images)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

export VELSQL_PICTURES=docs/images
while [ $# -gt 0 ]; do
    case $1 in
        --dark) export VELSQL_PALETTE=dark; shift ;;
        --scale) export QT_SCALE_FACTOR=${2:?"--scale takes a factor"}; shift 2 ;;
        -*) sed -n 's/^# //p' "$0" >&2; exit 2 ;;
        *) VELSQL_PICTURES=$1; shift ;;
    esac
done
mkdir -p "$VELSQL_PICTURES"

scripts/build.sh release all
QT_QPA_PLATFORM=offscreen build/release/bin/pictures

# A palette of 256 colours is enough for windows and keeps the documents small.
for picture in "$VELSQL_PICTURES"/*.png; do
    convert "$picture" -colors 256 -strip "PNG8:$picture"
done
