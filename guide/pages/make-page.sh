#!/bin/bash
# Makes an HTML page of a user's document (Markdown) or of an example, which is shown as it is.
# usage: make-page.sh CMARK-GFM DOCS PAGE OUTPUT    PAGE is the document's way below DOCS, such as guide/watch.md
set -euo pipefail

cmark=$1 docs=$2 page=$3 output=$4

document()
{
    case $page in
        *.md) cat "$docs/$page" ;;
        *) printf '# %s\n\n```\n' "${page##*/}" && cat "$docs/$page" && printf '```\n' ;;
    esac
}

case $page in
    */*) up=../ ;;
    *) up= ;;
esac
document | "$cmark" --extension table | awk -v up="$up" -f "${0%/*}/page.awk" > "$output"
