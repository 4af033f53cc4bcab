#!/bin/bash
# SPDX-License-Identifier: MIT
# Runs loom db, loom sql, loom object and loom eval beside sqlite3, python's csv and json,
# miller and bc on the same inputs and compares what they print and return.
#
#   tests/tools/tables_side_by_side.sh LOOM
set -u
loom=$1
room=$(mktemp -d)
trap 'rm -rf "$room"' EXIT
cd "$room" || exit 1
failures=0

# same WHAT OURS THEIRS: compares two texts.
same() {
  if [ "$2" != "$3" ]; then
    failures=$((failures + 1))
    printf 'not the same (< ours, > theirs): %s\n' "$1"
    diff <(printf '%s\n' "$2") <(printf '%s\n' "$3")
  fi
}
# good STATUS: success or failure, since each program numbers its failures by itself.
good() { if [ "$1" -eq 0 ]; then echo done; else echo failed; fi; }

python3 - <<'END'
import csv, random
random.seed(17)
texts = ['bolt', 'nut, long', 'a "b"', "it's", 'two\nlines', 'Ärger', '007', '42', ' x ', 'a;b|c']
for name, sep, end in (('comma', ',', '\n'), ('semi', ';', '\r\n'), ('tab', '\t', '\n')):
    with open(name + '.csv', 'w', newline='') as out:
        w = csv.writer(out, delimiter=sep, lineterminator=end)
        w.writerow(['id', 'name', 'price', 'day'])
        for i in range(300):
            w.writerow([i, random.choice(texts), i * 0.25 + 0.125, '2026-01-%02d' % (i % 28 + 1)])
END

# Import, beside sqlite3's .import into a table of the same types.
for name in comma semi tab; do
  case $name in comma) sep=, ;; semi) sep=';' ;; tab) sep='\t' ;; esac
  "$loom" db import $name.csv sqlite3:ours.db $name >log || exit 1
  sqlite3 theirs.db "CREATE TABLE $name (id INTEGER, name TEXT, price FLOAT, day TEXT)" \
    '.mode csv' ".separator \"$sep\"" ".import --skip 1 $name.csv $name"
  for query in "SELECT * FROM $name" "SELECT name, count(*), sum(price) FROM $name GROUP BY name" \
    "SELECT typeof(id), typeof(name), typeof(price), typeof(day) FROM $name LIMIT 1"; do
    same "$name: $query" "$(sqlite3 ours.db "$query")" "$(sqlite3 theirs.db "$query")"
  done
done

# Queries, beside the sqlite3 shell on the same file.
for query in 'SELECT id, day FROM comma WHERE id < 5' 'SELECT max(id), min(day) FROM comma' \
  'SELECT count(*) FROM comma WHERE price > 10.5' 'SELECT 9223372036854775807, -1' \
  'SELECT 1 WHERE 0' 'SELECT day AS d FROM comma GROUP BY day ORDER BY d LIMIT 3'; do
  same "$query" "$("$loom" sql sqlite3:ours.db "$query")" \
    "$(sqlite3 -separator $'\t' ours.db "$query")"
  same "$query, named" "$("$loom" sql --json sqlite3:ours.db "$query" | python3 -m json.tool)" \
    "$(sqlite3 -json ours.db "$query" | sed 's/^$/[]/' |
      python3 -c 'import json,sys; print(json.dumps(json.loads(sys.stdin.read() or "[]"), indent=4, ensure_ascii=True))')"
done
for statement in 'SELECT nothing FROM comma' 'SELEC' 'SELECT * FROM nowhere' 'SELECT 1; SELECT x' \
  'INSERT INTO comma VALUES (1)' '' ';'; do
  same "verdict on '$statement'" "$("$loom" sql sqlite3:ours.db "$statement" >log 2>&1; good $?)" \
    "$(sqlite3 -bail ours.db "$statement" >log 2>&1; good $?)"
done

# Export, read by python's csv and by miller.
"$loom" db export sqlite3:ours.db comma out.csv || exit 1
python3 - >python.txt <<'END'
import csv, sqlite3
rows = list(csv.reader(open('out.csv', newline='')))
want = [[str(value) for value in row] for row in sqlite3.connect('ours.db').execute('SELECT * FROM comma')]
print('the same' if rows[1:] == want and rows[0] == ['id', 'name', 'price', 'day'] else 'different')
END
same 'an export in python' "$(cat python.txt)" 'the same'
rows='
import json,sys
for row in json.load(sys.stdin): print([str(value) for value in row.values()])'
same 'an export in miller' "$(mlr --icsv --ojson --infer-none cat out.csv | python3 -c "$rows")" \
  "$("$loom" db scan --json sqlite3:ours.db comma | python3 -c "$rows")"

# What miller writes is read, and filters and counts agree.
mlr --csv put '$half = $id / 2' comma.csv >mlr.csv
"$loom" db import mlr.csv sqlite3:ours.db >log || exit 1
same 'an import from miller' "$("$loom" db scan --columns id,day sqlite3:ours.db mlr)" \
  "$(mlr --icsv --onidx --ofs tab cut -o -f id,day comma.csv)"
for limit in 0 10 149.5 1000; do
  same "count above $limit" "$("$loom" db count --where "\$id $limit >" sqlite3:ours.db comma)" \
    "$(mlr --icsv --onidx filter "\$id > $limit" then count comma.csv)"
done
same 'the head' "$("$loom" db head -n 7 --columns id,day sqlite3:ours.db comma)" \
  "$(mlr --icsv --onidx --ofs tab head -n 7 then cut -o -f id,day comma.csv)"

# Files that are no CSV: an error here wherever miller has one.
printf 'a,b\n1,2,3\n' >wide.csv
printf 'a,b\n1\n' >narrow.csv
printf 'a,b\n1,"x\n' >open.csv
: >empty.csv
for name in wide narrow open empty none; do
  same "verdict on $name.csv" "$("$loom" db import $name.csv sqlite3:bad.db >log 2>&1; good $?)" failed
done
same 'verdict of miller on a narrow row' "$(mlr --csv cat narrow.csv >log 2>&1; good $?)" failed
same 'verdict of miller on an open quote' "$(mlr --csv cat open.csv >log 2>&1; good $?)" failed

# JSON, beside python's json.
"$loom" db scan --json sqlite3:ours.db comma >ours.json
same 'JSON' "$(python3 -c '
import json,sqlite3
rows = json.load(open("ours.json"))
print([tuple(row.values()) for row in rows] == sqlite3.connect("ours.db").execute("SELECT * FROM comma").fetchall())')" True
"$loom" sql --json sqlite3:ours.db 'SELECT id FROM comma; SELECT nothing' >failed.json 2>log
same 'JSON of a failure is JSON' "$(python3 -c 'import json; print(type(json.load(open("failed.json"))).__name__)')" list

# Arithmetic, beside bc.
while IFS='|' read -r ours theirs; do
  same "$ours" "$("$loom" eval "$ours")" "$(echo "$theirs" | bc -l | sed 's/^\./0./; s/^-\./-0./')"
done <<'END'
1 2 +|1+2
7 5 -|7-5
-3 4 *|-3*4
12345679 9 *|12345679*9
2 10 pow|2^10
999999999999 1 +|999999999999+1
0.5 0.25 +|0.50+0.25
1.5 2.5 *|scale=2; 1.5*2.5
3 4 <|3<4
4 3 <|4<3
3 3 ==|3==3
END

[ $failures -eq 0 ] && echo "all the same"
exit $((failures != 0))
