#!/bin/sh
# SPDX-License-Identifier: MIT
# Runs loom beside the programs whose conventions it follows, on the same inputs,
# and compares what both print and return. side_by_side.sh LOOM
#
# Exit codes are compared as the shell's `if` does, zero or not, because loom tells
# more apart than its peers; those of timeout, and each output, must be equal.
# Words of messages are each program's own and are not compared.
set -u
loom=$(realpath "$1")
export LC_ALL=C TZ=UTC
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cd "$scratch" || exit 1
failures=0
cases=0

# same WHAT EXACT THEIRS OURS: two scripts, each run in a new copy of the folder
# "files", print the same, leave the same files, and return the same.
same() {
  cases=$((cases + 1))
  for who in theirs ours; do
    rm -rf "$who"
    cp -a files "$who"
    if [ $who = theirs ]; then script=$3; else script=$4; fi
    (cd "$who" && eval "$script") >"$who.out" 2>"$who.err" </dev/null
    echo $? >"$who.code"
    (cd "$who" && find . -printf '%y %m %p %l\n' | sort) >"$who.files"
  done
  if [ "$2" = anyCode ]; then
    for who in theirs ours; do
      if [ "$(cat $who.code)" -ne 0 ]; then echo 1 >$who.code; fi
    done
  fi
  for part in out code files; do
    if ! cmp -s theirs.$part ours.$part; then
      failures=$((failures + 1))
      echo "$1: $part differ"
      diff theirs.$part ours.$part | head -20
      cat ours.err
    fi
  done
}

# both WHAT EXACT SCRIPT: the script with "@" as the peer and as loom's command.
both() { same "$1" "$2" "$(echo "$3" | sed "s|@|$peer|g")" "$(echo "$3" | sed "s|@|$ours|g")"; }

mkdir files
(
  cd files || exit 1
  seq 20000 >numbers
  : >empty
  head -c 100000 /dev/urandom >random
  printf a >'two words'
  printf b >'back\slash'
  printf c >'line
end'
  printf d >'-dash'
  printf e >' blank'
  chmod 600 random
  chmod 4755 'two words'
  mkdir directory
  mkfifo fifo
  ln -s numbers link
  ln -s nowhere dangling
  gzip -k numbers random
  cat numbers.gz random.gz >members.gz
  { cat numbers.gz; head -c 512 /dev/zero; } >zeros.gz
  head -c 100 numbers.gz >cut.gz
  { head -c -8 numbers.gz; printf 12345678; } >wrong.gz
  echo text >text.gz
  cp numbers.gz numbers.tgz
) || exit 1

peer='gzip' ours="$loom gzip"
both 'compress' anyCode '@ numbers empty random && rm -f *.gz'
both 'keep' anyCode '@ -fk numbers'
both 'a filter' anyCode '@ -c numbers | gzip -dc'
both 'standard input' anyCode '@ -9 < numbers | gzip -dc'
both 'no name' anyCode '@ -nc numbers | head -c 9 | od -An -tx1'
# gzip passes over the file and returns 0; loom does not call that success.
both 'not twice' anyCode '@ numbers.gz; true'
both 'twice by force' anyCode '@ -f numbers.gz'
both 'a directory' anyCode '@ directory'
both 'a link' anyCode '@ link'
both 'a fifo' anyCode '@ fifo'
both 'a missing file' anyCode '@ nothing'
both 'a dangling link' anyCode '@ dangling'
both 'set-user-ID' anyCode '@ "two words"'
both 'a name with a dash' anyCode '@ -- -dash'
both 'another suffix' anyCode '@ -S .own numbers'
both 'decompress' anyCode '@ -df numbers.gz'
both 'not over a file' anyCode '@ -d numbers.gz'
both 'to standard output' anyCode '@ -dc numbers.gz members.gz zeros.gz 2>&-; true'
both 'tgz' anyCode '@ -d numbers.tgz'
both 'the stored name' anyCode 'mv numbers.tgz x.tgz; rm numbers; @ -dN x.tgz; cat numbers'
both 'a list' anyCode '@ -l numbers.gz'
both 'a list with totals' anyCode '@ -l numbers.gz random.gz'
both 'a long list' anyCode '@ -lv numbers.gz'
both 'a list of standard input' anyCode '@ -l < random.gz'
both 'a test' anyCode '@ -t numbers.gz random.gz members.gz'
for name in cut wrong text; do
  both "damaged: $name" anyCode "@ -d $name.gz"
  both "damaged: test $name" anyCode "@ -t $name.gz"
done

for kind in md5 sha256 sha512; do
  peer="${kind}sum" ours="$loom sum --$kind"
  both "$kind of all files" anyCode '@ numbers empty random "two words" *sl* line* ./-dash " blank"'
  both "$kind in BSD lines" anyCode '@ --tag numbers empty *sl* line*'
  both "$kind of standard input" anyCode '@ < numbers; @ - < random'
  both "$kind of what cannot be read" anyCode '@ nothing directory numbers'
  both "$kind checked" anyCode "${kind}sum numbers *sl* line* ./-dash > l; @ -c l"
  both "$kind checked in BSD lines" anyCode "${kind}sum --tag numbers *sl* line* > l; @ -c l"
  both "$kind that differ" anyCode "${kind}sum numbers empty > l; echo 1 >> empty; @ -c l"
  both "$kind quiet" anyCode "${kind}sum numbers empty > l; echo 1 >> empty; @ -c --quiet l"
  both "$kind status" anyCode "${kind}sum numbers empty > l; echo 1 >> empty; @ -c --status l"
  both "$kind missing" anyCode "${kind}sum numbers empty > l; rm empty; @ -c l"
  both "$kind missing ignored" anyCode \
    "${kind}sum numbers empty > l; rm empty; @ -c --ignore-missing l"
  both "$kind all missing" anyCode "${kind}sum empty > l; rm empty; @ -c --ignore-missing l"
  both "$kind bad line" anyCode "{ echo bad; ${kind}sum empty; } > l; @ -c l"
  both "$kind bad line, strict" anyCode "{ echo bad; ${kind}sum empty; } > l; @ -c --strict l"
  both "$kind no line" anyCode '@ -c empty'
done

# timed WHAT OPTIONS COMMAND: timeout takes its limit first, loom as an option.
timed() {
  same "$1" exactly "timeout $2 $3 $4" "$loom run $2 -t $3 -- $4"
}
timed 'the exit code' '' 9 'sh -c "exit 7"'
timed 'standard input' '' 9 'cat'
timed 'the time is up' '' 0.2 'sleep 9'
timed 'another signal' '-s INT' 0.2 'sleep 9'
timed 'killed' '-s KILL' 0.2 'sleep 9'
timed 'killed after' '-k 0.2' 0.2 "sh -c 'trap \"\" TERM; sleep 1; sleep 1'"
timed 'no limit' '' 0 true
timed 'minutes' '' 1m true
timed 'no such program' '' 9 /nowhere/at/all
timed 'no program' '' 9 ./numbers
timed 'no span' '' x true
timed 'no signal' '-s NONE' 9 true
timed 'ended by a signal' '' 9 "sh -c 'kill -TERM \$\$'"

peer='ar p' ours="$loom ar cat"
both 'members of an archive' anyCode 'ar qcS x.a numbers empty random; @ x.a random numbers'
# ar returns 0.
both 'no such member' anyCode 'ar qcS x.a numbers; @ x.a nothing; true'
both 'no archive' anyCode '@ numbers nothing'
both 'the first of a name' anyCode \
  'ar qcS x.a numbers empty; echo other >empty; ar q x.a empty; @ x.a empty numbers'
both 'a long name' anyCode 'cp numbers "a name of more than 16 letters"; ar qcS x.a a*; @ x.a a*s'
both 'a damaged archive' anyCode 'ar qcS x.a numbers; head -c 1000 x.a >y.a; @ y.a numbers >o; true'
peer='ar x' ours="$loom ar x -f"
both 'extraction' anyCode 'ar qcS x.a numbers random "two words"; mkdir d; cd d; @ ../x.a'
both 'extraction over files' anyCode 'ar qcS x.a numbers; echo old >numbers; @ x.a'
both 'of one name' anyCode 'ar qcS x.a empty; echo 2 >empty; ar q x.a empty; rm empty; @ x.a
cat empty'
same 'the second of a name' anyCode \
  'ar qcS x.a empty; echo 2 >empty; ar q x.a empty; rm empty; ar xN 2 x.a empty; cat empty' \
  "ar qcS x.a empty; echo 2 >empty; ar q x.a empty; rm empty; $loom ar x -N 2 x.a empty; cat empty"
same 'a third that is not there' anyCode 'ar qcS x.a empty; ar xN 3 x.a empty; true' \
  "ar qcS x.a empty; $loom ar x -fN 3 x.a empty; true"
same 'a list' anyCode 'ar qcS x.a random numbers empty empty; ar t x.a | sort' \
  "ar qcS x.a random numbers empty empty; $loom ar ls x.a | cut -c 13-"

echo "$cases cases, $failures differences"
[ "$failures" -eq 0 ]
