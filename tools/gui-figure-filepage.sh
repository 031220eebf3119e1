#!/usr/bin/env bash
# The File page figure: under Wine (on Xvfb when there is no display), the
# time from a double-click on a folder of 1,000, 10,000 and 100,000 files of
# a mastered volume to its last row in the list, printed; a picture of the
# 100,000 rows kept in build/gui-artifacts-filepage. Not a pass mark: only a
# failure of the test itself (wrong row count, no page) fails this step.
#
# usage: tools/gui-figure-filepage.sh [MINGW_BUILD_DIR]
set -uo pipefail
cd "$(dirname "$0")/.."
MINGW=${1:-build/mingw}
if [ -z "${DISPLAY:-}" ]; then
  exec xvfb-run -a -s "-screen 0 1280x1024x24" "$0" "$MINGW"
fi
OUT=$(pwd)/build/gui-artifacts-filepage
rm -rf "$OUT"; mkdir -p "$OUT"
export WINEPREFIX
WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/vexlon-figure-wine.XXXXXX")
export WINEDEBUG=-all WINEDLLOVERRIDES="mshtml=;mscoree="
wineboot -i >/dev/null 2>&1 || true
wineserver -p
WINE=$(command -v wine || command -v wine64)
export VEXLON_FIGURE_PICTURES
VEXLON_FIGURE_PICTURES=$(winepath -w "$OUT")

(cd "$MINGW/tests" && "$WINE" ./win32_tests.exe --gtest_filter='FilePageBigFolderTest.Figure*') | tr -d '\r' |
  tee "$OUT/figure.txt" | grep -E '^\[ figure \]|^\[  (PASSED|FAILED)'
rc=${PIPESTATUS[0]}
for b in "$OUT"/*.bmp; do [ -f "$b" ] && convert "$b" "${b%.bmp}.png" && rm -f "$b"; done
wineserver -k 2>/dev/null || true
rm -rf "$WINEPREFIX"
echo "picture: $OUT"
grep -q '^\[  PASSED  \] 1 test' "$OUT/figure.txt" && [ "$rc" -eq 0 ]
