#!/usr/bin/env bash
# Builds the demo (the full program with its built-in emulated drives) and
# starts it under Wine. Without a display it runs on Xvfb for DEMO_SECONDS
# (default 20), saves a screenshot to build/demo-screenshot.png and closes.
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -S . -B build/mingw -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build build/mingw -j"$(nproc)" --target vexlon-inspector-demo
export WINEPREFIX=${WINEPREFIX:-$HOME/.wine-vexlon}
export WINEDEBUG=-all WINEDLLOVERRIDES="mshtml=;mscoree="
WINE=$(command -v wine || command -v wine64)
DEMO=build/mingw/src/vexlon-inspector-demo.exe
if [ -n "${DISPLAY:-}" ]; then
  exec "$WINE" "$DEMO"
fi
export WINE DEMO DEMO_SECONDS=${DEMO_SECONDS:-20}
xvfb-run -a -s "-screen 0 1280x1024x24" bash -c '
  wineboot -i >/dev/null 2>&1 || true
  "$WINE" "$DEMO" & demo=$!
  sleep "$DEMO_SECONDS"
  import -window root build/demo-screenshot.png && echo "screenshot: build/demo-screenshot.png"
  wineserver -k 2>/dev/null || true
  wait $demo 2>/dev/null || true'
