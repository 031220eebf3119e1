#!/usr/bin/env bash
# GUI end-to-end tests: starts the demo build under Wine (on Xvfb when there
# is no display) with the team's captured drives plus our own, drives it from
# outside with gui_driver.exe, compares the Drive page with vexlon-report, and
# keeps screenshots in build/gui-artifacts.
#
# usage: tools/gui-tests.sh [MINGW_BUILD_DIR] [NATIVE_BUILD_DIR]
set -uo pipefail
cd "$(dirname "$0")/.."
MINGW=${1:-build/mingw}
NATIVE=${2:-build/native}
if [ -z "${DISPLAY:-}" ]; then
  exec xvfb-run -a -s "-screen 0 1280x1024x24" "$0" "$MINGW" "$NATIVE"
fi
OUT=$(pwd)/build/gui-artifacts
rm -rf "$OUT"; mkdir -p "$OUT"
export WINEPREFIX
WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/vexlon-gui-wine.XXXXXX")
export WINEDEBUG=-all WINEDLLOVERRIDES="mshtml=;mscoree="
wineboot -i >/dev/null 2>&1 || true
wineserver -p
WINE=$(command -v wine || command -v wine64)
SHARED=$(cd ../shared && pwd)
TRANSCRIPT=$OUT/transcript.txt
: > "$TRANSCRIPT"
export VEXLON_DRIVES="$(winepath -w "$SHARED/drives");$(winepath -w "$(pwd)/tests/data/gui")"
export VEXLON_TRANSCRIPT
VEXLON_TRANSCRIPT=$(winepath -w "$TRANSCRIPT")

"$WINE" "$MINGW/src/vexlon-inspector-demo.exe" &
demo=$!
"$WINE" "$MINGW/tests/gui_driver.exe" "$(winepath -w "$OUT")" "$VEXLON_TRANSCRIPT" \
  "$(winepath -w "$(pwd)/tests/data/gui/expected-selector.txt")" | tee "$OUT/driver.txt"
timeout 30 tail --pid=$demo -f /dev/null 2>/dev/null || kill $demo 2>/dev/null

# The Drive page must show what vexlon-report prints for the same drive file,
# in selector order. A drive of unknown interface keeps the previous text.
pass=0; fail=0
files=(tests/data/gui/usb-no-letter.drive "$SHARED/drives/dvdram-writer-recorded-dvdrw.drive"
       "$SHARED/drives/dvd-writer-blank-dvdplusrw.drive" "$SHARED/drives/cd-writer-blank-cdr.drive"
       "$SHARED/drives/bd-writer-recorded-bdr.drive" tests/data/gui/path-id.drive)
previous_interface=""
for i in "${!files[@]}"; do
  expected=$("$NATIVE/src/vexlon-report" --drive "${files[$i]}" drive)
  interface=$(printf '%s\n' "$expected" | sed -n 's/^Interface: //p')
  if [ -z "$interface" ]; then
    expected=$(printf '%s\n' "$expected" | sed "s/^Interface: .*/Interface: $previous_interface/")
  else
    previous_interface=$interface
  fi
  if [ "$(tr -d '\r' < "$OUT/drive-$i.txt")" == "$expected" ]; then
    echo "ok - Drive page of ${files[$i]##*/} matches vexlon-report drive"; pass=$((pass + 1))
  else
    echo "not ok - Drive page of ${files[$i]##*/} differs from vexlon-report drive"
    diff <(tr -d '\r' < "$OUT/drive-$i.txt") <(printf '%s\n' "$expected"); fail=$((fail + 1))
  fi
done
# The Feature page's label states and the Media page's text must equal the
# report tool's for the same drive.
for i in "${!files[@]}"; do
  name=${files[$i]##*/}
  if diff <(tr -d '\r' < "$OUT/features-$i.txt" | sort) <("$NATIVE/src/vexlon-report" --drive "${files[$i]}" features | sort) >/dev/null; then
    echo "ok - Feature page of $name matches vexlon-report features"; pass=$((pass + 1))
  else
    echo "not ok - Feature page of $name differs from vexlon-report features"; fail=$((fail + 1))
    diff <(tr -d '\r' < "$OUT/features-$i.txt" | sort) <("$NATIVE/src/vexlon-report" --drive "${files[$i]}" features | sort) | head -10
  fi
  if cmp -s "$OUT/media-$i.txt" <("$NATIVE/src/vexlon-report" --drive "${files[$i]}" media); then
    echo "ok - Media page of $name matches vexlon-report media byte for byte"; pass=$((pass + 1))
  else
    echo "not ok - Media page of $name differs from vexlon-report media"; fail=$((fail + 1))
    diff <(cat -A "$OUT/media-$i.txt") <("$NATIVE/src/vexlon-report" --drive "${files[$i]}" media | cat -A) | head -10
  fi
done
if cmp -s "$OUT/sector-1.txt" <("$NATIVE/src/vexlon-report" --drive "${files[1]}" sector 320); then
  echo "ok - the Sector Viewer shows sector 320 as vexlon-report sector 320 prints it"; pass=$((pass + 1))
else
  echo "not ok - the Sector Viewer's sector 320 differs from vexlon-report sector 320"; fail=$((fail + 1))
  diff <(cat -A "$OUT/sector-1.txt" | head -5) <("$NATIVE/src/vexlon-report" --drive "${files[1]}" sector 320 | cat -A | head -5)
fi
grep -q '^Interface: Scsi' "$OUT/drive-5.txt" && { echo "ok - an unknown interface leaves the previous drive's text"; pass=$((pass + 1)); } \
  || { echo "not ok - an unknown interface leaves the previous drive's text"; fail=$((fail + 1)); }

# A computer without optical drives: the selector stays empty, nothing crashes.
mkdir -p "$OUT/no-drives"
EMPTY=$(mktemp -d)
: > "$OUT/no-drives/transcript.txt"; : > "$EMPTY/expected.txt"
VEXLON_DRIVES=$(winepath -w "$EMPTY") VEXLON_TRANSCRIPT=$(winepath -w "$OUT/no-drives/transcript.txt") \
  "$WINE" "$MINGW/src/vexlon-inspector-demo.exe" &
demo=$!
"$WINE" "$MINGW/tests/gui_driver.exe" "$(winepath -w "$OUT/no-drives")" \
  "$(winepath -w "$OUT/no-drives/transcript.txt")" "$(winepath -w "$EMPTY/expected.txt")" | tee "$OUT/no-drives/driver.txt"
timeout 30 tail --pid=$demo -f /dev/null 2>/dev/null || kill $demo 2>/dev/null
rm -rf "$EMPTY"

for b in "$OUT"/*.bmp "$OUT"/no-drives/*.bmp; do [ -f "$b" ] && convert "$b" "${b%.bmp}.png" && rm -f "$b"; done
wineserver -k 2>/dev/null || true
rm -rf "$WINEPREFIX"

dp=0; df=0
for log in "$OUT/driver.txt" "$OUT/no-drives/driver.txt"; do
  counts=$(tr -d '\r' < "$log" | sed -n 's/^\([0-9]*\) passed, \([0-9]*\) failed$/\1 \2/p')
  if [ -n "$counts" ]; then
    dp=$((dp + ${counts% *})); df=$((df + ${counts#* }))
  else
    df=$((df + 1)); echo "not ok - the GUI driver finished ($log)"
  fi
done
echo "screenshots: $OUT"
echo "$((pass + dp)) passed, $((fail + df)) failed"
[ $((fail + df)) -eq 0 ]
