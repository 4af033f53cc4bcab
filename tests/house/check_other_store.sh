#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Builds the library with -DLOOMKIT_TESSEL=<library>, installs it, and links hosts
# with it in each way that there is: a host's lookup must reach that library. The
# objects are those of the build that is there, which no such option changes.
# check_other_store.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$(realpath "$1")
source=$2
work=$(realpath "$(mktemp -d)")
trap 'rm -rf "$work"' EXIT
cached() { sed -n "s/^$1:[A-Z]*=//p" "$build/CMakeCache.txt"; }
compiler=$(cached CMAKE_CXX_COMPILER)
flags=$(cached CMAKE_CXX_FLAGS)
logged() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; echo "failed: $*"; exit 1; }; }

mkdir "$work/other"
# shellcheck disable=SC2086
logged "$compiler" $flags -std=c++20 -Wall -Wextra -Werror -shared -fPIC -I"$source" \
  "$source/tests/house/other_store.cpp" -Wl,-soname,libother_store.so -o "$work/other/libother_store.so"

configure() {
  cmake -S "$source" -B "$work/$1" -G "$(cached CMAKE_GENERATOR)" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_BUILD_TYPE="$(cached CMAKE_BUILD_TYPE)" \
    -DCMAKE_CXX_COMPILER_LAUNCHER="$source/tests/house/reuse_object.sh" \
    -DLOOMKIT_TESSEL="$work/other/libother_store.so" "${@:2}"
}
export REUSE_FROM=$build REUSE_IN=$work/build
logged configure build -DLOOMKIT_BUILD_TESTS=OFF -DLOOMKIT_BUILD_TOOLS=OFF
logged cmake --build "$work/build"
logged cmake --install "$work/build" --prefix "$work/prefix"

# What makes stores is the embedded store's, and so are its headers.
[ ! -e "$work/prefix/include/tessel" ] || { echo "the embedded store's headers are installed"; exit 1; }
if configure refused -DLOOMKIT_BUILD_TESTS=ON >"$work/log" 2>&1; then
  echo "tests of the embedded store are built with another one"; exit 1
fi
grep -q "LOOMKIT_TESSEL wants" "$work/log" || { cat "$work/log"; exit 1; }

mkdir "$work/host"
cat >"$work/host/host.cpp" <<'HOST'
#include <loomkit/loomkit.h>
#include <cstdio>
int main() {
  GDbDatabase* database = nullptr;
  if (GDbDatabase::openDatabase("tessel:whatever", &database) != GDbNoError) return 1;
  GDbTable* table = nullptr;
  if (database->openTable("none", nullptr, &table) != GDbInvalidTableName) return 2;
  if (database->openTable("t", nullptr, &table) != GDbNoError) return 3;
  GDbRecordSet found;
  if (table->lookupKey(GDbKey(0, 7), &found) != GDbNoError || found.getNumRecords() != 1) return 4;
  std::printf("%d\n", found.getRecord(0)->getIntField(0));
  delete table;
  delete database;
}
HOST
cat >"$work/host/CMakeLists.txt" <<'HOST'
cmake_minimum_required(VERSION 3.16)
project(host CXX)
find_package(loomkit REQUIRED)
add_executable(shared_by_cmake host.cpp)
target_link_libraries(shared_by_cmake PRIVATE loomkit::loomkit)
add_executable(static_by_cmake host.cpp)
target_link_libraries(static_by_cmake PRIVATE loomkit::static)
HOST
logged cmake -S "$work/host" -B "$work/host" -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$flags"
logged cmake --build "$work/host"

export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name loomkit.pc)")
lib=$(pkg-config --variable=libdir loomkit)
# shellcheck disable=SC2046,SC2086
logged "$compiler" $flags -std=c++17 "$work/host/host.cpp" $(pkg-config --cflags --libs loomkit) \
  -Wl,-rpath,"$lib" -o "$work/host/shared_by_pkg_config"
# The static library alone, since the linker takes the shared one beside it.
mkdir "$work/static"
cp "$lib/libloomkit.a" "$work/static"
# shellcheck disable=SC2046,SC2086
logged "$compiler" $flags -std=c++17 "$work/host/host.cpp" \
  $(pkg-config --static --cflags --libs loomkit | sed "s|-L[^ ]*|-L$work/static|") \
  -Wl,-rpath,"$work/other" -o "$work/host/static_by_pkg_config"

for host in shared_by_cmake static_by_cmake shared_by_pkg_config static_by_pkg_config; do
  [ "$("$work/host/$host")" = 7 ] || { echo "$host: wrong output"; exit 1; }
  ldd "$work/host/$host" >"$work/log"
  grep -q "$work/other/libother_store.so" "$work/log" || { cat "$work/log"; echo "$host: not the other store"; exit 1; }
done
echo "another store behind the ten calls: done"
