#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Brings what the tests for Windows need and no package installs:
#   build/win64/sqlite3.dll, build/win32/sqlite3.dll
#       SQLite, cross-built from Debian's source package of it
#   build/windows/wine32
#       Debian's 32-bit Wine, unpacked: installing it would make the machine one of two
#       architectures. It needs nothing but the 32-bit C library of g++-multilib.
# What cannot be had is said in one line, and the tests go on without it. The machine's
# own lists of packages stay as they are: apt works in build/windows/apt here.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
work=$here/build/windows
mkdir -p "$work"
log=$(mktemp)
trap 'rm -f "$log"' EXIT

# The machine's archives, with the sources and the 32-bit packages that they have as well.
apt_sources() {
  local list
  rm -rf "$work/apt/sources.list.d"
  mkdir -p "$work/apt/sources.list.d" "$work/apt/lists/partial" "$work/apt/cache/archives/partial"
  for list in /etc/apt/sources.list.d/*.sources; do
    [ -f "$list" ] || continue
    sed -e '/^Architectures:/d' -e 's/^Types:.*/Types: deb deb-src\nArchitectures: i386/' "$list" \
      >"$work/apt/sources.list.d/${list##*/}"
  done
  for list in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -f "$list" ] || continue
    sed -n -e '/^deb /{p;s/^deb /deb-src /p}' "$list" >"$work/apt/sources.list.d/${list##*/}"
  done
}
apt() {
  apt-get -o Dir::Etc::SourceList=/dev/null -o Dir::Etc::SourceParts="$work/apt/sources.list.d" \
    -o Dir::State::Lists="$work/apt/lists" -o Dir::Cache="$work/apt/cache" \
    -o APT::Architectures::=amd64 -o APT::Architectures::=i386 -o APT::Sandbox::User= "$@"
}
# Once a run, and only when something is missing. A list that is a little old will do.
update() {
  [ -z "${updated:-}" ] || return 0
  updated=yes
  apt_sources
  apt update || true
}

# SQLite's one file, as its own source package makes it.
sqlite_source() {
  local folder=$work/sqlite
  [ ! -f "$folder/build/sqlite3.c" ] || return 0
  rm -rf "$folder"
  mkdir -p "$folder/source" "$folder/build"
  update && cd "$folder" && apt source --download-only sqlite3 &&
    tar -xf sqlite3_*.orig.tar.* -C source --strip-components=1 &&
    cd build && ../source/configure --disable-tcl --disable-readline --disable-shared &&
    make sqlite3.c
}
sqlite_for() {
  local dll=$here/build/$1/sqlite3.dll
  [ ! -f "$dll" ] || return 0
  mkdir -p "${dll%/*}"
  "$2-w64-mingw32-gcc-posix" -O1 '-DSQLITE_API=__declspec(dllexport)' \
    -DSQLITE_ENABLE_COLUMN_METADATA -shared -static-libgcc \
    -o "$dll" "$work/sqlite/build/sqlite3.c"
}
sqlite() { sqlite_source && sqlite_for win64 x86_64 && sqlite_for win32 i686; }

wine32() {
  local folder=$work/wine32 package
  [ -e /lib/ld-linux.so.2 ] || { echo "no 32-bit C library"; return 1; }
  [ ! -f "$folder/complete" ] || return 0
  rm -rf "$folder"
  mkdir -p "$folder"
  update && cd "$folder" && apt download wine32:i386 libwine:i386 || return
  for package in *.deb; do
    dpkg-deb --fsys-tarfile "$package" | tar -x --exclude=./usr/share/doc || return
    rm "$package"
  done
  # What Wine's own package depends on, at the two places where it is looked for.
  mkdir -p "$here/build/win32"
  ln -sf /usr/i686-w64-mingw32/lib/zlib1.dll usr/lib/i386-linux-gnu/wine/i386-windows/ &&
    ln -sf /usr/i686-w64-mingw32/lib/zlib1.dll "$here/build/win32/" && touch complete
}

# Runs one of these; the last word of its failure, when it fails, is told with the rest.
try() {
  "$1" >"$log" 2>&1 || echo "$2: $(grep -v '^$' "$log" | tail -n 1)"
}
try sqlite "no SQLite for Windows could be built, its tests look for its absence"
try wine32 "no 32-bit Wine could be had, 32-bit programs are built and not run"
