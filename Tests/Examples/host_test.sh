#!/usr/bin/env bash
# Runs the example host on a file that another producer made; other readers look at what it saved.
# Usage: host_test.sh HOST-PROGRAM
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch"

gs -q -o in.pdf -sDEVICE=pdfwrite -c '/Helvetica 24 selectfont
    72 700 moveto (first) show showpage 72 700 moveto (second) show showpage'
before=$(sha256sum in.pdf)

"$1" in.pdf out.pdf | sed -E 's/^saved: [1-9][0-9]* bytes$/saved/' >said
diff said - <<'EXPECTED'
loaded: 2 pages
appended: 3 pages
removed: 2 pages
turned: page 1 by 90 degrees
undone: 2 pages
redone: 2 pages
saved
heard: 9 changes, 9 notifications
EXPECTED

qpdf --check out.pdf >checked || {
    cat checked
    exit 1
}
expect() {
    [ "$2" = "$3" ] || {
        echo "$1: expected '$2', got '$3'" >&2
        exit 1
    }
}
expect "the input" "$before" "$(sha256sum in.pdf)"
expect "pages" 2 "$(qpdf --show-npages out.pdf)"
expect "text of page 1" second "$(pdftotext -l 1 out.pdf - | tr -d '\f\n')"
expect "rotation of page 1" 90 "$(pdfinfo -f 1 -l 1 out.pdf | sed -n 's/^Page .* rot: *//p')"
