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
  [ ! -f "$example/output.txt" ] || diff "$example/output.txt" "$work/out" || { echo "$name: wrong output"; exit 1; }
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
  GDbDatabase* none = nullptr;
  if (GDbDatabase::openDatabase("sqlite3:/nowhere/x", &none) == GDbInvalidTypeId) return 3;
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

# The static library, by each way in which hosts link one. Where the shared one
# lies beside it, the linker would take that.
static="$work/static"
mkdir -p "$static/lib"
cp "$(pkg-config --variable=libdir loomkit)/libloomkit.a" "$static/lib"
flags=$(pkg-config --cflags loomkit)
cat >"$static/CMakeLists.txt" <<'HOST'
cmake_minimum_required(VERSION 3.16)
project(host CXX)
find_package(loomkit REQUIRED)
add_executable(host ../host.cpp)
target_link_libraries(host PRIVATE loomkit::static)
HOST
by_cmake() {
  cmake -S "$static" -B "$static/build" -DCMAKE_PREFIX_PATH="$work/prefix"
  cmake --build "$static/build"
  cp "$static/build/host" "$static/host"
}
# shellcheck disable=SC2046
by_pkg_config() {
  c++ "$work/host.cpp" $(pkg-config --static --cflags --libs loomkit | sed "s|-L[^ ]*|-L$static/lib|") -o "$static/host"
}
# shellcheck disable=SC2086
by_hand() { c++ "$work/host.cpp" $flags "-L$static/lib" -lloomkit -lz -o "$static/host"; }
# The host's own archive holds the library's objects, too, and its program names
# nothing but a function of the host.
# shellcheck disable=SC2086
within_the_hosts_archive() {
  c++ -Dmain=hostMain -c "$work/host.cpp" $flags -o "$static/host.o"
  printf 'create %s\naddlib %s\naddmod %s\nsave\nend\n' \
    "$static/libhost.a" "$static/lib/libloomkit.a" "$static/host.o" | ar -M
  echo 'int hostMain(); int main() { return hostMain(); }' >"$static/main.cpp"
  c++ "$static/main.cpp" "-L$static" -lhost -lz -o "$static/host"
}
for way in by_cmake by_pkg_config by_hand within_the_hosts_archive; do
  rm -f "$static/host"
  "$way" >"$work/log" 2>&1 || { echo "static host $way:"; cat "$work/log"; exit 1; }
  [ "$("$static/host" | cut -d' ' -f2)" = 3 ] || { echo "static host $way: wrong output"; exit 1; }
  ! ldd "$static/host" | grep -q loomkit || { echo "static host $way: takes the shared library"; exit 1; }
done

# Deriving from every class that hosts may derive from.
shared="$(pkg-config --libs loomkit) -Wl,-rpath,$(pkg-config --variable=libdir loomkit)"
# shellcheck disable=SC2086
for compiler in g++ clang++; do
  for sanitize in "" -fsanitize=undefined; do
    for libraries in "$shared" "-L$static/lib -lloomkit -lz"; do
      $compiler -std=c++17 -Wall -Wextra -Werror $sanitize "$source/tests/house/deriving_host.cpp" \
        $flags $libraries -o "$work/deriving"
      [ "$("$work/deriving")" = 42 ] || { echo "deriving, $compiler $sanitize: wrong output"; exit 1; }
    done
  done
done

[ "$("$work/prefix/bin/loom" eval '1 2 +')" = 3 ] || { echo "the installed loom does not run"; exit 1; }
echo "$built examples, pkg-config, static library and loom: done"
