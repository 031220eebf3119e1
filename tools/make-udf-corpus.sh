#!/usr/bin/env bash
# Rebuilds fuzz/corpus/fuzz_udf: folded volumes from the mastering tool and
# from the disc images of other writers (SHARED_DISCS, default
# ../shared/discs), minimised by libFuzzer's merge, then checked to mount
# with files. The seeds' names are their contents' SHA-1, as merge leaves them.
#
#   tools/make-udf-corpus.sh
set -euo pipefail
cd "$(dirname "$0")/.."

BUILD_DIR=${BUILD_DIR:-build/fuzz}
JOBS=${JOBS:-2}
SHARED_DISCS=${SHARED_DISCS:-../shared/discs}
corpus=fuzz/corpus/fuzz_udf

CC=clang CXX=clang++ cmake -S . -B "$BUILD_DIR" -DVEXLON_FUZZ=ON -DVEXLON_TESTS=OFF \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$BUILD_DIR" -j"$JOBS" --target fuzz_udf make_udf_corpus >/dev/null

work=$(mktemp -d "${TMPDIR:-/tmp}/vexlon-udf-seeds.XXXXXX")
trap 'rm -rf "$work"' EXIT
images=()
for image in "$SHARED_DISCS"/*.img "$SHARED_DISCS"/*.iso; do
  [ -f "$image" ] && images+=("$image")
done
echo "=== folding $((${#images[@]})) shared images and the mastering tool's volumes"
"$BUILD_DIR/fuzz/make_udf_corpus" "$work/seeds" ${images[@]+"${images[@]}"}

echo "=== minimising"
mkdir -p "$work/merged"
"$BUILD_DIR/fuzz/fuzz_udf" -merge=1 "$work/merged" "$work/seeds" 2>&1 | grep -E '^MERGE-OUTER: [0-9]+ new files' || true
rm -rf "$corpus"
mkdir -p "$corpus"
cp "$work/merged/"* "$corpus/"

echo "=== checking $corpus"
"$BUILD_DIR/fuzz/make_udf_corpus" --check "$corpus"
