#!/usr/bin/env bash
# Runs the report tool on every input of the hostile corpus and holds each
# run to its bounds: at most 2 s and 64 MiB, an exit status (no crash), no
# more bytes written than the disc image holds, and no run of fresh-heap
# filler (BEh, what AddressSanitizer fills new memory with) in any output.
#
#   tools/hostile-check.sh BUILD_DIR     (a native build: RelWithDebInfo or ASan)
#
# The ASan build is slower and keeps shadow memory, so it is held only to
# the other bounds (HOSTILE_NO_TIME=1 KB_LIMIT_SKIP=1).
set -uo pipefail
cd "$(dirname "$0")/.."
BUILD=${1:-build/native}
REPORT="$BUILD/src/vexlon-report"
CORPUS_TOOL="$BUILD/tests/hostile_corpus"
[ -x "$REPORT" ] || REPORT=$(find "$BUILD" -name vexlon-report -type f -perm -u+x | head -1)
[ -x "$CORPUS_TOOL" ] || { echo "no hostile_corpus in $BUILD" >&2; exit 1; }
SECONDS_LIMIT=${HOSTILE_SECONDS:-2}
KB_LIMIT=$((64 * 1024))
TIMEOUT=30

work=$(mktemp -d "${TMPDIR:-/tmp}/vexlon-hostile.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/corpus" "$work/out"
"$CORPUS_TOOL" "$work/corpus" || exit 1
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:max_malloc_fill_size=1073741824:malloc_fill_byte=190}

passed=0
failed=0
fail() { echo "FAIL $1: $2"; failed=$((failed + 1)); }

heap_fill() { # file: true when it holds 64 bytes of BEh in a row
  [ -s "$1" ] && LC_ALL=C grep -q -a -P '\xBE{64}' "$1"
}

for drive in "$work"/corpus/*.drive; do
  name=$(basename "$drive" .drive)
  image="$work/corpus/$name.img"
  holds=0
  [ -f "$image" ] && holds=$(stat -c %s "$image")
  extract=""
  [ -f "$work/corpus/$name.extract" ] && extract=$(cat "$work/corpus/$name.extract")
  for command in files media capabilities dump extract; do
    out="$work/out/$name.$command"
    rm -f "$out" "$out.bin"
    case $command in
      dump) args=(dump "$out.bin") ;;
      extract) [ -n "$extract" ] || continue; args=(extract "$extract" "$out.bin") ;;
      *) args=("$command") ;;
    esac
    /usr/bin/time -f "%e %M" -o "$out.time" timeout "$TIMEOUT" "$REPORT" --drive "$drive" "${args[@]}" \
      >"$out" 2>"$out.err"
    status=$?
    read -r seconds kb < <(tail -n 1 "$out.time" 2>/dev/null) || { seconds=99; kb=0; }
    what="$name $command"
    if [ "$status" -gt 2 ]; then fail "$what" "exit status $status: $(tail -c 300 "$out.err")"; continue; fi
    if [ -n "${HOSTILE_NO_TIME:-}" ]; then :
    elif awk -v s="$seconds" -v l="$SECONDS_LIMIT" 'BEGIN { exit !(s > l) }'; then fail "$what" "took ${seconds}s"; continue; fi
    if [ -z "${KB_LIMIT_SKIP:-}" ] && [ "$kb" -gt "$KB_LIMIT" ]; then fail "$what" "used ${kb} KiB"; continue; fi
    written=0
    [ -f "$out.bin" ] && written=$(stat -c %s "$out.bin")
    if [ "$holds" -gt 0 ] && [ "$written" -gt "$holds" ]; then fail "$what" "wrote $written bytes, the disc holds $holds"; continue; fi
    if heap_fill "$out" || { [ -f "$out.bin" ] && heap_fill "$out.bin"; }; then fail "$what" "heap filler in the output"; continue; fi
    passed=$((passed + 1))
    printf '%-45s %-12s exit %d  %5ss  %6d KiB  %10d bytes written\n' "$name" "$command" "$status" "$seconds" "$kb" "$written"
  done
done
echo "hostile corpus: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
