#!/usr/bin/env bash
# Builds every configuration and runs every test: native, native under
# AddressSanitizer and UndefinedBehaviorSanitizer, Windows under Wine, the
# fuzzers for a short while, and the benchmarks once as a smoke run.
set -uo pipefail
cd "$(dirname "$0")/.."
# Windows tests that make windows, and the GUI tests, need a screen.
if [ -z "${DISPLAY:-}" ] && command -v xvfb-run >/dev/null; then
  exec xvfb-run -a -s "-screen 0 1280x1024x24" bash "$0" "$@"
fi
JOBS=${JOBS:-$(nproc)}
FUZZ_SECONDS=${FUZZ_SECONDS:-15}
failed=0
passed=0
summary=()

step() {
  local name=$1; shift
  echo "=== $name"
  if "$@"; then
    passed=$((passed + 1)); summary+=("PASS $name")
  else
    failed=$((failed + 1)); summary+=("FAIL $name")
  fi
}

native() {
  cmake -S . -B build/native -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null &&
  cmake --build build/native -j"$JOBS" &&
  ctest --test-dir build/native --output-on-failure
}

sanitized() {
  cmake -S . -B build/asan -DCMAKE_BUILD_TYPE=Debug -DVEXLON_SANITIZE=ON >/dev/null &&
  cmake --build build/asan -j"$JOBS" &&
  ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir build/asan --output-on-failure
}

hostile() {
  # The report tool on every hostile disc and drive file: the release build
  # held to 2 s and 64 MiB a run, the sanitized build to its checks.
  local rc=0
  tools/hostile-check.sh build/native || rc=1
  HOSTILE_NO_TIME=1 KB_LIMIT_SKIP=1 tools/hostile-check.sh build/asan || rc=1
  return $rc
}

windows() {
  cmake -S . -B build/mingw -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake -DCMAKE_BUILD_TYPE=Release >/dev/null &&
  cmake --build build/mingw -j"$JOBS" || return 1
  export WINEPREFIX
  WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/vexlon-ci-wine.XXXXXX")
  export WINEDEBUG=-all WINEDLLOVERRIDES="mshtml=;mscoree="
  wineboot -i >/dev/null 2>&1 || true
  # One wineserver for the whole run: each test binary starts quickly.
  wineserver -p
  local rc=0
  ctest --test-dir build/mingw --output-on-failure || rc=1
  wineserver -k 2>/dev/null || true
  rm -rf "$WINEPREFIX"
  return $rc
}

gui() {
  # The demo build under Wine on Xvfb, driven from outside; screenshots in build/gui-artifacts.
  local rc=0
  tools/gui-tests.sh build/mingw build/native || rc=1
  tools/gui-tests-pages.sh build/mingw || rc=1
  tools/gui-figure-filepage.sh build/mingw || rc=1
  return $rc
}

stylesheet() {
  # snapshot.xsl rendered from a snapshot our writer saved, then clicked in headless Chromium.
  tools/xsl-browser-check.sh build/native
}

snapshot() {
  # A full snapshot of the Wine system: timed per collector, checked with xmllint, rendered and
  # clicked in headless Chromium; timings and screenshots in build/snapshot-artifacts.
  tools/snapshot-wine-check.sh build/mingw
}

fuzz() {
  [ -x tools/run-fuzzers.sh ] || { echo "no fuzzers"; return 0; }
  tools/run-fuzzers.sh "$FUZZ_SECONDS"
}

benchmarks() {
  cmake -S . -B build/bench -DCMAKE_BUILD_TYPE=Release -DVEXLON_BENCH=ON -DVEXLON_TESTS=OFF >/dev/null &&
  cmake --build build/bench -j"$JOBS" || return 1
  local b
  for b in build/bench/bench/*; do
    [ -x "$b" ] && [ -f "$b" ] || continue
    # The 100,000-file mounts of bench_reads make 400 MB images each: run
    # them by hand (README, Performance).
    local filter=()
    [ "${b##*/}" = bench_reads ] && filter=(--benchmark_filter=-.*/100000)
    "$b" --benchmark_min_time=0.01 "${filter[@]}" || return 1
  done
  return 0
}

step native native
step sanitized sanitized
step hostile hostile
step windows windows
step gui gui
step stylesheet stylesheet
step snapshot snapshot
step fuzz fuzz
step benchmarks benchmarks

echo "=== summary"
printf '%s\n' "${summary[@]}"
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
