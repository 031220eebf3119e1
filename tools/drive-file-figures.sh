#!/usr/bin/env bash
# Figures for the hostile drive files: load time, heap held and peak, and the
# cost of one command of each kind, for the sources in SRC as built in BUILD
# (default: this tree and build/native). To compare with an older tree:
#   git worktree add /tmp/older <commit>
#   cmake -S /tmp/older -B /tmp/older/build/native -DCMAKE_BUILD_TYPE=RelWithDebInfo
#   tools/drive-file-figures.sh /tmp/older /tmp/older/build/native
set -euo pipefail
cd "$(dirname "$0")/.."
SRC=$(cd "${1:-.}" && pwd)
BUILD=$(cd "${2:-$SRC/build/native}" && pwd)
OUT=$(mktemp -d "${TMPDIR:-/tmp}/vexlon-drive-figures.XXXXXX")
trap 'rm -rf "$OUT"' EXIT

cmake --build "$BUILD" --target inspector_core -j2 >/dev/null
# The corpus always comes from this tree; the program is built against SRC.
printf '#include "HostileCorpus.h"\nint main(int, char** argv) { WriteHostileDriveFiles(argv[1]); }\n' > "$OUT/write.cpp"
g++ -std=c++17 -O2 -Isrc -Itests/hostile "$OUT/write.cpp" tests/hostile/HostileDriveFiles.cpp -o "$OUT/write"
g++ -std=c++17 -O2 -I"$SRC/src" tools/drive-file-figures.cpp "$BUILD/src/libinspector_core.a" -o "$OUT/figures"
mkdir "$OUT/drives"
"$OUT/write" "$OUT/drives"
for f in "$OUT"/drives/*.drive; do
  "$OUT/figures" "$f" || true
done
"$OUT/figures" "$OUT/drives/many-tiny-blocks.drive" copy
