#!/usr/bin/env bash
# A long run of one libFuzzer target on one core, for finding what the short
# CI run (tools/run-fuzzers.sh) cannot. The corpus grows across campaigns in
# $BUILD_DIR/campaign/<target> (started from the seeds in fuzz/corpus, which
# stay as they are); findings go to $BUILD_DIR/campaign/artifacts.
#
#   tools/fuzz-campaign.sh MINUTES [target]     (target: fuzz_udf)
#
# With PLAIN=1 the run uses <target>_plain (fuzz_udf_plain: the same target
# over a core built without AddressSanitizer and UndefinedBehaviorSanitizer,
# several times faster), then replays the whole corpus through the sanitizer
# build, so memory errors in what it kept are still reported; an input it
# ran but did not keep is not replayed.
#
# Prints runs, runs per second (wall clock and per CPU second: the machine
# may be shared), edges and features, corpus size and findings. With
# COVERAGE=1 it also builds the target with clang's source coverage in
# $BUILD_DIR-cov, replays the campaign corpus and prints the line and region
# coverage of every file under src/udf (or COVERAGE_DIR). Exits non-zero
# when the run found a crash, leak, timeout or sanitizer report.
set -euo pipefail
cd "$(dirname "$0")/.."

MINUTES=${1:-}
TARGET=${2:-fuzz_udf}
case $MINUTES in
  ''|*[!0-9]*) echo "usage: $0 MINUTES [target]" >&2; exit 2 ;;
esac
[ -f "fuzz/$TARGET.cpp" ] || { echo "no fuzz/$TARGET.cpp" >&2; exit 2; }
BUILD_DIR=${BUILD_DIR:-build/fuzz}
JOBS=${JOBS:-2}
COVERAGE_DIR=${COVERAGE_DIR:-src/udf}

CC=clang CXX=clang++ cmake -S . -B "$BUILD_DIR" -DVEXLON_FUZZ=ON -DVEXLON_TESTS=OFF \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
runner=$TARGET
if [ "${PLAIN:-0}" = 1 ]; then runner=${TARGET}_plain; fi
cmake --build "$BUILD_DIR" -j"$JOBS" --target "$TARGET" "$runner" >/dev/null

campaign="$BUILD_DIR/campaign"
corpus="$campaign/$TARGET"
artifacts="$campaign/artifacts"
mkdir -p "$corpus" "$artifacts"
if [ -d "fuzz/corpus/$TARGET" ]; then cp -R -n "fuzz/corpus/$TARGET/." "$corpus/"; fi
log="$campaign/$TARGET-$(date -u +%Y%m%dT%H%M%SZ).log"
before=$(find "$artifacts" -type f -name "$TARGET-*" | wc -l)

export UBSAN_OPTIONS=${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1}
args=(-max_total_time=$((MINUTES * 60)) -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
      -artifact_prefix="$artifacts/$TARGET-")
if [ -f "fuzz/$TARGET.dict" ]; then args+=(-dict="fuzz/$TARGET.dict"); fi
echo "=== $runner: $MINUTES minutes on one core, log in $log"
status=0
/usr/bin/time -f "%U %S" -o "$campaign/cpu" "$BUILD_DIR/fuzz/$runner" "${args[@]}" "$corpus" >"$log" 2>&1 || status=$?

runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
per_second=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
cov_line=$(grep -E '^#[0-9]+.*cov: ' "$log" | tail -1 || true)
edges=$(sed -n 's/.* cov: \([0-9]*\).*/\1/p' <<<"$cov_line")
features=$(sed -n 's/.* ft: \([0-9]*\).*/\1/p' <<<"$cov_line")
read -r user sys <"$campaign/cpu" || true
cpu=$(awk -v u="${user:-0}" -v s="${sys:-0}" 'BEGIN { printf "%.1f", u + s }')
per_cpu=$(awk -v r="${runs:-0}" -v c="$cpu" 'BEGIN { if (c > 0) printf "%.0f", r / c; else print 0 }')
found=$(($(find "$artifacts" -type f -name "$TARGET-*" | wc -l) - before))
echo "runs:        ${runs:-?} in ${MINUTES} min (${per_second:-?}/s wall clock, ${per_cpu}/s per CPU second, ${cpu} CPU s)"
echo "edges:       ${edges:-?} (features ${features:-?})"
echo "corpus:      $(find "$corpus" -type f | wc -l) inputs, $(du -sh "$corpus" | cut -f1)"
echo "findings:    $found new in $artifacts"
[ "$status" -eq 0 ] || echo "the fuzzer stopped with status $status: see $log"

if [ "$runner" != "$TARGET" ]; then
  echo "=== replaying $(find "$corpus" -type f | wc -l) inputs through the sanitizer build"
  if "$BUILD_DIR/fuzz/$TARGET" -runs=0 -timeout=10 -rss_limit_mb=2048 -artifact_prefix="$artifacts/$TARGET-" \
       "$corpus" >"$log.replay" 2>&1; then
    echo "replay:      no sanitizer report"
  else
    echo "replay:      FAILED, see $log.replay"
    status=1
  fi
fi

if [ "${COVERAGE:-0}" = 1 ]; then
  cov_build="$BUILD_DIR-cov"
  CC=clang CXX=clang++ cmake -S . -B "$cov_build" -DVEXLON_FUZZ=ON -DVEXLON_TESTS=OFF \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS="-fprofile-instr-generate -fcoverage-mapping" \
    -DCMAKE_EXE_LINKER_FLAGS="-fprofile-instr-generate" >/dev/null
  cmake --build "$cov_build" -j"$JOBS" --target "$TARGET" >/dev/null
  rm -f "$campaign"/cov-*.profraw
  LLVM_PROFILE_FILE="$campaign/cov-%p.profraw" "$cov_build/fuzz/$TARGET" -runs=0 "$corpus" >/dev/null 2>&1 || true
  llvm-profdata merge -sparse "$campaign"/cov-*.profraw -o "$campaign/$TARGET.profdata"
  echo "=== source coverage of $COVERAGE_DIR over the campaign corpus"
  llvm-cov report "$cov_build/fuzz/$TARGET" -instr-profile="$campaign/$TARGET.profdata" \
    $(find "$COVERAGE_DIR" -name '*.cpp' | sort)
fi
exit "$status"
