#!/usr/bin/env bash
# Checks the resource script: it must compile with windres, and the pictures
# in res/art/ must be exactly what tools/make-art.py draws today.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
windres=${WINDRES:-x86_64-w64-mingw32-windres}
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

"$windres" -I "$root/res" "$root/res/vexlon.rc" -O coff -o "$tmp/vexlon-res.o"
echo "resources compile"

if command -v python3 >/dev/null; then
  python3 "$root/tools/make-art.py" --out "$tmp/art" >/dev/null
  stale=0
  for f in "$tmp"/art/*; do
    if ! cmp -s "$f" "$root/res/art/$(basename "$f")"; then
      echo "res/art/$(basename "$f") is out of date: run tools/make-art.py" >&2
      stale=1
    fi
  done
  [ "$stale" -eq 0 ] && echo "art is up to date"
  exit "$stale"
fi
