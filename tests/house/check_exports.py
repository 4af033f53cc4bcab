#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The shared library exports exactly the names of exported_symbols.txt.

With --write as third argument the list is made anew; look at its difference
before you commit it.
"""
import pathlib
import subprocess
import sys


def exported(library):
    """Functions, objects, vtables and type information; instances of the
    standard library's templates (weak) are none of ours."""
    lines = subprocess.run(["nm", "-DC", "--defined-only", library], check=True,
                           capture_output=True, text=True).stdout.splitlines()
    names = set()
    for line in lines:
        kind, name = line.split(" ", 2)[1:]
        if kind in "TDBRV":
            names.add(name)
    return names


library, path = sys.argv[1], pathlib.Path(sys.argv[2])
now = exported(library)
if sys.argv[3:] == ["--write"]:
    path.write_text("\n".join(sorted(now)) + "\n")
    sys.exit(0)
then = set(path.read_text().splitlines())
for name in sorted(then - now):
    print("no longer exported:", name)
for name in sorted(now - then):
    print("newly exported:", name)
print(len(now), "names")
sys.exit(1 if now != then or not now else 0)
