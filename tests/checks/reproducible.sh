#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Builds the two libraries twice from the same sources, in folders of other names and depths, in another
# time zone and locale and without a compiler cache, and compares every file that is installed: libraries,
# headers, pkg-config files, CMake package.
#   reproducible.sh SOURCE_DIR SCRATCH_DIR C_COMPILER CXX_COMPILER
set -eu
source=$(CDPATH='' cd -- "$1" && pwd) scratch=$2
CC=$3 CXX=$4 CCACHE_DISABLE=1
export CC CXX CCACHE_DISABLE
unset CMAKE_C_COMPILER_LAUNCHER CMAKE_CXX_COMPILER_LAUNCHER

fail() { cat "$1/log"; exit 1; }

# $1 is the folder to build in; the sources are copied there.
make_in() {
  mkdir -p "$1/tree"
  tar -C "$source" --exclude=./build --exclude=./.git -cf - . | tar -C "$1/tree" -xf -
  cmake -S "$1/tree" -B "$1/tree/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKELVO_BUILD_TOOLS=OFF \
    -DKELVO_BUILD_EXAMPLES=OFF >"$1/log" || fail "$1"
  cmake --build "$1/tree/build" >>"$1/log" || fail "$1"
  cmake --install "$1/tree/build" --prefix "$1/prefix" >>"$1/log" || fail "$1"
}

rm -rf "$scratch"
one=$scratch/one two=$scratch/another/folder/with/a/longer/name
TZ=UTC LC_ALL=C make_in "$one"
TZ=Pacific/Auckland LC_ALL=C.UTF-8 make_in "$two"

# The names of links count too.
digests() { (cd "$1/prefix" && find . -type f -exec sha256sum {} + -o -type l -printf '%l %p\n' | sort -k 2); }
digests "$one" >"$scratch/one.sha256"
digests "$two" >"$scratch/two.sha256"
grep -q 'libkelvoutils\.so\.1\..*' "$scratch/one.sha256"
grep -q 'kelvoutils\.pc' "$scratch/one.sha256"
if ! diff "$scratch/one.sha256" "$scratch/two.sha256"; then
  echo "The files above differ between two builds of the same sources, below $scratch. A path, a time or an order" >&2
  echo "got into them; 'diffoscope' shows which." >&2
  exit 1
fi
echo "$(wc -l <"$scratch/one.sha256") installed files are the same from two builds in different folders"
