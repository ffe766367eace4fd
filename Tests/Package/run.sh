#!/usr/bin/env bash
# Installs a build into a scratch folder and builds the consumer against that copy, once through the CMake package and
# once through pkg-config; each must run. Then compiles every installed header by itself with nothing but our include
# folder. Usage: run.sh BUILD-FOLDER SCRATCH-FOLDER
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$1
scratch=$2
prefix=$scratch/prefix
rm -rf "$scratch"
mkdir -p "$scratch"
cmake --install "$build" --prefix "$prefix" >"$scratch/install.log"

expect_one_page() {
    local said
    said=$("$@")
    [ "$said" = "1 page" ] || {
        echo "the consumer said '$said'" >&2
        exit 1
    }
}

cmake -S "$here" -B "$scratch/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >"$scratch/configure.log"
cmake --build "$scratch/cmake"
expect_one_page "$scratch/cmake/consumer"

pc=$(dirname "$(find "$prefix" -name orvexpdf.pc)")
flags() { PKG_CONFIG_PATH=$pc pkg-config "$@" orvexpdf; }
# Word splitting is how pkg-config hands out several options.
# shellcheck disable=SC2046
c++ -std=c++20 $(flags --cflags) "$here/consumer.cpp" -o "$scratch/consumer" $(flags --libs)
expect_one_page env LD_LIBRARY_PATH="$(flags --variable=libdir)" "$scratch/consumer"

include=$(flags --variable=includedir)
cd "$include"
find . -name '*_p.h' | grep . && {
    echo "internal headers were installed" >&2
    exit 1
}
# Each header must stand alone, with warnings as a careful host would set them.
find . -name '*.h' -print0 |
    xargs -0 -I HEADER -P 2 c++ -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Werror -I "$include" \
        -x c++ -include HEADER /dev/null
