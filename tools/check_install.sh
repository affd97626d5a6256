#!/bin/sh
# Installs the library of a finished build into a scratch prefix and uses it
# as an outside project would: examples/minimal_host through find_package
# (static library and file readers) on the bundled sample, and a one-line
# program through pkg-config against the shared library.
# Usage: tools/check_install.sh [build directory]   (called by .ci/run)
set -e
build=$(cd "${1:-build}" && pwd)
root=$(cd "$(dirname "$0")/.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/prefix

cmake --install "$build" --prefix "$prefix" > "$scratch/install.log"
cmake -S "$root/examples/minimal_host" -B "$scratch/host" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Release \
    > "$scratch/configure.log"
cmake --build "$scratch/host" > "$scratch/build.log"
"$scratch/host/minimal_host" "$root/data/sample" "$scratch/results"

# 2020-06-25 is day 177 of its year.
cat > "$scratch/doy.cpp" <<'CPP'
#include "common/GNSSTimeConvert.h"
int main() { return CGNSSTimeConvert().GetDOY2FormYMD(2020, 6, 25) == 177 ? 0 : 1; }
CPP
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name ppplib.pc)")
export PKG_CONFIG_PATH
# shellcheck disable=SC2046
c++ -std=c++17 "$scratch/doy.cpp" -o "$scratch/doy" $(pkg-config --cflags --libs ppplib)
LD_LIBRARY_PATH=$(pkg-config --variable=libdir ppplib) "$scratch/doy"
echo "check_install: find_package and pkg-config builds against $prefix work"
