#!/usr/bin/env bash
# The snapshot page as a person sees it: a snapshot.xml written by our XML
# writer (the sample snapshot of the core tests), turned into HTML by
# tools/xsl-check.sh (res/snapshot.xsl with only its namespace switched to
# XSLT 1.0), then opened in headless Chromium, where captions are clicked and
# the tables must appear. Screenshots and the files go to build/xsl-artifacts.
#   tools/xsl-browser-check.sh [BUILD_DIR]      (a native build; default build/native)
# Installs nothing. Needs: xsltproc and xmllint, node, Debian's chromium (or
# $CHROMIUM), and `npm ci --prefix tools/xsl-browser` done once.
set -uo pipefail
cd "$(dirname "$0")/.."
ARTIFACTS=build/xsl-artifacts
CHROMIUM=${CHROMIUM:-/usr/bin/chromium}
export CHROMIUM

fail() {
  echo "FAIL $*"
  echo "0 passed, 1 failed"
  exit 1
}

build=${1:-build/native}

for tool in xsltproc xmllint node; do
  command -v "$tool" >/dev/null || fail "$tool is not installed"
done
[ -x "$CHROMIUM" ] || fail "no Chromium at $CHROMIUM (apt-get install chromium)"
[ -d tools/xsl-browser/node_modules/playwright-core ] ||
  fail "playwright-core is missing: run npm ci --prefix tools/xsl-browser"

rm -rf "$ARTIFACTS"
mkdir -p "$ARTIFACTS"
tests="$build/tests/core_tests"
if [ ! -x "$tests" ]; then
  echo "building core_tests in $build"
  { [ -f "$build/CMakeCache.txt" ] || cmake -S . -B "$build" >/dev/null; } &&
    cmake --build "$build" --target core_tests -j"${JOBS:-2}" >/dev/null || fail "could not build core_tests in $build"
fi
# The rendering test saves the sample snapshot with XmlSave into gtest's
# temporary directory, which TEST_TMPDIR points here.
work=$(mktemp -d "${TMPDIR:-/tmp}/xsl-browser.XXXXXX")
trap 'rm -rf "$work"' EXIT
TEST_TMPDIR="$work/" "$tests" --gtest_filter='RenderedSnapshot.XmlLintAcceptsTheSnapshot' >"$ARTIFACTS/core_tests.log" 2>&1 ||
  fail "core_tests could not write the snapshot (see $ARTIFACTS/core_tests.log)"
[ -s "$work/snapshot-render.xml" ] || fail "core_tests wrote no snapshot-render.xml"
cp "$work/snapshot-render.xml" "$ARTIFACTS/snapshot.xml"

tools/xsl-check.sh "$ARTIFACTS/snapshot.xml" "$ARTIFACTS/snapshot.html" || fail "xsltproc could not render the snapshot"
node tools/xsl-browser-check.mjs "$ARTIFACTS/snapshot.html" "$ARTIFACTS"
