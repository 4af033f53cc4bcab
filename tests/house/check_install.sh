#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs the build into a folder of its own and builds every example against
# it, alone, with find_package; one more with pkg-config, and one host against
# the static library. check_install.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
build=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
built=0
for example in "$source"/examples/*/; do
  [ -f "$example/CMakeLists.txt" ] || continue
  name=$(basename "$example")
  cmake -S "$example" -B "$work/$name" -DCMAKE_PREFIX_PATH="$work/prefix" >"$work/log" 2>&1 &&
    cmake --build "$work/$name" >>"$work/log" 2>&1 || { cat "$work/log"; exit 1; }
  "$work/$name/$name" >"$work/out" || { echo "$name failed"; exit 1; }
  [ -s "$work/out" ] || { echo "$name printed nothing"; exit 1; }
  built=$((built + 1))
done
[ "$built" -gt 0 ] || { echo "no example was built"; exit 1; }

# The host needs what registers itself when the program starts: the channel and
# the database factories.
cat >"$work/host.cpp" <<'HOST'
#include <loomkit/loomkit.h>
#include <cstdio>
#include <memory>
int main() {
  double sum = 0;
  if (gOutput == nullptr || !GRpnEval().evalFloat("1 2 +", &sum)) return 1;
  GDbDatabase* database = nullptr;
  if (GDbDatabase::openDatabase("csv:/tmp", &database) != 0) return 2;
  const std::unique_ptr<GDbDatabase> owner(database);
  std::printf("%s %g\n", LOOMKIT_VERSION, sum);
}
HOST
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name loomkit.pc)")
cp -r "$source/examples/pkg-config" "$work/with-make"
make -C "$work/with-make" LDFLAGS="-Wl,-rpath,$(pkg-config --variable=libdir loomkit)" >"$work/log" 2>&1 ||
  { cat "$work/log"; exit 1; }
[ "$("$work/with-make/calculate" '1 2 +')" = 3 ] || { echo "calculate: wrong output"; exit 1; }

# shellcheck disable=SC2046
for level in 17 20; do
  c++ -std=c++$level -Wall -Wextra -Werror "$work/host.cpp" \
    $(pkg-config --cflags --libs loomkit) -Wl,-rpath,"$(pkg-config --variable=libdir loomkit)" -o "$work/host"
  [ "$("$work/host")" = "$(pkg-config --modversion loomkit) 3" ] || { echo "host: wrong output"; exit 1; }
done

mkdir "$work/static"
cat >"$work/static/CMakeLists.txt" <<'HOST'
cmake_minimum_required(VERSION 3.16)
project(host CXX)
find_package(loomkit REQUIRED)
add_executable(host ../host.cpp)
target_link_libraries(host PRIVATE loomkit::static)
HOST
cmake -S "$work/static" -B "$work/static/build" -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/static/build" >/dev/null
[ "$("$work/static/build/host" | cut -d' ' -f2)" = 3 ] || { echo "static host: wrong output"; exit 1; }

[ "$("$work/prefix/bin/loom" eval '1 2 +')" = 3 ] || { echo "the installed loom does not run"; exit 1; }
echo "$built examples, pkg-config, static library and loom: done"
