#!/usr/bin/env bash
# Installs what building and testing need on a Debian 12 machine.
set -euo pipefail
SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
PACKAGES=(
  cmake make g++ python3
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  clang libclang-rt-14-dev
  g++-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
  wine wine64 xvfb xauth x11-utils xdotool imagemagick
  p7zip-full udftools libudfread-dev xsltproc libxml2-utils chromium
  libcli11-dev nlohmann-json3-dev python3-jsonschema time
)
missing=()
for p in "${PACKAGES[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -q
  $SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
# The stylesheet's browser check drives Chromium with playwright-core.
if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
  $SUDO apt-get install -y -q --no-install-recommends nodejs npm
fi
if [ ! -d "$(dirname "$0")/xsl-browser/node_modules/playwright-core" ]; then
  npm ci --prefix "$(dirname "$0")/xsl-browser" --no-audit --no-fund
fi
