#!/usr/bin/env bash
# Installs a build into a scratch folder and builds the README's program against that copy, once through the CMake
# package and once through pkg-config; each must make a searchable PDF. Then compiles every installed header by itself,
# with nothing but our include folder.
# Usage: run.sh BUILD-FOLDER SCRATCH-FOLDER
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
project=$(cd "$here/../.." && pwd)
build=$1
scratch=$2
prefix=$scratch/prefix
program=$scratch/program.cpp
rm -rf "$scratch"
mkdir -p "$scratch"

fail() {
    echo "$*" >&2
    exit 1
}

sed -n '/^```cpp$/,/^```$/p' "$project/README.md" | sed '/^```/d' >"$program"
[ -s "$program" ] || fail "the README has no program"
cmake --install "$build" --prefix "$prefix" >"$scratch/install.log"

makes_a_searchable_pdf() {
    local scan=$project/Examples/scans/2-letter pdf=$scratch/out.pdf
    rm -f "$pdf"
    "$@" "$scan.jpg" "$scan.found.json" "$pdf"
    qpdf --check "$pdf" >"$scratch/check.log" || fail "$(cat "$scratch/check.log")"
    [ "$(pdftotext "$pdf" - | wc -w)" -gt 50 ] || fail "the text does not read back"
    [ "$(stat -c %s "$pdf")" -lt "$(stat -c %s "$scan.jpg")" ] || fail "the PDF is larger than the scan"
}

cmake -S "$here" -B "$scratch/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DPROGRAM="$program" >"$scratch/cmake.log"
cmake --build "$scratch/cmake"
makes_a_searchable_pdf "$scratch/cmake/consumer"

pc=$(dirname "$(find "$prefix" -name orvexpdf.pc)")
version=$(sed -n 's/^Version: //p' "$pc/orvexpdf.pc")
[ -n "$(find "$prefix" -name "libOrvexPDF.so.${version%.*}")" ] || fail "versions that are not compatible share a library name"
flags() { PKG_CONFIG_PATH=$pc pkg-config "$@" orvexpdf; }
# Word splitting is how pkg-config hands out several options.
# shellcheck disable=SC2046
c++ -std=c++20 $(flags --cflags) "$program" -o "$scratch/consumer" $(flags --libs)
makes_a_searchable_pdf env LD_LIBRARY_PATH="$(flags --variable=libdir)" "$scratch/consumer"
"$prefix/bin/orvexpdf" --help >"$scratch/help.log" || fail "the installed tool does not start"
"$prefix/bin/orvexpdf" render "$scratch/out.pdf" --page 1 -o "$scratch/page.png" || fail "the installed tool does not render"

include=$(flags --variable=includedir)
cd "$include"
[ -z "$(find . -name '*_p.h')" ] || fail "internal headers were installed"
# Each header must stand alone, with warnings as a careful host would set them.
find . -name '*.h' -print0 |
    xargs -0 -I HEADER -P 2 c++ -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I "$include" \
        -x c++ -include HEADER /dev/null
