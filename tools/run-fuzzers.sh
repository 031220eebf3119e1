#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each one for a while on a
# scratch copy of its seed corpus, so the corpus in the tree stays as it is.
#
#   tools/run-fuzzers.sh [seconds-per-target]      (default 20)
#
# BUILD_DIR picks the build folder (default build/fuzz). Exits non-zero when
# a target crashes, leaks, times out or trips a sanitizer; the input that did
# it is kept in $BUILD_DIR/artifacts/.
set -euo pipefail
cd "$(dirname "$0")/.."

SECONDS_PER_TARGET=${1:-20}
case $SECONDS_PER_TARGET in
  ''|*[!0-9]*) echo "usage: $0 [seconds-per-target]" >&2; exit 2 ;;
esac
BUILD_DIR=${BUILD_DIR:-build/fuzz}
JOBS=${JOBS:-$(nproc)}
# One target per fuzz/fuzz_<name>.cpp, as fuzz/CMakeLists.txt builds them.
TARGETS=()
for source in fuzz/fuzz_*.cpp; do
  [ -f "$source" ] || continue
  name=${source##*/}
  TARGETS+=("${name%.cpp}")
done
if [ ${#TARGETS[@]} -eq 0 ]; then echo "no fuzz targets in fuzz/" >&2; exit 1; fi

CC=clang CXX=clang++ cmake -S . -B "$BUILD_DIR" -DVEXLON_FUZZ=ON -DVEXLON_TESTS=OFF \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$BUILD_DIR" -j"$JOBS" --target "${TARGETS[@]}"

work=$(mktemp -d "${TMPDIR:-/tmp}/vexlon-fuzz.XXXXXX")
trap 'rm -rf "$work"' EXIT
artifacts="$BUILD_DIR/artifacts"
mkdir -p "$artifacts"

# UBSan only reports by default; a finding must end the run like a crash.
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}

failed=()
for target in "${TARGETS[@]}"; do
  corpus="$work/$target"
  mkdir -p "$corpus"
  if [ -d "fuzz/corpus/$target" ]; then cp -R "fuzz/corpus/$target/." "$corpus/"; fi
  args=(-max_total_time="$SECONDS_PER_TARGET" -timeout=10 -rss_limit_mb=2048
        -print_final_stats=1 -artifact_prefix="$artifacts/$target-")
  if [ -f "fuzz/$target.dict" ]; then args+=(-dict="fuzz/$target.dict"); fi
  echo "=== $target: ${SECONDS_PER_TARGET}s from $(find "$corpus" -type f | wc -l) seeds"
  if "$BUILD_DIR/fuzz/$target" "${args[@]}" "$corpus" 2>&1 | tee "$work/$target.log"; then
    # The last status line holds the edges reached and the runs per second.
    done_line=$(grep -E '^#[0-9]+[[:space:]]+DONE' "$work/$target.log" | tail -1 || true)
    echo "=== $target: no crash ($(find "$corpus" -type f | wc -l) inputs in the corpus) ${done_line#*DONE}"
  else
    echo "=== $target: FAILED, see $artifacts/"
    failed+=("$target")
  fi
done

if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzzers that failed: ${failed[*]}" >&2
  exit 1
fi
echo "all fuzzers ran ${SECONDS_PER_TARGET}s without a crash"
