#!/bin/bash
# The main job on real input: sample scans and their recognised text become one small, searchable PDF.
# usage: demo.sh ORVEXPDF_TOOL [OUTPUT_FOLDER]      (default folder: build/demo)
set -euo pipefail
export LC_ALL=C.UTF-8
[ $# -ge 1 ] || { sed -n '2,3s/^# //p' "$0" >&2; exit 2; }
[ -x "$1" ] || { echo "demo: no program at $1; build it first (./run build)" >&2; exit 3; }
tool=$(cd "$(dirname "$1")" && pwd)/$(basename "$1")
mkdir -p "${2:-build/demo}"
pdf=$(cd "${2:-build/demo}" && pwd)/country-binder.pdf
cd "$(dirname "$0")/.."

mapfile -t scans < <(printf '%s\n' Examples/scans/*.jpg Examples/scans/*.png | sort)
found=()
for scan in "${scans[@]}"; do found+=(--found "${scan%.*}.found.json"); done

bytes() { cat "$@" | wc -c; }
megabytes() { awk -v n="$1" 'BEGIN { printf "%.2f MB", n / 1e6 }'; }

echo "\$ orvexpdf make $(basename -a "${scans[@]}" | paste -sd' ') \\"
echo "      --found ${found[1]##*/} ... --squeeze medium --title ... -o country-binder.pdf"
started=$(date +%s%N)
"$tool" --quiet make "${scans[@]}" "${found[@]}" --squeeze medium --title "The Country Binder: samples" -o "$pdf"
milliseconds=$((($(date +%s%N) - started) / 1000000))
before=$(bytes "${scans[@]}") after=$(bytes "$pdf")

pages=$("$tool" info --json "$pdf" | tr -d ' \n' | sed -n 's/.*"pageCount":\([0-9]*\).*/\1/p')
[ "$pages" = ${#scans[@]} ] || { echo "demo: ${#scans[@]} scans made ${pages:-no} pages" >&2; exit 1; }

echo "pages   $pages, made in $milliseconds ms"
echo "before  $(megabytes "$before") of scans"
echo "after   $(megabytes "$after") of searchable PDF, $((after * 100 / before)) % of the scans"
echo "file    $pdf"
echo
echo "\$ orvexpdf info country-binder.pdf"
"$tool" info "$pdf"
echo
if ! command -v pdftotext >/dev/null; then
    echo "pdftotext (poppler-utils) is not installed, so the text is not read back here"
    exit 0
fi
echo "\$ pdftotext country-binder.pdf, the first words of each page"
for page in $(seq "$pages"); do
    words=$(pdftotext -f "$page" -l "$page" "$pdf" - | tr -s '[:space:]' ' ' | cut -d' ' -f1-12)
    [ -n "${words// /}" ] || { echo "demo: page $page has no text" >&2; exit 1; }
    echo "page $page  $words ..."
done
