#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Packs a cross-built tree, and uses the zip file as somebody who has nothing else of
# loomkit would: builds the examples against it, with the DLL and one with the static
# library, and runs them and loom.exe. check_package.sh BUILD_DIR SOURCE_DIR WINE
set -euo pipefail
build=$1
source=$2
wine=$3
preset=$(basename "$build")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
logged() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }; }

logged cpack --config "$build/CPackConfig.cmake" -B "$work/packed"
archive=$(echo "$work"/packed/*.zip)
names=$(unzip -Z1 "$archive")
has() { grep -q "^[^/]*/$1\$" <<<"$names" || { echo "the package has no $1"; exit 1; }; }
for name in bin/loom.exe bin/loomkit.dll lib/libloomkit.dll.a lib/libloomkit.a \
  lib/cmake/loomkit/loomkitConfig.cmake include/loomkit/loomkit.h; do
  has "$name"
done
# What the programs and libraries ask for is in Windows, or beside them.
unzip -q "$archive" -d "$work"
prefix=$(echo "$work"/loomkit-*)
for file in "$prefix"/bin/*; do
  for library in $(objdump -p "$file" | sed -n 's/.*DLL Name: \(z\?lib.*\)/\1/p'); do has "bin/$library"; done
done

# A host is compiled without a warning, whatever it includes first. For the static library,
# C++20 and 32 bits, which change nothing between the headers, all of them at once will do.
compiler=$(sed -n 's/^set(CMAKE_CXX_COMPILER "\(.*\)")/\1/p' "$build"/CMakeFiles/*/CMakeCXXCompiler.cmake)
export compiler prefix
compiles() {
  "$compiler" -std="$1" ${3:+"$3"} -I "$prefix/include" -include "$2" -fsyntax-only -x c++ \
    -Wall -Wextra -Wpedantic -Werror /dev/null || exit 255
}
export -f compiles
each_header() {
  printf '%s\n' "$@" | xargs -P "$(nproc)" -L 1 bash -c 'compiles "$@"' -
}
alone=()
[ "$preset" != win64 ] || mapfile -t alone < <(cd "$prefix/include" && find loomkit tessel -name '*.h' -printf 'c++17 %p\n')
all=loomkit/loomkit.h
logged each_header "${alone[@]}" "c++17 $all" "c++20 $all" "c++17 $all -DLOOMKIT_STATIC" "c++20 $all -DLOOMKIT_STATIC"

mkdir "$work/hosts"
cat >"$work/hosts/CMakeLists.txt" <<'HOSTS'
cmake_minimum_required(VERSION 3.25)
project(hosts CXX)
file(GLOB examples ${SOURCE}/examples/*/CMakeLists.txt)
# It is about links and the rights of files on Unix.
list(FILTER examples EXCLUDE REGEX "/backup/")
foreach(example IN LISTS examples)
  cmake_path(GET example PARENT_PATH folder)
  cmake_path(GET folder FILENAME name)
  add_subdirectory(${folder} ${name})
endforeach()
find_package(loomkit REQUIRED)
add_executable(alone ${SOURCE}/examples/functions/functions.cpp)
target_link_libraries(alone PRIVATE loomkit::static -static)
HOSTS
logged cmake -G Ninja -S "$work/hosts" -B "$work/built" -DSOURCE="$source" -DCMAKE_FIND_ROOT_PATH="$prefix" \
  -DCMAKE_TOOLCHAIN_FILE="$source/cmake/toolchains/$preset.cmake" -DCMAKE_CXX_COMPILER_LAUNCHER="$(command -v ccache)"
logged cmake --build "$work/built"

hosts=0
cd "$work"
libraries=$prefix/bin
run_once() { WINEPATH="Z:$libraries" "$wine" "$@" 2>/dev/null | tr -d '\r' >"$work/out"; }
# Now and then a program that Wine starts gives no output.
run() {
  if run_once "$@" && [ -s "$work/out" ]; then return; fi
  echo "$(basename "$1") gave no output and is run once more"
  run_once "$@"
}
for program in "$work"/built/*/*.exe; do
  name=$(basename "$program" .exe)
  run "$program" || { echo "$name failed"; exit 1; }
  [ -s "$work/out" ] || { echo "$name printed nothing"; exit 1; }
  cp "$work/out" "$work/$name.out"
  wanted=$source/examples/$name/output.txt
  [ ! -f "$wanted" ] || diff "$wanted" "$work/out" || { echo "$name: wrong output"; exit 1; }
  hosts=$((hosts + 1))
done
[ "$hosts" -gt 0 ] || { echo "no example was built"; exit 1; }
mkdir "$work/empty"
libraries=$work/empty
run "$work/built/alone.exe" || { echo "the static host failed"; exit 1; }
diff "$work/functions.out" "$work/out" || { echo "the static host: wrong output"; exit 1; }
run "$prefix/bin/loom.exe" eval '1 2 +'
[ "$(cat "$work/out")" = 3 ] || { echo "the packed loom.exe does not run"; exit 1; }
echo "$(basename "$archive"): $(wc -l <<<"$names") files; $hosts examples, a static host and loom.exe run"
