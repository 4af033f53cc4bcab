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
