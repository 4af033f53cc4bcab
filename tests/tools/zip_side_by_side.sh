#!/bin/bash
# SPDX-License-Identifier: MIT
# Runs loom zip beside zip's common programs on the same inputs and compares what they
# make, print and return.
#
#   tests/tools/zip_side_by_side.sh LOOM
set -u
loom=$1
room=$(mktemp -d)
trap 'chmod -R u+rwx "$room"; rm -rf "$room"' EXIT
cd "$room" || exit 1
umask 022
failures=0

# same WHAT OURS THEIRS: compares two texts.
same() {
  if [ "$2" != "$3" ]; then
    failures=$((failures + 1))
    printf 'not the same: %s\n--- ours\n%s\n--- theirs\n%s\n' "$1" "$2" "$3"
  fi
}
# The names, rights, whole seconds and contents of a tree.
tree() { (cd "$1" && find . \( -type l -printf '%p %l\n' \) -o -printf '%p %m %Ts\n' | sort &&
  find . -type f -print0 | sort -z | xargs -0 sha256sum); }
# good STATUS: 0 for success, 1 for a warning, else damaged.
good() { if [ "$1" -eq 0 ]; then echo whole; else echo damaged; fi; }

mkdir -p in/empty in/sub/deep
printf 'text\n' >in/small
: >in/nothing
seq 200000 >in/sub/numbers
head -c 700000 /dev/urandom >in/sub/deep/noise
printf 'x' >'in/sub/ä ö'
chmod 600 in/small
chmod 755 in/sub/numbers
chmod 700 in/sub/deep
ln -s sub/numbers in/link
touch -h -d '2003-04-05 06:07:08' in/small in/link in/sub/numbers
touch -d '2004-05-06 07:08:10' in/empty in/sub/deep

# Others read what loom writes.
"$loom" zip new --links ours.zip in || exit 1
unzip -qq ours.zip -d u && same 'unzip of ours' "$(tree u/in)" "$(tree in)"
mkdir b && bsdtar -xpf ours.zip -C b && same 'bsdtar of ours' "$(tree b/in)" "$(tree in)"
"$loom" zip x --links ours.zip -d o && same 'loom of ours' "$(tree o/in)" "$(tree in)"
same 'names' "$("$loom" zip ls ours.zip | cut -c 42-)" "$(zipinfo -1 ours.zip | LC_ALL=C sort)"
same 'sizes' "$("$loom" zip ls ours.zip | awk '{s += $1} END {print s}')" \
  "$(zipinfo -t ours.zip | awk '{print $3}')"
same 'a member' "$("$loom" zip cat ours.zip in/sub/numbers | sha256sum)" \
  "$(unzip -p ours.zip in/sub/numbers | sha256sum)"
same 'a pattern' "$("$loom" zip cat ours.zip 'in/sub/n*' | sha256sum)" \
  "$(unzip -p ours.zip 'in/sub/n*' | sha256sum)"

# loom reads what others write, also when they are told to use zip64.
python3 - <<'END'
import os, zipfile
with zipfile.ZipFile('python.zip', 'w', zipfile.ZIP_DEFLATED) as z:
    for at, directories, files in os.walk('in'):
        for name in files:
            path = os.path.join(at, name)
            if os.path.islink(path): continue
            info = zipfile.ZipInfo.from_file(path)
            info.compress_type = zipfile.ZIP_DEFLATED
            with z.open(info, 'w', force_zip64=True) as out: out.write(open(path, 'rb').read())
END
bsdtar -cf bsdtar.zip --format zip in
7z a -bso0 -bsp0 seven.zip in >log
zip -qry infozip.zip in
zip -qr -fz wide.zip in
(cd in && zip -q - - <sub/numbers) >pipe.zip
for archive in python bsdtar seven infozip wide pipe; do
  rm -rf u o
  unzip -qq $archive.zip -d u
  "$loom" zip x --links $archive.zip -d o
  same "contents of $archive.zip" "$(cd o && find . -type f -print0 | sort -z | xargs -0 sha256sum)" \
    "$(cd u && find . -type f -print0 | sort -z | xargs -0 sha256sum)"
  same "verdict on $archive.zip" "$("$loom" zip test $archive.zip >log; good $?)" \
    "$(unzip -tqq $archive.zip >log; good $?)"
done

# Damage, byte by byte through a small archive's data: whoever finds one must not be
# alone, and loom must not be the one that misses it.
"$loom" zip new small.zip in/small in/nothing
for at in 20 37 40 45 50 55; do
  cp small.zip bad.zip
  printf '\377' | dd of=bad.zip bs=1 seek=$at conv=notrunc status=none
  ours=$("$loom" zip test bad.zip >log 2>&1; good $?)
  theirs=$(unzip -tqq bad.zip >log 2>&1; good $?)
  if [ "$theirs" = damaged ]; then same "byte $at" "$ours" "$theirs"; fi
  same "byte $at, extracted" "$("$loom" zip x -f bad.zip -d x >log 2>&1; good $?)" "$ours"
done

# What is not there, and what is no archive.
for command in 'zip ls' 'zip test' 'zip x'; do
  $loom $command none.zip 2>log
  same "$command of a missing archive" "$?" 3
  $loom $command in/small 2>log
  same "$command of no archive" "$?" 4
done
"$loom" zip x ours.zip missing 2>log
same 'a missing member' "$?" 1
unzip -qq ours.zip missing 2>log
same 'a missing member, with the other' "$?" 11

[ $failures -eq 0 ] && echo "all the same"
exit $((failures != 0))
