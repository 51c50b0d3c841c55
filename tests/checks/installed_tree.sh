#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Installs the build to an empty prefix, then builds and runs a C and a C++ program from there alone:
# once through the CMake package, once through pkg-config.
#   installed_tree.sh BUILD_DIR CONSUMER_DIR SCRATCH_DIR
set -eu
build=$1 consumer=$2 scratch=$3
rm -rf "$scratch"
mkdir -p "$scratch"
cmake --install "$build" --prefix "$scratch/prefix" >"$scratch/install.log"
test -s "$scratch/prefix/share/kelvo/platform.conf.sample"
if grep -q '^KELVO_BUILD_TOOLS:BOOL=ON' "$build/CMakeCache.txt"; then
  "$scratch/prefix/bin/kelvo" graph >"$scratch/resolver.dot" # finds its libraries by itself
  test -s "$scratch/prefix/share/man/man1/kelvo.1"
  test -s "$scratch/prefix/share/bash-completion/completions/kelvo"
fi
libdir=$(dirname "$(find "$scratch/prefix" -name libkelvoutils.so)")

cmake -S "$consumer" -B "$scratch/cmake" -DCMAKE_PREFIX_PATH="$scratch/prefix" >"$scratch/cmake.log"
cmake --build "$scratch/cmake" >>"$scratch/cmake.log" || { cat "$scratch/cmake.log"; exit 1; }
"$scratch/cmake/consumer_c"
"$scratch/cmake/consumer_cpp"

PKG_CONFIG_PATH=$libdir/pkgconfig
export PKG_CONFIG_PATH
# shellcheck disable=SC2046  # the flags are meant to be split
{
  cc -std=c11 "$consumer/consumer.c" -o "$scratch/pkg_c" $(pkg-config --cflags --libs kelvoutils)
  c++ -std=c++17 "$consumer/consumer.cpp" -o "$scratch/pkg_cpp" $(pkg-config --cflags --libs kelvoutils kelvo-platform)
}
LD_LIBRARY_PATH=$libdir "$scratch/pkg_c"
LD_LIBRARY_PATH=$libdir "$scratch/pkg_cpp"
