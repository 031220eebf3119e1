#!/usr/bin/env bash
# A full snapshot of a Wine system, as a person would get it: a fresh prefix
# given one uninstall entry and one browser helper object (a fresh prefix has
# neither), snapshot_timing.exe times every collector and writes
# snapshot.xml, xmllint must accept it, its sections must come in the
# table's order, and the page made from it by tools/xsl-check.sh must show
# every section with data in headless Chromium. Timings, the files and the
# screenshots go to build/snapshot-artifacts.
#   tools/snapshot-wine-check.sh [MINGW_BUILD_DIR]
set -uo pipefail
cd "$(dirname "$0")/.."
MINGW=${1:-build/mingw}
ARTIFACTS=$(pwd)/build/snapshot-artifacts
fail() {
  echo "FAIL $*"
  echo "0 passed, 1 failed"
  exit 1
}
exe="$MINGW/tests/snapshot_timing.exe"
[ -f "$exe" ] || fail "no $exe: build the MinGW tree first"
rm -rf "$ARTIFACTS"
mkdir -p "$ARTIFACTS"

export WINEPREFIX
WINEPREFIX=$(mktemp -d "${TMPDIR:-/tmp}/vexlon-snapshot-wine.XXXXXX")
export WINEDEBUG=-all WINEDLLOVERRIDES="mshtml=;mscoree="
trap 'wineserver -k 2>/dev/null; rm -rf "$WINEPREFIX"' EXIT
wineboot -i >/dev/null 2>&1 || true
wineserver -p
WINE=$(command -v wine || command -v wine64)

UNINSTALL='HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Uninstall\VexlonSnapshotCheck'
"$WINE" reg add "$UNINSTALL" /v DisplayName /d 'Vexlon snapshot check' /f >/dev/null
"$WINE" reg add "$UNINSTALL" /v DisplayVersion /d '1.2.3' /f >/dev/null
"$WINE" reg add "$UNINSTALL" /v InstallLocation /d 'C:\Program Files\Vexlon' /f >/dev/null
CLSID='{6D3A1F52-8E0B-4C1D-9A37-5B2E4F60C1A8}'
"$WINE" reg add "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects\\$CLSID" /f >/dev/null
"$WINE" reg add "HKCR\\CLSID\\$CLSID" /ve /d 'Vexlon check helper' /f >/dev/null
"$WINE" reg add "HKCR\\CLSID\\$CLSID\\InprocServer32" /ve /d 'C:\windows\system32\shdocvw.dll' /f >/dev/null

xml="$ARTIFACTS/snapshot.xml"
"$WINE" "$exe" "$(winepath -w "$xml")" 3 >"$ARTIFACTS/timing.txt" 2>"$ARTIFACTS/timing.err" ||
  fail "snapshot_timing.exe failed (see $ARTIFACTS/timing.err)"
cat "$ARTIFACTS/timing.txt"
xmllint --noout "$xml" || fail "xmllint does not accept the snapshot"

# Sections in the table's order; the ones with children are to show data.
sections=$(python3 - "$xml" <<'PY'
import sys, xml.etree.ElementTree as ET
order = ["system_info", "software_info", "hardware_info", "process_info", "service_info", "driver_info",
         "startup_info", "disk_info", "netcard_info", "port_info", "winsock_info", "ieplugin_info"]
root = ET.parse(sys.argv[1]).getroot()
names = [child.tag for child in root]
if root.tag != "crashrpt" or names != sorted(names, key=order.index):
    sys.exit("sections out of order: %s" % names)
print(" ".join(child.tag for child in root if len(child) > 0))
PY
) || fail "the snapshot's sections are not in the table's order"
echo "sections with data: $sections"
for must in system_info software_info hardware_info process_info service_info driver_info startup_info \
  disk_info netcard_info winsock_info ieplugin_info; do
  case " $sections " in *" $must "*) ;; *) fail "$must is missing or empty" ;; esac
done

tools/xsl-check.sh "$xml" "$ARTIFACTS/snapshot.html" >/dev/null || fail "xsltproc could not render the snapshot"
# shellcheck disable=SC2086
node tools/xsl-live-check.mjs "$ARTIFACTS/snapshot.html" "$ARTIFACTS" $sections
