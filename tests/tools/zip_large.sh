#!/bin/bash
# SPDX-License-Identifier: MIT
# Archives of large files and of many members, made and read by loom and by zip's common
# programs, each by each.
#
#   tests/tools/zip_large.sh LOOM
#
# A common run takes sizes at which only the forms of zip64 are met that other programs
# choose by themselves. LOOMKIT_LARGE_FILES=1 goes beyond all limits of 32 and 16 bits:
# 5 GiB and 100,000 members, for which it needs 6 GiB of disk and some minutes.
set -u
loom=$1
room=$(mktemp -d)
trap 'rm -rf "$room"' EXIT
cd "$room" || exit 1
failures=0
if [ -n "${LOOMKIT_LARGE_FILES:-}" ]; then size=5G members=100000; else size=20M members=300; fi

# does WHAT COMMAND...: runs a command that has to succeed, and tells its time in a long run.
does() {
  local what=$1 start
  shift
  start=$SECONDS
  if ! "$@" >log 2>&1; then
    failures=$((failures + 1))
    echo "failed: $what"
    head -5 log
  elif [ "$size" = 5G ]; then
    echo "$what: $((SECONDS - start)) s"
  fi
}
# yields TEXT WHAT COMMAND...: the same for a command that prints this.
yields() {
  local expected=$1
  shift
  does "$@"
  if [ "$(cat log)" != "$expected" ]; then
    failures=$((failures + 1))
    echo "$1: not \"$expected\" but \"$(head -c 300 log)\""
  fi
}
extracts() { rm -rf o && "$loom" zip x --no-limits -d o "$1" && cmp in/large o/large && rm -rf o; }
prints() { "$loom" zip cat "$1" "$2" | cmp - in/large; }

mkdir in
truncate -s $size in/large
printf 'the end' | dd of=in/large bs=1 conv=notrunc oflag=append status=none
bytes=$(stat -c %s in/large)
cd in || exit 1

# Deflated, and read by everybody.
does 'loom writes, deflated' "$loom" zip new ../d.zip large
cd ..
yields '1 good, 0 damaged' 'loom tests' "$loom" zip test --no-limits d.zip
does 'loom extracts' extracts d.zip
does 'unzip tests' unzip -tqq d.zip
does '7z tests' 7z t -bso0 -bsp0 d.zip
does 'python tests' python3 -c 'import zipfile; assert zipfile.ZipFile("d.zip").testzip() is None'
yields "$bytes" 'zipinfo lists' sh -c "zipinfo -t d.zip | awk '{print \$3}'"
rm d.zip

# Stored.
does 'loom writes, stored' sh -c "cd in && $loom zip new -0 ../s.zip large"
yields '1 good, 0 damaged' 'loom tests, stored' "$loom" zip test s.zip
does 'loom prints, stored' prints s.zip large
does 'unzip tests, stored' unzip -tqq s.zip
rm s.zip

# What others write. zip does not know the size of what comes through a pipe, and takes
# zip64 for it whatever it is.
does 'zip writes' sh -c 'cd in && zip -q -fz ../z.zip large'
does 'loom extracts of zip' extracts z.zip
rm z.zip
does 'zip writes a pipe' sh -c 'zip -q - - <in/large >p.zip'
does 'loom prints of a pipe' prints p.zip -
yields '1 good, 0 damaged' 'loom tests of a pipe' "$loom" zip test --no-limits p.zip
rm p.zip
does '7z writes' 7z a -bso0 -bsp0 -mx=1 7.zip ./in/large
does 'loom extracts of 7z' extracts 7.zip
rm 7.zip
does 'python writes' python3 -c '
import zipfile
with zipfile.ZipFile("y.zip", "w", zipfile.ZIP_DEFLATED, compresslevel=1) as z: z.write("in/large", "large")'
does 'loom extracts of python' extracts y.zip
rm -rf y.zip in

# Many members.
mkdir many
python3 -c "
for i in range($members): open(f'many/{i:06}', 'w').write(str(i))"
does 'loom writes many' "$loom" zip new many.zip many
yields "$members good, 0 damaged" 'loom tests many' "$loom" zip test many.zip
yields $((members + 1)) 'loom lists many' sh -c "$loom zip ls many.zip | wc -l"
does 'loom extracts many' "$loom" zip x many.zip -d o
does 'they are the same' diff -r many o/many
does 'unzip tests many' unzip -tqq many.zip
yields $((members + 1)) 'python counts many' \
  python3 -c 'import zipfile; print(len(zipfile.ZipFile("many.zip").infolist()))'
does '7z tests many' 7z t -bso0 -bsp0 many.zip
rm -rf o many.zip
does 'zip writes many' zip -qr many.zip many
yields "$members good, 0 damaged" 'loom tests many of zip' "$loom" zip test many.zip

[ $failures -eq 0 ] && echo "all is well"
exit $((failures != 0))
