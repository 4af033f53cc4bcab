#!/bin/sh
# SPDX-License-Identifier: MIT
# A tour of loomkit on real data.
#   LOOM=path/to/loom examples/tour/tour.sh
# The examples in C++ are built against the library beside LOOM, or taken from
# the folder EXAMPLES when that is set.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../.." && pwd)
: "${LOOM:=loom}"
loom() { command "$LOOM" "$@"; }

if [ -t 1 ] && [ -z "${NO_COLOR:-}" ] && [ "${TERM:-dumb}" != dumb ]; then
  bold=$(printf '\033[1m') dim=$(printf '\033[2m') plain=$(printf '\033[0m')
else
  bold= dim= plain=
fi

title() { printf '\n%s%s%s\n' "$bold" "$1" "$plain"; }
# Shows a command and runs it; what goes wrong in it is part of the show.
show() {
  printf '%s$ %s%s\n' "$dim" "$1" "$plain"
  eval "$1" 2>&1 || printf '%s[exit %s]%s\n' "$dim" "$?" "$plain"
}

# The program of an example, built when there is none that is up to date.
example() {
  name=$1
  if [ -n "${EXAMPLES:-}" ]; then
    [ -x "$EXAMPLES/$name" ] && echo "$EXAMPLES/$name"
    return
  fi
  library=$(cd "$(dirname "$LOOM")/../../loomkit" 2>/dev/null && pwd) || return 1
  program=$library/../examples/$name
  if [ ! -x "$program" ] || [ "$library/libloomkit.so" -nt "$program" ]; then
    mkdir -p "$library/../examples"
    "${CXX:-c++}" -std=c++17 -O1 -I"$root" "$root/examples/$name/$name.cpp" -o "$program" \
      -L"$library" -lloomkit -Wl,-rpath,"$library" >&2 || return 1
  fi
  echo "$program"
}
show_example() {
  if program=$(example "$1"); then
    printf '%s$ %s%s\n' "$dim" "examples/$1" "$plain"
    "$program" 2>&1
  else
    echo "(examples/$1 is not built here)"
  fi
}

cd "$root"
printf '%s\n' "loomkit $(loom --version | cut -d' ' -f2): a tour on this machine's own files"

title 'A file of expressions: a loan, a great circle, unit conversions, texts'
echo "(examples/tour/expressions.rpn explains each line)"
show 'loom eval --file examples/tour/expressions.rpn'
show 'loom eval --file examples/tour/expressions.rpn -p years=20 -p rate=0.035 | head -1'

title 'An expression over the lines of a file: the fields of /etc/passwd'
show "loom eval --map --fs : --where '\$f3 1000 <' '\$f1' '\$f3' '\$f7' </etc/passwd | head -4"
show "loom eval --map --fs : '\${prev:-0} \$f3 65534 < +' </etc/passwd | tail -1   # users below nobody"

licence=/usr/share/common-licenses/GPL-3
if [ -r $licence ]; then
  title 'Sums and maxima of another: words, and the longest line, of the GPL'
  show "loom eval --map '\${prev:-0} \$nf +' <$licence | tail -1"
  show "loom eval --map '\${prev:-0} \$line size dup2 dup2 - fabs + + 2 /' <$licence | tail -1"
fi

title 'An error, with its marker in front of the operator'
show "loom eval --name price '\$net 1.19 *' '\"100\" 1.19 *'"
show "printf '100 3\n0 /\n' | loom repl"

title 'The words of the language'
show "loom words substr atan2"

title 'Text'
show "loom text match '*.[ch]pp' run loomkit.h main.cpp"
show "loom text distance --anywhere lomkit 'the loomkit library'"
show "loom text escape 'a b/c' | loom text unescape -"
show "loom text quote --json 'two
lines'"

title 'A host in C++: values for $parameters'
show_example parameters
title 'A host in C++: words of its own'
show_example functions

work=$(mktemp -d)
as_server=
clean_up() {
  if [ -d "$work/server" ]; then
    $as_server "$programs/pg_ctl" -D "$work/server/data" -m immediate stop || true
  fi
  rm -rf "$work"
}
trap 'clean_up >/dev/null 2>&1' EXIT
trap 'exit 130' INT
trap 'exit 143' HUP TERM

# A PostgreSQL server of the tour's own, where one is installed, on a socket in the
# working folder. It refuses to run as root.
start_server() {
  programs=$(ls -d "${POSTGRESQL:-/usr/lib/postgresql}"/*/bin 2>/dev/null | tail -1)
  [ -x "$programs/initdb" ] || return 1
  mkdir server
  if [ "$(id -u)" = 0 ]; then
    as_server='setpriv --reuid=nobody --regid=nogroup --clear-groups'
    chmod 711 . && chown nobody server
  fi
  options="-k $PWD/server -h '' -c fsync=off -c dynamic_shared_memory_type=mmap"
  $as_server "$programs/initdb" -D server/data -U tour -A trust -E UTF8 --locale=C --no-sync &&
    $as_server "$programs/pg_ctl" -D server/data -o "$options" -l server/log -w start
}
cp -L /usr/share/common-licenses/GPL-3 "$work/gpl" 2>/dev/null || cp "$root/README.md" "$work/gpl"
cd "$work"

title 'A file compressed, compared and checked'
show 'loom gzip -k gpl && loom gunzip -c gpl.gz | cmp - gpl && ls -s gpl gpl.gz'
show 'loom sum gpl > list && loom sum --check list'

title 'A child process, watched'
show "loom run --timeout 10 -e WHO=loomkit -- sh -c 'echo hello from \$WHO; exit 3'"
show "loom run --timeout 0.2 -- sleep 60"

title 'Archives: a zip archive written and tested, and one of another program read'
show 'loom zip new books.zip gpl && loom zip test books.zip && loom zip ls books.zip'
show 'unzip -tq books.zip'
theirs=/usr/share/java/jsr305.jar
show "loom zip test $theirs && loom zip ls $theirs | head -3"

title 'A Debian package, which is an ar archive'
cp "$root"/build/real/*.deb package.deb
show "loom ar ls package.deb && loom ar cat package.deb debian-binary"

title 'A material archive, written and read back'
echo 'roughness 0.4' >oak.mat
printf 'not really an image' >oak.png
show 'loom material new oak.matz --id oak-42 --label en=Oak --description oak.mat --texture oak.png'
show 'loom material info oak.matz'

title 'One line of a real configuration file changed, the rest kept'
conf=
for file in /etc/adduser.conf /etc/deluser.conf /etc/login.defs /etc/os-release /etc/debconf.conf; do
  if loom config ls $file 2>/dev/null | grep -q ' = '; then conf=$file; break; fi
done
if [ -n "$conf" ]; then
  cp "$conf" copy.conf
  key=$(loom config ls copy.conf | sed -n 's/ = .*//p' | head -1)
  echo "(a copy of $conf)"
  show "loom config set copy.conf $key changed --dry-run"
  show "loom config set copy.conf $key changed; diff $conf copy.conf | grep -c '^>'"
fi

title 'Small values with a notation'
show "echo '[1, @(\"x\", NULL), @oak, name.of:it]' | loom object fmt --json -"

unicode=/usr/share/unicode/UnicodeData.txt
if [ -r $unicode ]; then
  title 'A table of 34,000 lines opened as it is, asked, and copied into SQLite'
  ln -s $unicode UnicodeData.csv
  columns=code:string,name:string,category:string,combining:int
  show "loom db count csv:. UnicodeData --columns $columns"
  show "loom db get csv:. UnicodeData --columns $columns code=20AC"
  show "loom db copy csv:. UnicodeData sqlite3:chars.db --columns $columns"
  show "loom sql sqlite3:chars.db \"SELECT category, count(*) FROM UnicodeData GROUP BY 1 ORDER BY 2 DESC LIMIT 3\""

  title 'The same table as a store of one file, with indexes'
  show "loom db copy csv:. UnicodeData tessel:chars.tessel --columns $columns --index code:unique --index name"
  show "loom db get tessel:chars UnicodeData code=20AC"
  show "loom tessel info chars.tessel && loom tessel check chars.tessel"

  if command -v dbfcreate >/dev/null && command -v dbfadd >/dev/null; then
    title 'A DBF table that another program wrote: indexed, asked, its index broken and mended'
    show 'dbfcreate signs -s CODE 4 -s NAME 40 -n CLASS 3 0'
    sed -n '33,96p' $unicode | while IFS=';' read -r code name _ class _; do
      dbfadd signs.dbf "$code" "$name" "$class" >/dev/null
    done
    show 'loom xbase info . signs'
    show 'loom xbase reindex --tag CODE=CODE --tag "NAME=UPPER(NAME)" . signs'
    show 'loom db get xbase:. signs CODE=0040'
    echo '(a record is changed behind the back of its index)'
    show "sed -i 's/COMMERCIAL AT/AT SIGN      /' signs.dbf && loom xbase check . signs"
    show 'loom xbase reindex . signs && loom xbase check . signs'
    show 'dbfdump signs.dbf | grep "AT SIGN"'
  else
    title 'A DBF table of another program: shapelib, which writes one, is not installed here'
  fi

  if start_server >/dev/null 2>&1; then
    title 'And on a PostgreSQL server, which was started for this'
    export PGHOST="$work/server" PGUSER=tour
    show "loom db copy csv:. UnicodeData postgresql:///postgres --columns $columns"
    show "loom db get postgresql:///postgres UnicodeData code=20AC"
    show "loom sql postgresql:///postgres 'SELECT count(*), max(name) FROM \"UnicodeData\" WHERE combining > :most' --param most=200"
  elif [ -x "$programs/initdb" ]; then
    title 'And on a PostgreSQL server: the one that is installed does not start here'
  else
    title 'And on a PostgreSQL server: none is installed here'
  fi
fi
