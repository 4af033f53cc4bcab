#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs the Debian packages that are missing. setup.sh run|test|ci|bench|windows
# Each word includes the ones before it, but for the last two: bench adds the peers
# that the benchmarks compare with, windows what builds for Windows and runs that. The
# tour and the tests read a package of Debian's as it is published, which goes to
# build/real, and the jar in it.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
real=libjsr305-java

run="g++ cmake ninja-build ccache pkg-config zlib1g-dev libcli11-dev libedit-dev nettle-dev nlohmann-json3-dev libsqlite3-0 unicode-data shapelib zip unzip $real"
test="clang libclang-rt-14-dev googletest make python3 binutils llvm libarchive-tools p7zip-full sqlite3 miller bc zsh fish groff-base python3-dbfread gdal-bin postgresql postgresql-contrib openssl"
ci="doxygen clang-format clang-tidy g++-multilib lib32z1-dev"
bench="libbenchmark-dev python3 postgresql libpq-dev libpqxx-dev libmuparser-dev liblua5.4-dev liburiparser-dev libcurl4-openssl-dev libsqlite3-dev libsqlitecpp-dev libsoci-dev libboost-dev libcsv-dev rapidjson-dev libzip-dev libminizip-dev libarchive-dev libssl-dev libinih-dev libsimpleini-dev liblmdb-dev libshp-dev"
windows="g++-mingw-w64-x86-64-posix g++-mingw-w64-i686-posix libz-mingw-w64-dev wine64 make tcl libc6-i386"

case "${1:-run}" in
  run) wanted=$run ;;
  test) wanted="$run $test" ;;
  ci) wanted="$run $test $ci" ;;
  bench) wanted="$run $bench" ;;
  windows) wanted="$run googletest python3 $windows" ;;
  *) echo "usage: setup.sh run|test|ci|bench|windows" >&2; exit 2 ;;
esac

missing=()
for package in $wanted; do
  [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)" = installed ] ||
    missing+=("$package")
done

log=$(mktemp)
trap 'rm -f "$log"' EXIT
as_root=()
if [ "$(id -u)" -ne 0 ] && command -v sudo >/dev/null; then as_root=(sudo); fi

# A list that is a little old is good enough: what counts is what follows.
update() { "${as_root[@]}" apt-get update || true; }
# The tests start PostgreSQL servers of their own; Debian's package would make
# and start one for the machine.
without_cluster() {
  "${as_root[@]}" apt-get install -y --no-install-recommends postgresql-common
  "${as_root[@]}" sed -i 's/^#\?create_main_cluster.*/create_main_cluster = false/' \
    /etc/postgresql-common/createcluster.conf
}
install() {
  export DEBIAN_FRONTEND=noninteractive
  update
  case " ${missing[*]} " in *" postgresql "*) without_cluster ;; esac
  "${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
}
fetch() {
  mkdir -p "$here/build/real"
  cd "$here/build/real"
  apt-get download "$real" || { update && apt-get download "$real"; }
}
logged() { "$@" >"$log" 2>&1 || { cat "$log" >&2; exit 1; }; }

if [ ${#missing[@]} -ne 0 ]; then
  echo "installing: ${missing[*]}" >&2
  if [ "$(id -u)" -ne 0 ] && [ ${#as_root[@]} -eq 0 ]; then
    echo "install these packages as root, then run this again" >&2
    exit 1
  fi
  logged install
fi
compgen -G "$here/build/real/*.deb" >/dev/null || logged fetch
