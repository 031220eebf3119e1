#!/usr/bin/env bash
# GUI end-to-end tests of the Filter Driver and About pages: sets up the
# CD-ROM class's filter values and driver files in a fresh Wine prefix,
# registers a stand-in browser, starts the demo build (on Xvfb when there is
# no display), drives it from outside with pages_driver.exe, and keeps
# screenshots in build/gui-artifacts-pages.
#
# usage: tools/gui-tests-pages.sh [MINGW_BUILD_DIR]
set -uo pipefail
cd "$(dirname "$0")/.."
MINGW=${1:-build/mingw}
if [ -z "${DISPLAY:-}" ]; then
  exec xvfb-run -a -s "-screen 0 1280x1024x24" "$0" "$MINGW"
fi
OUT=$(pwd)/build/gui-artifacts-pages
rm -rf "$OUT"; mkdir -p "$OUT"
export WINEPREFIX
WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/vexlon-pages-wine.XXXXXX")
export WINEDEBUG=-all WINEDLLOVERRIDES="mshtml=;mscoree="
wineboot -i >/dev/null 2>&1 || true
wineserver -p
WINE=$(command -v wine || command -v wine64)
SHARED=$(cd ../shared && pwd)

# The class key as a user's machine may have it: the usual UpperFilters value
# (never read), the value the program reads for upper filters, and two lower
# filters of which the second has no driver file.
KEY='HKLM\SYSTEM\CurrentControlSet\Control\Class\{4D36E965-E325-11CE-BFC1-08002BE10318}'
"$WINE" reg add "$KEY" /v UpperFilters /t REG_MULTI_SZ /d 'vexlon_gui_never' /f >/dev/null
"$WINE" reg add "$KEY" /v UppderFilters /t REG_MULTI_SZ /d 'vexlon_gui_upper' /f >/dev/null
"$WINE" reg add "$KEY" /v LowerFilters /t REG_MULTI_SZ /d 'vexlon_gui_versioned\0vexlon_gui_missing' /f >/dev/null
DRIVERS="$WINEPREFIX/drive_c/windows/system32/drivers"
mkdir -p "$DRIVERS"
cp "$MINGW/tests/libtest_driver_versioned.dll" "$DRIVERS/vexlon_gui_versioned.sys"
cp "$MINGW/tests/libtest_driver_plain.dll" "$DRIVERS/vexlon_gui_upper.sys"
rm -f "$DRIVERS/vexlon_gui_missing.sys"

# A stand-in browser for web addresses and for ".htm" files: it records
# every address it is started with.
RECORDER=$(winepath -w "$MINGW/tests/link_recorder.exe")
"$WINE" reg add 'HKCR\https\shell\open\command' /ve /d "\"$RECORDER\" -shell \"%1\"" /f >/dev/null
"$WINE" reg add 'HKCR\.htm' /ve /d VexlonTest.LinkRecorder /f >/dev/null
"$WINE" reg add 'HKCR\VexlonTest.LinkRecorder\shell\open\command' /ve /d "\"$RECORDER\" -htm \"%1\"" /f >/dev/null
LOG=$OUT/links.txt
: > "$LOG"
export VEXLON_LINK_LOG
VEXLON_LINK_LOG=$(winepath -w "$LOG")
export VEXLON_DRIVES
VEXLON_DRIVES="$(winepath -w "$SHARED/drives")"
export VEXLON_TRANSCRIPT
VEXLON_TRANSCRIPT=$(winepath -w "$OUT/transcript.txt")

"$WINE" "$MINGW/src/vexlon-inspector-demo.exe" &
demo=$!
"$WINE" "$MINGW/tests/pages_driver.exe" "$(winepath -w "$OUT")" "$VEXLON_LINK_LOG" | tee "$OUT/driver.txt"
timeout 30 tail --pid=$demo -f /dev/null 2>/dev/null || kill $demo 2>/dev/null

for b in "$OUT"/*.bmp; do [ -f "$b" ] && convert "$b" "${b%.bmp}.png" && rm -f "$b"; done
wineserver -k 2>/dev/null || true
rm -rf "$WINEPREFIX"

counts=$(tr -d '\r' < "$OUT/driver.txt" | sed -n 's/^\([0-9]*\) passed, \([0-9]*\) failed$/\1 \2/p')
echo "screenshots: $OUT"
if [ -z "$counts" ]; then
  echo "not ok - the pages driver finished"; exit 1
fi
echo "${counts% *} passed, ${counts#* } failed"
[ "${counts#* }" -eq 0 ]
