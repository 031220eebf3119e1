#!/usr/bin/env bash
# Renders a snapshot.xml with res/snapshot.xsl through xsltproc, the way the
# hosted browser would show it: the stylesheet's working-draft namespace is
# switched to XSLT 1.0 (nothing else changes) and the HTML is written out.
#   tools/xsl-check.sh SNAPSHOT.XML OUT.HTML
set -euo pipefail
cd "$(dirname "$0")/.."
xml=${1:?snapshot.xml}
out=${2:?output html}
xmllint --noout "$xml"
tmp=$(mktemp "${TMPDIR:-/tmp}/snapshot-xslt1.XXXXXX.xsl")
trap 'rm -f "$tmp"' EXIT
sed 's#xmlns:xsl="http://www.w3.org/TR/WD-xsl"#xmlns:xsl="http://www.w3.org/1999/XSL/Transform" version="1.0"#' \
  res/snapshot.xsl > "$tmp"
xsltproc -o "$out" "$tmp" "$xml"
echo "wrote $out"
