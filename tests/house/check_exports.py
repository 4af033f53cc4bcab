#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The shared library exports exactly the names of exported_symbols.txt.

With --write as third argument the list is made anew; look at its difference
before you commit it. A DLL for 64-bit Windows is compared with the same list.
"""
import pathlib
import re
import subprocess
import sys


def lines_of(command, text=None):
    return subprocess.run(command, check=True, input=text, capture_output=True,
                          text=True).stdout.splitlines()


def exported(library):
    """Functions, objects, vtables and type information; instances of the
    standard library's templates (weak) are none of ours."""
    names = set()
    for line in lines_of(["nm", "-DC", "--defined-only", library]):
        kind, name = line.split(" ", 2)[1:]
        if kind in "TDBRV":
            names.add(name)
    return names


def exported_by_dll(library):
    """The same of a DLL, which has no kinds: so what is made of templates or by the
    compiler goes by its name."""
    table = lines_of(["x86_64-w64-mingw32-objdump", "-p", library])
    found = [m[1] for m in (re.fullmatch(r"\s*\[ *\d+\].* (\S+)", line) for line in table)
             if m and m[1] != "RVA"]
    names = lines_of(["c++filt"], "\n".join(found))
    return {name for name in names if not name.startswith("construction vtable")}


# What the same name is called on the other system: (regular expression, replacement).
# A size is "unsigned long long" there, and streams are told by their templates.
SAME = [
    (r"\blong long\b", "long"),
    (r"\b(\d+)ull\b", r"\1ul"),
    (r"std::basic_([io]stream)<char, std::char_traits<char> >", r"std::\1"),
    (r"> >", ">>"),
    (r" >", ">"),
    (r"fpos<int>", "fpos<__mbstate_t>"),
    (r"(gvsnprintf\(.*), char\*\)", r"\1, __va_list_tag*)"),
]
# What hosts do not name: there, names of types are told by their type information, and
# the instances of a base class are exported, which are weak here, and a private member
# of an exported class.
PASSED_OVER = re.compile(r"typeinfo name for|(typeinfo|vtable) for std::|"
                         r"loomkit::ConfigFileBase<[^(]*>::|GZipWriter::failed\(")


def comparable(names):
    result = set()
    for name in names:
        if PASSED_OVER.match(name):
            continue
        for pattern, replacement in SAME:
            name = re.sub(pattern, replacement, name)
        result.add(name)
    return result


library, path = sys.argv[1], pathlib.Path(sys.argv[2])
if library.endswith(".dll"):
    now = comparable(exported_by_dll(library))
    then = comparable(path.read_text().splitlines())
else:
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
